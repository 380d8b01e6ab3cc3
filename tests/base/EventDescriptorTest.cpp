#include "base/EventDescriptor.h"
#include "base/FileUrl.h"

#include <gtest/gtest.h>

namespace vt {
namespace {

using namespace literals;

TEST(FileUrl, AnyAbsolutePathRoundTrips) {
    const std::vector<std::string> rows = {"/",          "/a b",        "/50%", "/q?x#y", "/\xFF\xFE",
                                           "/new\nline", "/\"quoted\"", "/%@",  "/~x"};
    for (const std::string& path : rows) {
        const auto url = fileUrlOfPath(path);
        ASSERT_TRUE(url) << path;
        EXPECT_EQ(pathOfFileUrl(*url), path);
    }
    EXPECT_EQ(fileUrlOfPath("/a b"), "file:///a%20b");
}

TEST(FileUrl, OnlyAbsolutePathsWithoutNulHaveOne) {
    EXPECT_FALSE(fileUrlOfPath(""));
    EXPECT_FALSE(fileUrlOfPath("a"));
    EXPECT_FALSE(fileUrlOfPath("~/a"));
    EXPECT_FALSE(fileUrlOfPath(std::string_view("/a\0b", 4)));
}

TEST(FileUrl, WhatIsReadAsAPathAndWhatIsNot) {
    struct Row {
        const char* url;
        std::optional<std::string> path;
    };
    const std::vector<Row> rows = {
        {"file:///a/b", "/a/b"},
        {"FILE:///a", "/a"},
        {"file://localhost/a", "/a"},
        {"file:/a", "/a"},
        {"file:///%41", "/A"},
        {"file://host/a", std::nullopt},
        {"http://localhost/a", {}},
        {"file:a", std::nullopt},
        {"file://", std::nullopt},
        {"file:///a%2", std::nullopt},
        {"file:///a%zz", {}},
        {"file:///a%00b", std::nullopt},
        {"file:///a?b", std::nullopt},
        {"/a", std::nullopt},
        {"", std::nullopt},
        {"file:///a/../b", "/a/../b"},
        {"file:///\xC3\xA4", "/\xC3\xA4"},
        {"file:///%FF", "/\xFF"},
        {"file:///\xFF", std::nullopt},
    };
    for (const Row& row : rows) EXPECT_EQ(pathOfFileUrl(row.url), row.path) << row.url;
}

TEST(EventDescriptor, BooleansCarryTheirTypeAndNoData) {
    EXPECT_EQ(EventDescriptor::descriptorWithBOOL(true), EventDescriptor("true"_fcc, ""));
    EXPECT_EQ(EventDescriptor::descriptorWithBOOL(false), EventDescriptor("fals"_fcc, ""));
}

TEST(EventDescriptor, IntegersAreBigEndian) {
    EXPECT_EQ(*EventDescriptor::descriptorWithInt32(-2).bytes(), "\xFF\xFF\xFF\xFE");
    EXPECT_EQ(EventDescriptor::descriptorWithInt32(-2).int32Value(), -2);
    EXPECT_FALSE(EventDescriptor("long"_fcc, "\x01").int32Value());
    EXPECT_FALSE(EventDescriptor("shor"_fcc, std::string(4, '\0')).int32Value());
}

TEST(EventDescriptor, AProcessSerialNumberHasEightBytes) {
    EXPECT_TRUE(EventDescriptor::descriptorWithPSN("12345678"));
    EXPECT_FALSE(EventDescriptor::descriptorWithPSN("1234567"));
}

TEST(EventDescriptor, APathWithSpacesRoundTripsUnchanged) {
    const auto descriptor = EventDescriptor::descriptorWithPathAsCFURL("/My Drive/\xC3\xA4");
    ASSERT_TRUE(descriptor);
    EXPECT_EQ(descriptor->type(), "furl"_fcc);
    EXPECT_EQ(descriptor->getFileURL(), "/My Drive/\xC3\xA4");
}

TEST(EventDescriptor, OnlyAFileUrlDescriptorYieldsAUrl) {
    EXPECT_FALSE(EventDescriptor("alis"_fcc, "file:///a").getFileURL());
    EXPECT_FALSE(EventDescriptor("utf8"_fcc, "/a").getFileURL());
    EXPECT_FALSE(EventDescriptor("furl"_fcc, "http://example.org/a").getFileURL());
    EXPECT_FALSE(EventDescriptor(EventDescriptor::List{}).getFileURL());
}

TEST(EventDescriptor, APropertySpecifierNamesItsContainer) {
    const auto specifier = EventDescriptor::propertyDescriptorOfType("name"_fcc, EventDescriptor());
    ASSERT_TRUE(specifier);
    EXPECT_EQ(specifier->type(), "obj "_fcc);
    EXPECT_EQ(specifier->record()->at("seld"_fcc), EventDescriptor("type"_fcc, "name"));
    EXPECT_TRUE(specifier->record()->at("from"_fcc).isNull());
}

TEST(EventDescriptor, ThePrintedFormNamesTypesAndContent) {
    EventDescriptor::Record record;
    record.emplace("----"_fcc, EventDescriptor("furl"_fcc, "file:///a"));
    record.emplace("ITMZ"_fcc, EventDescriptor(EventDescriptor::List{EventDescriptor::descriptorWithInt32(3)}));
    record.emplace("STAT"_fcc, EventDescriptor("STAT"_fcc, std::string("\x00\x01", 2)));
    EXPECT_EQ(EventDescriptor(record).description(),
              "{ '----':'furl'(\"file:///a\"), 'ITMZ':[ 3 ], 'STAT':'STAT'($0001$) }");
    EXPECT_EQ(EventDescriptor::descriptorWithBOOL(true).description(), "'true'()");
}

} // namespace
} // namespace vt

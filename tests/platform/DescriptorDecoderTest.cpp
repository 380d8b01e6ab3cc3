#include "platform/DescriptorDecoder.h"

#include "support/ByteDescriptors.h"

#include <cerrno>
#include <gtest/gtest.h>

namespace vt {
namespace {

using namespace literals;

const std::string more("\x01", 1);
const std::string end("\0", 1);

std::string text(const std::string& value) {
    return std::string(1, static_cast<char>(value.size())) + value;
}
std::string leaf(const std::string& type, int length, char filling) {
    return text(type) + std::string(1, '\0') + std::string(1, static_cast<char>(length)) + filling;
}
std::string list(const std::string& type) {
    return text(type) + "\x01";
}
std::string record(const std::string& type) {
    return text(type) + "\x02";
}

Result<EventDescriptor::Record> decode(const std::string& message) {
    ByteDescriptors reader(message);
    auto result = decodeDescriptors(reader);
    // What was decoded to its end was also left again.
    if (result) {
        EXPECT_EQ(reader.open, 0);
    }
    return result;
}

TEST(DescriptorDecoder, LeavesListsAndRecordsKeepTheirTypes) {
    const auto read = decode(more + text("----") + leaf("utf8", 2, 'x') + more + text("ITMZ") + list("list") + more +
                             leaf("true", 0, 'x') + more + leaf("furl", 1, '/') + end + more + text("rrrr") +
                             record("reco") + more + text("kkkk") + leaf("long", 4, '\0') + end + end);
    ASSERT_TRUE(read);
    EventDescriptor::Record fields;
    fields.emplace("kkkk"_fcc, EventDescriptor::descriptorWithInt32(0));
    EventDescriptor::Record expected;
    expected.emplace("----"_fcc, EventDescriptor("utf8"_fcc, "xx"));
    expected.emplace("ITMZ"_fcc, EventDescriptor(EventDescriptor::List{EventDescriptor("true"_fcc, std::string()),
                                                                       EventDescriptor("furl"_fcc, "/")}));
    expected.emplace("rrrr"_fcc, EventDescriptor(fields));
    EXPECT_EQ(*read, expected);
}

TEST(DescriptorDecoder, AListThatClaimsAnotherTypeKeepsTheClaim) {
    const auto read = decode(more + text("ITMZ") + list("utf8") + end + end);
    ASSERT_TRUE(read);
    EXPECT_EQ(read->at("ITMZ"_fcc).type(), "utf8"_fcc);
    EXPECT_NE(read->at("ITMZ"_fcc).list(), nullptr);
}

TEST(DescriptorDecoder, AnEmptyMessageIsAnEmptyRecord) {
    const auto read = decode("");
    ASSERT_TRUE(read);
    EXPECT_TRUE(read->empty());
}

TEST(DescriptorDecoder, WrongShapesAreRefusedWithTheirPlace) {
    struct Row {
        const char* what;
        std::string message;
        int code;
        const char* text;
    };
    std::string deep;
    for (int i = 0; i < 65; ++i) deep += more + text("aaaa") + record("reco");
    std::string large = more + text("ITMZ") + list("list");
    for (int i = 0; i < 17; ++i) large += more + text("utf8") + std::string("\0\xFFz", 3);
    const Row rows[] = {
        {"a key of three bytes", more + text("abc") + leaf("true", 0, 'x'), EINVAL,
         "parameters: the key \"abc\" is no four-character keyword"},
        {"a type of five bytes", more + text("----") + leaf("trueX", 0, 'x'), EINVAL,
         "parameters.----: a type code has four bytes"},
        {"a value of another type", more + text("----") + text("furl") + "\x03", EINVAL,
         "parameters.----: the value must be of type ay, a(sv) or a{s(sv)}"},
        {"in a list", more + text("ITMZ") + list("list") + more + leaf("true", 0, 'x') + more + leaf("x", 0, 'x'),
         EINVAL, "parameters.ITMZ[2]: a type code has four bytes"},
        {"a key that is no text", more + text("\xFF\xFE") + leaf("true", 0, 'x'), EINVAL,
         "parameters: the key \"\xEF\xBF\xBD\xEF\xBF\xBD\" is no four-character keyword"},
        {"too large", large, E2BIG, "the descriptors are larger than 16 MiB"},
    };
    for (const Row& row : rows) {
        const auto read = decode(row.message);
        ASSERT_FALSE(read) << row.what;
        EXPECT_EQ(read.code(), row.code) << row.what;
        EXPECT_EQ(read.error().text, row.text) << row.what;
    }
    const auto tooDeep = decode(deep);
    ASSERT_FALSE(tooDeep);
    EXPECT_EQ(tooDeep.code(), ELOOP);
    EXPECT_NE(tooDeep.error().text.find(": nested deeper than 64 levels"), std::string::npos);
}

TEST(DescriptorDecoder, SixtyFourLevelsAreAccepted) {
    std::string deep;
    for (int i = 0; i < 63; ++i) deep += more + text("aaaa") + record("reco");
    deep += more + text("aaaa") + leaf("true", 0, 'x');
    EXPECT_TRUE(decode(deep));
}

TEST(DescriptorDecoder, TenThousandLevelsAreRefused) {
    for (const bool ofLists : {false, true}) {
        std::string deep = more + text("ITMZ") + (ofLists ? list("list") : record("reco"));
        for (int i = 0; i < 10'000; ++i) deep += more + (ofLists ? list("list") : text("aaaa") + record("reco"));
        const auto read = decode(deep);
        ASSERT_FALSE(read);
        EXPECT_EQ(read.code(), ELOOP);
        EXPECT_LT(read.error().text.size(), 1'000U) << "the place is named, and no more than that";
    }
}

TEST(DescriptorDecoder, AFloodOfEmptyDescriptorsIsLargeToo) {
    std::string flood = more + text("ITMZ") + list("list");
    for (int i = 0; i < 600'000; ++i) flood += more + leaf("true", 0, 'x');
    EXPECT_EQ(decode(flood).code(), E2BIG);
}

} // namespace
} // namespace vt

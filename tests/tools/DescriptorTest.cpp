#include "vantaroctl/Descriptor.h"
#include "vantaroctl/Failure.h"

#include <gtest/gtest.h>

namespace ctl {
namespace {

TEST(Descriptor, WhatIsWrittenIsPrintedTheSame) {
    struct Row {
        QByteArray written;
        const char* printed;
    };
    const Row rows[] = {
        {"furl:/mnt/a b", "furl:file:///mnt/a%20b"},
        {"furl:file:///mnt/%41", "furl:file:///mnt/%41"},
        {"furl:http://example.org/", "furl:http://example.org/"},
        {"true", "true:"},
        {"fals:", "fals:"},
        {"long:-50", "long:-50"},
        {"long:2147483647", "long:2147483647"},
        {"utf8:a:b=c", "utf8:a:b=c"},
        {"list:", "list:"},
        {"list:/a,/b", "list:furl:file:///a,furl:file:///b"},
        {"list:file:///a%2Cb", "list:furl:file:///a%2Cb"},
        {"list:true:,long:3,utf8:x", "list:true:,long:3,utf8:x"},
        {"shor:00FF", "shor:00ff"},
        {"psn :0000000000000001", "psn :0000000000000001"},
    };
    for (const Row& row : rows) EXPECT_EQ(describe(parseDescriptor(row.written)), row.printed) << row.written.data();
}

TEST(Descriptor, WhatCannotBeReadIsAUsageError) {
    for (const char* text :
         {"", "furls:/a", "tru", "long:", "long:x", "long:2147483648", "shor:0", "shor:0g", "list:x:"}) {
        try {
            // "list:x:" is a path that is not absolute: it is sent as it stands, and the agent refuses it.
            if (QByteArray(text) == "list:x:") {
                EXPECT_EQ(describe(parseDescriptor(text)), "list:furl:x:");
                continue;
            }
            (void)parseDescriptor(text);
            FAIL() << text;
        } catch (const Failure& failure) {
            EXPECT_EQ(failure.code, usageError) << text;
        }
    }
}

TEST(Descriptor, IntegersAreFourBytesBigEndian) {
    EXPECT_EQ(integerDescriptor(-2).bytes(), "\xFF\xFF\xFF\xFE");
    EXPECT_EQ(integerOf(integerDescriptor(-2)), -2);
    EXPECT_EQ(integerOf({"long", QByteArray("\1")}), std::nullopt);
    EXPECT_EQ(integerOf({"shor", QByteArray(4, '\0')}), std::nullopt);
}

TEST(Descriptor, PathsOfAnyBytesSurviveTheirUrl) {
    for (const QByteArray& path : {QByteArray("/"), QByteArray("/a b"), QByteArray("/50%"), QByteArray("/\xFF\xFE"),
                                   QByteArray("/new\nline"), QByteArray("/a,b?c#d")})
        EXPECT_EQ(pathOf(fileDescriptor(path)), path) << path.data();
    EXPECT_EQ(pathOf({"utf8", QByteArray("file:///a")}), QByteArray());
    EXPECT_EQ(pathOf({"furl", QByteArray("http://host/a")}), QByteArray());
}

} // namespace
} // namespace ctl

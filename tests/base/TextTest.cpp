#include "base/Text.h"

#include <gtest/gtest.h>

namespace vt {
namespace {

TEST(Text, FormatsEveryPlaceholder) {
    EXPECT_EQ(formatText("Copy of %@ onto %@ failed.", {"/a", std::string("/b")}), "Copy of /a onto /b failed.");
    EXPECT_EQ(formatText("%d %i %ld %lld", {-1, 2, 3L, 4LL}), "-1 2 3 4");
    EXPECT_EQ(formatText("%u %lu", {7U, 18446744073709551615ULL}), "7 18446744073709551615");
    EXPECT_EQ(formatText("%x %lx %X", {255, 0xbeefL, 255}), "ff beef FF");
    EXPECT_EQ(formatText("%o", {8}), "10");
    EXPECT_EQ(formatText("%s", {"text"}), "text");
    EXPECT_EQ(formatText("%f %.1f", {1.5, 2.25}), "1.500000 2.2");
    EXPECT_EQ(formatText("100%%", {}), "100%");
}

TEST(Text, FormatsFlagsAndWidths) {
    EXPECT_EQ(formatText("%03X%01X", {0x1a, 0xb}), "01AB");
    EXPECT_EQ(formatText("%02hX:%02hX", {0x0a, 0x123ff}), "0A:23FF");
    EXPECT_EQ(formatText("[%5d|%-5d|%05d|%+d]", {42, 42, -42, 42}), "[   42|42   |-0042|+42]");
    EXPECT_EQ(formatText("%u_%@", {501, "Mac"}), "501_Mac");
    EXPECT_EQ(formatText("%#x", {255}), "0xff");
    EXPECT_EQ(formatText("%x", {-1}), "ffffffff");
    EXPECT_EQ(formatText("%lx", {-1}), "ffffffffffffffff");
}

TEST(Text, FormatsByPosition) {
    EXPECT_EQ(formatText("%2$@ before %1$@", {"a", "b"}), "b before a");
    EXPECT_EQ(formatText("%1$@ %1$03d", {7}), "7 007");
}

TEST(Text, ShowsValuesByTheirDescription) {
    EXPECT_EQ(formatText("%@", {Value(Value::Array{"a"})}), "(\n    a\n)");
    EXPECT_EQ(formatText("%@", {Value(true)}), "1");
    EXPECT_EQ(formatText("%d", {Value(12)}), "12");
    EXPECT_EQ(formatText("%@ %@", {5, 0.25}), "5 0.25");
}

TEST(Text, NeverLooksAtPercentSignsOfArguments) {
    EXPECT_EQ(formatText("%@ %@", {"%@ %s %%", "x"}), "%@ %s %% x");
}

TEST(Text, LeavesWhatItCannotFillAsItStands) {
    EXPECT_EQ(formatText("%@ %@ %3$@", {"a"}), "a %@ %3$@");
    EXPECT_EQ(formatText("50% of it, 5%", {}), "50% of it, 5%");
    EXPECT_EQ(formatText("%d", {"text"}), "text");
    EXPECT_EQ(formatText("%99999999999999999999d", {1}), "%99999999999999999999d");
}

TEST(Text, ReturnsKeysWithoutAnEntryUnchanged) {
    EXPECT_EQ(localised("No such text in any catalogue"), "No such text in any catalogue");
    EXPECT_EQ(localised(""), "");
    EXPECT_EQ(localisedText("No such text %@", {"x"}), "No such text x");
}

} // namespace
} // namespace vt

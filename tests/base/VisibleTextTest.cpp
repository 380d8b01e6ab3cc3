#include "base/VisibleText.h"

#include "base/LogSink.h"
#include "base/Text.h"

#include <gtest/gtest.h>

namespace vt {
namespace {

TEST(VisibleText, ShowsEveryControlCharacter) {
    EXPECT_EQ(visibleText("a\nb\rc\td"), "a\\x0Ab\\x0Dc\\x09d");
    EXPECT_EQ(visibleText(std::string_view("\0\x1f\x7f", 3)), "\\x00\\x1F\\x7F");
    EXPECT_EQ(visibleText("\x1b[2J"), "\\x1B[2J");
    EXPECT_EQ(visibleText("\xc2\x80\xc2\x85\xc2\x9f"), "\\x80\\x85\\x9F");
    EXPECT_EQ(visibleText("\xe2\x80\xa8\xe2\x80\xa9"), "\\u2028\\u2029");
}

TEST(VisibleText, LeavesEverythingElseAsItIs) {
    const std::string plain = "caf\xc3\xa9 \xc2\xa0 \xe2\x80\xa7 \xe2\x82\xac \xf0\x9f\x98\x80 100%";
    EXPECT_EQ(visibleText(plain), plain);
    EXPECT_EQ(visibleText("bad \xff\xc2"), "bad \xff\xc2");
    EXPECT_EQ(visibleText(""), "");
}

TEST(VisibleText, ABackslashIsShownOnlyWhereItWouldReadAsAnEscape) {
    EXPECT_EQ(visibleText("C:\\new\\x\\u2122"), "C:\\new\\x\\u2122");
    EXPECT_EQ(visibleText("dev\\x2dsda \\x0a \\xFF"), "dev\\x2dsda \\x0a \\xFF");
    EXPECT_EQ(visibleText("a\\x0Ab"), "a\\x5Cx0Ab");
    EXPECT_EQ(visibleText("\\x5C \\x9F \\u2028"), "\\x5Cx5C \\x5Cx9F \\x5Cu2028");
    EXPECT_EQ(visibleText("\\\n"), "\\\\x0A");
    EXPECT_NE(visibleText("a\nb"), visibleText("a\\x0Ab"));
}

TEST(VisibleText, AMessageKeepsItsOwnLineEndsAndIsReadOnce) {
    EXPECT_EQ(messageText("one\ntwo\tthree\n"), "one\ntwo\tthree\n");
    EXPECT_EQ(messageText("\x1b[31m\r\xc2\x9b \xff"), "\\x1B[31m\\x0D\\x9B \xef\xbf\xbd");
    const std::string shown = visibleText("a\nb\\x0Ac");
    EXPECT_EQ(messageText(shown), shown);
}

TEST(Text, ControlCharactersOfAnArgumentAreShown) {
    EXPECT_EQ(formatText("-\n-: skipping \"%@\"\n", {"a\nb"}), "-\n-: skipping \"a\\x0Ab\"\n");
    EXPECT_EQ(formatText("%s", {std::string("\x1b[2J")}), "\\x1B[2J");
    EXPECT_EQ(formatText("%@", {Value("a\nb")}), "a\\x0Ab");
    // A described value has line ends of its own; its texts have none.
    EXPECT_EQ(formatText("%@", {Value(Value::Array{"a\nb\r"})}), "(\n    \"a\\nb\\x0D\"\n)");
    EXPECT_EQ(formatText("%@", {Value(Value::Array{"a\\x0D"})}), "(\n    \"a\\\\x0D\"\n)");
}

TEST(SystemLog, ShowsControlCharacters) {
    testing::internal::CaptureStderr();
    systemLog("bad\x1b[2J name \xff");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "bad\\x1B[2J name \xef\xbf\xbd\n");
    testing::internal::CaptureStderr();
    systemLog(formatText("two\nlines of \"%@\"", {"a\nb"}));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "two\nlines of \"a\\x0Ab\"\n");
}

} // namespace
} // namespace vt

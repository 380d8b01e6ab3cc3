#include "base/Value.h"

#include <gtest/gtest.h>

#include <limits>

namespace vt {
namespace {

TEST(Value, ReadsEveryKindAsNullWhenItIsAnother) {
    const Value text("x");
    EXPECT_NE(text.asString(), nullptr);
    EXPECT_EQ(text.asArray(), nullptr);
    EXPECT_EQ(text.asDictionary(), nullptr);
    EXPECT_EQ(text.integerValue(), 0);
    EXPECT_TRUE(Value().isNull());
    EXPECT_TRUE(Value(true).isNumber());
    EXPECT_FALSE(text.isNumber());
}

TEST(Value, NumbersSaturateAndAreCutTowardsZero) {
    EXPECT_EQ(Value(-2.9).integerValue(), -2);
    EXPECT_EQ(Value(1e300).integerValue(), std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(Value(-1e300).integerValue(), std::numeric_limits<std::int64_t>::min());
    EXPECT_EQ(Value(std::numeric_limits<double>::quiet_NaN()).integerValue(), 0);
    EXPECT_EQ(Value(std::uint64_t{18446744073709551615ULL}).integerValue(), std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(Value(-1).unsignedValue(), 0U);
    EXPECT_EQ(Value(1e300).unsignedValue(), std::numeric_limits<std::uint64_t>::max());
    EXPECT_EQ(Value(true).integerValue(), 1);
}

TEST(Value, AnswersForItsOwnTruth) {
    for (const char* text : {"YES", "true", "1", "y", " \t1", "007", "-3", "Tomorrow"})
        EXPECT_TRUE(Value(text).boolValue()) << text;
    for (const char* text : {"NO", "0", "", "false", "000", "-", " "}) EXPECT_FALSE(Value(text).boolValue()) << text;
    EXPECT_TRUE(Value(0.5).boolValue());
    EXPECT_TRUE(Value(-1).boolValue());
    EXPECT_FALSE(Value(0).boolValue());
    EXPECT_FALSE(Value(Value::Array{Value(1)}).boolValue());
    EXPECT_FALSE(Value().boolValue());
}

TEST(Value, DescribesTrees) {
    const Value tree(Value::Dictionary{
        {"list", Value(Value::Array{"a", "b c", 3})},
        {"sync-on", Value(true)},
        {"when", Value(Date::fromSeconds(0))},
        {"raw", Value(Value::Data{std::string("\x00\x01\x02\x03\xff", 5)})},
    });
    EXPECT_EQ(tree.description(), "{\n"
                                  "    list = (\n"
                                  "        a,\n"
                                  "        \"b c\",\n"
                                  "        3\n"
                                  "    );\n"
                                  "    raw = <00010203 ff>;\n"
                                  "    \"sync-on\" = 1;\n"
                                  "    when = \"1970-01-01 00:00:00 +0000\";\n"
                                  "}");
    EXPECT_EQ(Value("b c").description(), "b c");
    EXPECT_EQ(Value(0.5).description(), "0.5");
    EXPECT_EQ(Value().description(), "(null)");
    EXPECT_EQ(Value(Value::Array{"say \"x\"\n"}).description(), "(\n    \"say \\\"x\\\"\\n\"\n)");
}

TEST(Value, TurnsStringsIntoAnArrayAndBack) {
    const auto array = arrayOfStrings({"a", "b"});
    EXPECT_EQ(array, (Value::Array{"a", "b"}));
    EXPECT_EQ(stringsOfArray({"a", 1, "b"}), (std::vector<std::string>{"a", "b"}));
}

} // namespace
} // namespace vt

#include "config/utilities/TypedGetters.h"

#include <gtest/gtest.h>

namespace vt {
namespace {

TEST(TypedGetters, AnswerOnlyTheirOwnKind) {
    const Value::Dictionary d{{"array", Value(Value::Array{1})},
                              {"data", Value(Value::Data{"x"})},
                              {"date", Value(Date::fromSeconds(1))},
                              {"number", Value(5)},
                              {"bool", Value(true)},
                              {"string", Value("YES")},
                              {"dictionary", Value(Value::Dictionary{})}};
    EXPECT_NE(arrayForKey(d, "array"), nullptr);
    EXPECT_NE(dataForKey(d, "data"), nullptr);
    EXPECT_EQ(dateForKey(d, "date"), Date::fromSeconds(1));
    EXPECT_EQ(numberForKey(d, "number")->integerValue(), 5);
    EXPECT_NE(numberForKey(d, "bool"), nullptr);
    EXPECT_EQ(*stringForKey(d, "string"), "YES");
    EXPECT_NE(dictionaryForKey(d, "dictionary"), nullptr);
    for (const char* key : {"string", "absent"}) {
        EXPECT_EQ(arrayForKey(d, key), nullptr);
        EXPECT_EQ(dataForKey(d, key), nullptr);
        EXPECT_EQ(dateForKey(d, key), std::nullopt);
        EXPECT_EQ(numberForKey(d, key), nullptr);
        EXPECT_EQ(dictionaryForKey(d, key), nullptr);
    }
    EXPECT_EQ(stringForKey(d, "number"), nullptr);
    EXPECT_EQ(stringForKey(d, "absent"), nullptr);
}

TEST(TypedGetters, BoolAsksTheValueItself) {
    const Value::Dictionary d{{"yes", Value("YES")}, {"no", Value("NO")}, {"zero", Value("0")}, {"one", Value(1)}};
    EXPECT_TRUE(boolForKey(d, "yes"));
    EXPECT_FALSE(boolForKey(d, "no"));
    EXPECT_FALSE(boolForKey(d, "zero"));
    EXPECT_TRUE(boolForKey(d, "one"));
    EXPECT_FALSE(boolForKey(d, "absent"));
}

TEST(TypedGetters, SetBoolReplaces) {
    Value::Dictionary d{{"on", Value("text")}};
    setBoolForKey(d, true, "on");
    setBoolForKey(d, false, "off");
    EXPECT_EQ(d, (Value::Dictionary{{"off", Value(false)}, {"on", Value(true)}}));
}

} // namespace
} // namespace vt

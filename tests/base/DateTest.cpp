#include "base/Date.h"

#include <gtest/gtest.h>

#include <limits>

namespace vt {
namespace {

TEST(Date, ShowsBothTextForms) {
    const Date date = Date::fromSeconds(1369144987, 500'000'000);
    EXPECT_EQ(date.standardText(), "2013-05-21 14:03:07 +0000");
    EXPECT_EQ(date.iso8601(), "2013-05-21T14:03:07Z");
    EXPECT_EQ(Date::missing().standardText(), "1904-01-01 00:00:00 +0000");
}

TEST(Date, ReadsWhatItShows) {
    EXPECT_EQ(Date::parse("2013-05-21 14:03:07 +0000"), Date::fromSeconds(1369144987));
    EXPECT_EQ(Date::parse("2013-05-21T14:03:07Z"), Date::fromSeconds(1369144987));
    EXPECT_EQ(Date::parse("1904-01-01 00:00:00 +0000"), Date::missing());
}

TEST(Date, ReadsAnyOffset) {
    EXPECT_EQ(Date::parse("2013-05-21 16:03:07 +0200"), Date::fromSeconds(1369144987));
    EXPECT_EQ(Date::parse("2013-05-21T08:33:07-05:30"), Date::fromSeconds(1369144987));
}

TEST(Date, RefusesEverythingElse) {
    for (const char* text : {"", "2013-05-21", "2013-13-21T14:03:07Z", "2013-02-30T14:03:07Z", "2013-05-21T24:03:07Z",
                             "2013-05-21T14:03:07", "2013-05-21T14:03:07Zx", "2013-05-21 14:03:07+0000",
                             "+013-05-21T14:03:07Z", "2013-05-21T14:03:07+99:00", "now"})
        EXPECT_EQ(Date::parse(text), std::nullopt) << text;
}

TEST(Date, RoundsTowardsThePast) {
    const Date before = Date::fromNanoseconds(-1);
    EXPECT_EQ(before.wholeSeconds(), -1);
    EXPECT_EQ(before.nanosecondsPart(), 999'999'999);
    EXPECT_EQ(before.roundedDownToSecond(), Date::fromSeconds(-1));
    EXPECT_EQ(Date::fromSeconds(7, 9).roundedDownToSecond(), Date::fromSeconds(7));
}

TEST(Date, SaturatesInsteadOfWrapping) {
    EXPECT_EQ(Date::fromSeconds(std::numeric_limits<std::int64_t>::max()).nanoseconds(),
              std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(Date::fromSeconds(std::numeric_limits<std::int64_t>::min()).nanoseconds(),
              std::numeric_limits<std::int64_t>::min());
    EXPECT_EQ(Date::fromSeconds(0).plusSeconds(1e300).nanoseconds(), std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(Date::parse("9999-12-31T23:59:59Z")->nanoseconds(), std::numeric_limits<std::int64_t>::max());
}

TEST(Date, CountsSecondsBetweenTheEndsOfItsRange) {
    EXPECT_DOUBLE_EQ(Date::fromSeconds(10, 500'000'000).secondsSince(Date::fromSeconds(8)), 2.5);
    EXPECT_DOUBLE_EQ(Date::fromSeconds(9'000'000'000).secondsSince(Date::fromSeconds(-9'000'000'000)), 18e9);
    EXPECT_EQ(Date::fromSeconds(10).plusSeconds(-0.5), Date::fromSeconds(9, 500'000'000));
}

} // namespace
} // namespace vt

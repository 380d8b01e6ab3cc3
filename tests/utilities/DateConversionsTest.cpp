#include "config/utilities/DateConversions.h"

#include <gtest/gtest.h>

namespace vt {
namespace {

const Date epoch = Date::missing();

TEST(DateConversions, CountParts65536OfASecondFromTheEpoch) {
    EXPECT_EQ(UTCDateForNSDate(epoch), 0U);
    EXPECT_EQ(UTCDateForNSDate(epoch.plusSeconds(1)), 65536U);
    EXPECT_EQ(UTCDateForNSDate(epoch.plusSeconds(1.5)), 98304U);
    EXPECT_EQ(NSDateForUTCDateTime(0), epoch);
    EXPECT_EQ(NSDateForUTCDateTime(65536), epoch.plusSeconds(1));
}

TEST(DateConversions, DropTheFractionOneWay) {
    EXPECT_EQ(NSDateForUTCDateTime(65535), epoch);
    EXPECT_EQ(NSDateForUTCDateTime(98304), epoch.plusSeconds(1));
}

TEST(DateConversions, NoDateAndDatesBeforeTheEpochAreZero) {
    EXPECT_EQ(UTCDateForNSDate(std::nullopt), 0U);
    EXPECT_EQ(UTCDateForNSDate(epoch.plusSeconds(-1)), 0U);
}

TEST(DateConversions, TheWholeRangeStaysADate) {
    EXPECT_GT(NSDateForUTCDateTime(~0ULL), Date::fromSeconds(9'000'000'000));
}

TEST(DateConversions, NoBackupDateIsEverStored) {
    setSyncBackupDateTo(Date::fromSeconds(5), "/drive/a");
    EXPECT_EQ(syncBackupDateFor("/drive/a"), epoch);
}

} // namespace
} // namespace vt

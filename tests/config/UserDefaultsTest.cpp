#include "config/VTUserDefaults.h"

#include "platform/fake/FakeClock.h"
#include "platform/fake/FakePreferences.h"
#include "platform/fake/FakeSystemIdentity.h"

#include <gtest/gtest.h>

namespace vt::test {
namespace {

constexpr const char* domain = "com.corvane.vantaro";
constexpr const char* drive = "6A6B-1C2D";
using D = Value::Dictionary;

struct UserDefaults : testing::Test {
    FakeClock clock{Date::fromSeconds(1'330'956'429)}; // 2012-03-05 14:07:09 UTC
    FakePreferences preferences;
    FakeSystemIdentity system;

    [[nodiscard]] VTUserDefaults open() { return {domain, preferences, system, clock}; }
    [[nodiscard]] D stored() { return preferences.stored(domain, PreferenceHost::current); }
    [[nodiscard]] D entry() {
        const auto all = stored();
        return *all.at("sync-device-list").asDictionary()->at(drive).asDictionary();
    }
    void put(const D& all) {
        preferences.replaceAll(domain, PreferenceHost::current, all);
        ASSERT_TRUE(preferences.synchronise(domain, PreferenceHost::current));
    }
    static D layout(D devices) {
        return {{"user-default-version", 2}, {"unique-host-user-id", "kept"}, {"sync-device-list", std::move(devices)}};
    }
};

TEST_F(UserDefaults, FirstStartMakesExactlyThreeKeys) {
    const auto defaults = open();
    EXPECT_EQ(stored(), (D{{"user-default-version", 2},
                           {"unique-host-user-id", "0A1B2C3D4E5F-7DC3050E0709-501"},
                           {"sync-device-list", D{}}}));
    EXPECT_EQ(defaults.uniqueHostUserId(), "0A1B2C3D4E5F-7DC3050E0709-501");
}

TEST_F(UserDefaults, DecemberIsOneDigit) {
    clock.setNow(Date::fromSeconds(1'356'998'399)); // 2012-12-31 23:59:59 UTC
    EXPECT_EQ(open().uniqueHostUserId(), "0A1B2C3D4E5F-7DCC1F173B3B-501");
}

TEST_F(UserDefaults, ValidDomainIsKept) {
    const D all = layout(D{{drive, D{{"local-quiet-sync", true}}}});
    put(all);
    const auto defaults = open();
    EXPECT_EQ(stored(), all);
    EXPECT_EQ(defaults.uniqueHostUserId(), "kept");
    EXPECT_TRUE(defaults.isDeviceQuiet(drive));
}

struct RebuildRow {
    const char* name;
    D all;
    std::vector<std::string> lines;
};
class UserDefaultsRebuilt : public UserDefaults, public testing::WithParamInterface<RebuildRow> {};
TEST_P(UserDefaultsRebuilt, LosesEveryKeyAndSaysWhy) {
    put(GetParam().all);
    preferences.set(domain, PreferenceHost::any, "debug", true);
    ASSERT_TRUE(preferences.synchronise(domain, PreferenceHost::any));
    testing::internal::CaptureStderr();
    const auto defaults = open();
    const std::string system_log = testing::internal::GetCapturedStderr();
    for (const auto& line : GetParam().lines) EXPECT_NE(system_log.find(line + "\n"), std::string::npos) << system_log;
    EXPECT_NE(system_log.find("MRLUserDefaults: creating a new user preference file.\n"), std::string::npos);
    EXPECT_NE(system_log.find("current prefs = " + Value(GetParam().all).description()), std::string::npos);
    const auto all = stored();
    EXPECT_EQ(all.size(), 3U);
    EXPECT_EQ(all.at("sync-device-list"), Value(D{}));
    EXPECT_FALSE(defaults.hasUserSeenDevice(drive));
    // The any-host defaults are another store.
    EXPECT_EQ(preferences.stored(domain, PreferenceHost::any), (D{{"debug", true}}));
}
INSTANTIATE_TEST_SUITE_P(Rows, UserDefaultsRebuilt,
                         testing::Values(RebuildRow{"noVersion",
                                                    D{{"a", 1}},
                                                    {"MRLUserDefaults: user preferences is missing version number.",
                                                     "MRLUserDefaults: allKeys=(\n    a\n)"}},
                                         RebuildRow{"textVersion",
                                                    D{{"user-default-version", "2"}, {"unique-host-user-id", "x"}},
                                                    {"MRLUserDefaults: user preferences is missing version number."}},
                                         RebuildRow{"oldVersion",
                                                    D{{"user-default-version", 1},
                                                      {"unique-host-user-id", "x"},
                                                      {"sync-device-list", D{{drive, D{{"local-quiet-sync", true}}}}}},
                                                    {"MRLUserDefaults: invalid user preferences version 1"}},
                                         RebuildRow{"noIdentifier",
                                                    D{{"user-default-version", 2}},
                                                    {"MRLUserDefaults: user preferences is missing unique Id"}},
                                         RebuildRow{"identifierOfAnotherKind",
                                                    D{{"user-default-version", 3}, {"unique-host-user-id", 5}},
                                                    {"MRLUserDefaults: user preferences is missing unique Id"}}),
                         [](const auto& row) { return row.param.name; });

TEST_F(UserDefaults, SeeingADriveReplacesItsSettings) {
    put(layout(D{{drive, D{{"local-participate-in-sync", true}}}}));
    auto defaults = open();
    EXPECT_TRUE(defaults.isDeviceParticipating(drive));
    defaults.addSeenDevice(drive);
    EXPECT_TRUE(defaults.hasUserSeenDevice(drive));
    EXPECT_FALSE(defaults.isDeviceParticipating(drive));
    EXPECT_EQ(*stored().at("sync-device-list").asDictionary(), (D{{drive, true}}));
    defaults.setContinuous(true, drive);
    EXPECT_EQ(entry(), (D{{"local-continuous-sync", true}}));
}

TEST_F(UserDefaults, SeeingADriveWithoutADeviceListDoesNothing) {
    const D all{{"user-default-version", 2}, {"unique-host-user-id", "kept"}, {"sync-device-list", "text"}};
    put(all);
    auto defaults = open();
    defaults.addSeenDevice(drive);
    EXPECT_EQ(stored(), all);
    EXPECT_FALSE(defaults.hasUserSeenDevice(drive));
}

TEST_F(UserDefaults, SettersMakeTheEntryWithTheirKeyAlone) {
    auto defaults = open();
    EXPECT_FALSE(defaults.hasUserSeenDevice(drive));
    defaults.setQuiet(true, drive);
    EXPECT_EQ(entry(), (D{{"local-quiet-sync", true}}));
    defaults.setParticipating(true, drive);
    defaults.setContinuous(true, drive);
    defaults.setQuiet(false, drive);
    EXPECT_EQ(entry(),
              (D{{"local-quiet-sync", false}, {"local-participate-in-sync", true}, {"local-continuous-sync", true}}));
    const auto again = open();
    EXPECT_TRUE(again.isDeviceParticipating(drive));
    EXPECT_TRUE(again.isDeviceContinuous(drive));
    EXPECT_FALSE(again.isDeviceQuiet(drive));
    EXPECT_FALSE(again.isDeviceContinuous("other"));
}

TEST_F(UserDefaults, WrongKindsAreReplacedBySettersAndReadAsAbsent) {
    put({{"user-default-version", 2}, {"unique-host-user-id", "kept"}, {"sync-device-list", Value::Array{1}}});
    auto defaults = open();
    EXPECT_FALSE(defaults.isDeviceQuiet(drive));
    EXPECT_FALSE(defaults.lastSyncDateForDevice(drive));
    defaults.setQuiet(true, drive);
    EXPECT_EQ(entry(), (D{{"local-quiet-sync", true}}));
}

TEST_F(UserDefaults, LastSyncDateIsKeptAsText) {
    auto defaults = open();
    EXPECT_FALSE(defaults.lastSyncDateForDevice(drive));
    defaults.setLastSyncDate(Date::fromSeconds(1'369'144'987), drive);
    EXPECT_EQ(entry(), (D{{"local-last-sync-time", "2013-05-21 14:03:07 +0000"}}));
    EXPECT_EQ(open().lastSyncDateForDevice(drive), Date::fromSeconds(1'369'144'987));
}

TEST_F(UserDefaults, NoDateWritesNothingAndLeavesTheNewEntryInMemory) {
    auto defaults = open();
    const auto before = stored();
    defaults.setLastSyncDate(std::nullopt, drive);
    EXPECT_EQ(stored(), before);
    EXPECT_TRUE(defaults.hasUserSeenDevice(drive));
    defaults.setQuiet(true, "other");
    EXPECT_EQ(entry(), D{});
}

TEST_F(UserDefaults, AFailedWriteIsTheAnswerOfSynchronizeOnly) {
    auto defaults = open();
    preferences.refusesToWrite = true;
    EXPECT_FALSE(defaults.synchronize());
    defaults.setQuiet(true, drive);
    EXPECT_TRUE(defaults.isDeviceQuiet(drive));
}

} // namespace
} // namespace vt::test

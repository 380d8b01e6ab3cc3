#include "ConfigurationWorld.h"

#include <limits>

namespace vt::test {
namespace {

using Config = VTConfigurationFile;
using BoolReader = bool (Config::*)() const;
using BoolReaderById = bool (Config::*)(const std::string&) const;
using BoolWriter = bool (Config::*)(bool);

struct BoolRow {
    const char* key;
    bool readDefault;
    bool atJoining; // written by joining
    BoolReader read;
    BoolReaderById readById;
    BoolWriter write;
};
const BoolRow boolRows[] = {
    {"local-sync-movies", true, true, &Config::isSyncMoviesEnabledForUser, &Config::isSyncMoviesEnabledForUniqueHostID,
     &Config::setSyncMoviesEnabledForUser},
    {"local-sync-music", true, true, &Config::isSyncMusicEnabledForUser, &Config::isSyncMusicEnabledForUniqueHostID,
     &Config::setSyncMusicEnabledForUser},
    {"local-sync-pictures", true, true, &Config::isSyncPicturesEnabledForUser,
     &Config::isSyncPicturesEnabledForUniqueHostID, &Config::setSyncPicturesEnabledForUser},
    {"local-sync-documents", false, true, &Config::isSyncDocumentsEnabledForUser,
     &Config::isSyncDocumentsEnabledForUniqueHostID, &Config::setSyncDocumentsEnabledForUser},
    {"local-participate-in-sync", false, false, &Config::isParticipatingEnabledForUser,
     &Config::isParticipatingEnabledForUniqueHostID, &Config::setParticipatingEnabledForUser},
    {"local-continuous-sync", false, false, &Config::isContinuousEnabledForUser,
     &Config::isContinuousEnabledForUniqueHostID, &Config::setContinuousEnabledForUser},
    {"local-quiet-sync", false, false, &Config::isQuietEnabledForUser, &Config::isQuietEnabledForUniqueHostID,
     &Config::setQuietEnabledForUser},
};
class BoolSetting : public testing::TestWithParam<BoolRow> {};

TEST_P(BoolSetting, ReadsItsDefaultWithoutTheKeyAndWithoutTheUser) {
    ConfigurationWorld world;
    const auto& row = GetParam();
    world.putRoot(currentRoot({{world.host.id, Value::Dictionary{{"other", 1}}}}));
    const auto config = world.open();
    EXPECT_EQ((*config.*row.read)(), row.readDefault);
    EXPECT_EQ((*config.*row.readById)("001B63A1B2C3-777"), row.readDefault);
}

TEST_P(BoolSetting, JoiningWritesItOnlyWhereTheTableSaysSo) {
    ConfigurationWorld world;
    const auto& row = GetParam();
    ASSERT_TRUE(world.open()->addUserToList());
    const auto entry = world.userEntry(world.host.id);
    EXPECT_EQ(entry.contains(row.key), row.atJoining);
    EXPECT_EQ(entry.contains(row.key) ? entry.at(row.key) : Value(), row.atJoining ? Value(true) : Value());
}

TEST_P(BoolSetting, JoiningKeepsWhatIsThere) {
    ConfigurationWorld world;
    const auto& row = GetParam();
    world.putRoot(currentRoot({{world.host.id, Value::Dictionary{{row.key, false}}}}));
    ASSERT_TRUE(world.open()->addUserToList());
    EXPECT_EQ(world.userEntry(world.host.id).at(row.key), Value(false));
}

TEST_P(BoolSetting, WritesAndReadsBackForTheUserAlone) {
    ConfigurationWorld world;
    const auto& row = GetParam();
    const auto config = world.open();
    ASSERT_TRUE(config->addUserToList());
    for (const bool value : {true, false, true}) {
        EXPECT_TRUE((*config.*row.write)(value));
        EXPECT_EQ((*config.*row.read)(), value);
        EXPECT_EQ((*world.open().*row.readById)(world.host.id), value);
        EXPECT_EQ(world.userEntry(world.host.id).at(row.key), Value(value));
    }
    EXPECT_EQ((*config.*row.readById)("001B63A1B2C3-502"), row.readDefault);
}

TEST_P(BoolSetting, WritesNothingBeforeTheUserHasJoined) {
    ConfigurationWorld world;
    const auto& row = GetParam();
    const auto config = world.open();
    EXPECT_FALSE((*config.*row.write)(!row.readDefault));
    EXPECT_EQ((*config.*row.read)(), row.readDefault);
    EXPECT_EQ(*config->dictionary(), currentRoot());
    EXPECT_FALSE(world.exists(ConfigurationWorld::path));
}

TEST_P(BoolSetting, ReadsForeignKindsByTheirOwnTruth) {
    ConfigurationWorld world;
    const auto& row = GetParam();
    const std::pair<Value, bool> kinds[] = {{1, true},   {0, false},  {"YES", true}, {"NO", false},
                                            {2.5, true}, {"1", true}, {"", false},   {Value::Array{1}, false}};
    for (const auto& [value, expected] : kinds) {
        world.putRoot(currentRoot({{world.host.id, Value::Dictionary{{row.key, value}}}}));
        EXPECT_EQ((*world.open().*row.read)(), expected) << value.description();
    }
}
INSTANTIATE_TEST_SUITE_P(Rows, BoolSetting, testing::ValuesIn(boolRows), [](const auto& row) {
    std::string name = row.param.key;
    std::replace(name.begin(), name.end(), '-', '_');
    return name;
});

TEST(IntegerSetting, DeviceFilterIsWrittenAsOneAndReadAsZeroWhenAbsent) {
    ConfigurationWorld world;
    const auto config = world.open();
    EXPECT_EQ(config->getSyncDeviceFilterForUser(), 0);
    EXPECT_FALSE(config->setSyncDeviceFilterForUser(4));
    ASSERT_TRUE(config->addUserToList());
    EXPECT_EQ(world.userEntry(world.host.id).at("local-sync-devicefilters"), Value(1));
    EXPECT_EQ(config->getSyncDeviceFilterForUser(), 1);
    EXPECT_TRUE(config->setSyncDeviceFilterForUser(8));
    EXPECT_EQ(world.open()->getSyncDeviceFilterForUniqueHostID(world.host.id), 8);
    EXPECT_EQ(config->getSyncDeviceFilterForUniqueHostID("nobody"), 0);
}

TEST(IntegerSetting, MediaDeviceTargetIsNotWrittenByJoining) {
    ConfigurationWorld world;
    const auto config = world.open();
    ASSERT_TRUE(config->addUserToList());
    EXPECT_FALSE(world.userEntry(world.host.id).contains("local-sync-media-device-target"));
    EXPECT_EQ(config->getSyncMediaDeviceTargetForUser(), 0);
    EXPECT_TRUE(config->setSyncMediaDeviceTargetForUser(3));
    EXPECT_EQ(world.open()->getSyncMediaDeviceTargetForUniqueHostID(world.host.id), 3);
}

TEST(IntegerSetting, HostileNumbersAreCutToTheRange) {
    ConfigurationWorld world;
    world.putRoot(currentRoot({{world.host.id, Value::Dictionary{{"local-sync-devicefilters", INT64_C(1) << 40},
                                                                 {"local-sync-media-device-target", -1e300}}}}));
    EXPECT_EQ(world.open()->getSyncDeviceFilterForUser(), std::numeric_limits<std::int32_t>::max());
    EXPECT_EQ(world.open()->getSyncMediaDeviceTargetForUser(), std::numeric_limits<std::int32_t>::min());
}

TEST(LastSyncTime, IsAbsentUntilItIsSetAndKeptInWholeSeconds) {
    ConfigurationWorld world;
    const auto config = world.open();
    EXPECT_FALSE(config->lastSyncDateForUser());
    EXPECT_FALSE(config->setLastSyncDateForUser(world.clock.now()));
    ASSERT_TRUE(config->addUserToList());
    EXPECT_FALSE(world.userEntry(world.host.id).contains("local-last-sync-time"));
    EXPECT_TRUE(config->setLastSyncDateForUser(Date::fromSeconds(1'400'000'000, 999'999'999)));
    EXPECT_EQ(config->lastSyncDateForUser(), Date::fromSeconds(1'400'000'000));
    EXPECT_EQ(world.open()->lastSyncDateForUniqueHostID(world.host.id), Date::fromSeconds(1'400'000'000));
    EXPECT_FALSE(config->lastSyncDateForUniqueHostID("nobody"));
    EXPECT_TRUE(config->removeLastSyncDateForUser());
    EXPECT_FALSE(world.open()->lastSyncDateForUser());
}

TEST(LastSyncTime, OfAnotherKindReadsAsNone) {
    ConfigurationWorld world;
    world.putRoot(currentRoot({{world.host.id, Value::Dictionary{{"local-last-sync-time", "2013-05-21"}}}}));
    EXPECT_FALSE(world.open()->lastSyncDateForUser());
}

TEST(ComputerName, IsRefreshedBeforeEveryWriteOfAJoinedUser) {
    ConfigurationWorld world;
    const auto config = world.open();
    ASSERT_TRUE(config->addUserToList());
    EXPECT_EQ(world.open()->computerNameForUniqueHostID(world.host.id), "Workbench");
    world.system.machine = "Renamed";
    ASSERT_TRUE(config->setQuietEnabledForUser(true));
    EXPECT_EQ(world.open()->computerNameForUniqueHostID(world.host.id), "Renamed");
    EXPECT_FALSE(config->computerNameForUniqueHostID("nobody"));
}

TEST(ComputerName, UpdateAloneWritesNothing) {
    ConfigurationWorld world;
    world.putRoot(currentRoot({{world.host.id, Value::Dictionary{}}}));
    const auto before = world.bytes(ConfigurationWorld::path);
    const auto config = world.open();
    config->updateComputerName();
    EXPECT_EQ(config->computerNameForUniqueHostID(world.host.id), "Workbench");
    EXPECT_EQ(world.bytes(ConfigurationWorld::path), before);
}

TEST(ComputerName, IsNotGivenToAUserWithoutSettings) {
    ConfigurationWorld world;
    const auto config = world.open();
    config->updateComputerName();
    EXPECT_EQ(*config->dictionary(), currentRoot());
}

TEST(ComputerName, BytesThatAreNoTextAreReplaced) {
    ConfigurationWorld world;
    world.system.machine = "Caf\xe9";
    ASSERT_TRUE(world.open()->addUserToList());
    EXPECT_EQ(world.open()->computerNameForUniqueHostID(world.host.id), "Caf\xEF\xBF\xBD");
}

} // namespace
} // namespace vt::test

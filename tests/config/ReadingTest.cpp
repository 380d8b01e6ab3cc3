#include "ConfigurationWorld.h"

#include <cerrno>

namespace vt::test {
namespace {

TEST(ConfigurationReading, FreshDriveHoldsAnEmptyDictionaryAndNothingIsWritten) {
    ConfigurationWorld world;
    const auto config = world.open();
    EXPECT_EQ(*config->dictionary(), currentRoot());
    EXPECT_FALSE(config->hasSyncConfiguration());
    EXPECT_FALSE(config->hasOldSyncFormat());
    EXPECT_FALSE(world.exists(ConfigurationWorld::path));
    EXPECT_EQ(config->configPath(), ConfigurationWorld::path);
    EXPECT_TRUE(world.log.lines().empty());
}

TEST(ConfigurationReading, FreshDictionaryFollowsTheSyncType) {
    ConfigurationWorld world;
    EXPECT_EQ(*world.open(VTConfigurationFile::ctoc)->dictionary(),
              (Value::Dictionary{{"config-version", 3}, {"sync-type", "ctoc"}, {"items-to-sync", Value::Array()}}));
    EXPECT_EQ(*world.open(7)->dictionary(),
              (Value::Dictionary{{"config-version", 3}, {"sync-type", "UNKNOWN-SYNC-TYPE"}}));
}

struct VersionRow {
    const char* name;
    Value version;
    bool current;
};
class ConfigurationVersion : public testing::TestWithParam<VersionRow> {};
TEST_P(ConfigurationVersion, DecidesTheFormat) {
    ConfigurationWorld world;
    Value::Dictionary root;
    if (!GetParam().version.isNull()) root["config-version"] = GetParam().version;
    world.putRoot(root);
    const auto config = world.open(VTConfigurationFile::ctoc);
    EXPECT_EQ(config->hasSyncConfiguration(), GetParam().current);
    EXPECT_EQ(config->hasOldSyncFormat(), !GetParam().current);
    EXPECT_EQ(config->dictionary().has_value(), GetParam().current);
}
INSTANTIATE_TEST_SUITE_P(Rows, ConfigurationVersion,
                         testing::Values(VersionRow{"missing", {}, false}, VersionRow{"two", 2, false},
                                         VersionRow{"three", 3, true}, VersionRow{"four", 4, true},
                                         VersionRow{"textThree", "3", false}, VersionRow{"realThree", 3.0, true},
                                         VersionRow{"realBelowThree", 2.9, false}, VersionRow{"yes", true, false},
                                         VersionRow{"negative", -1, false}, VersionRow{"list", Value::Array{3}, false}),
                         [](const auto& row) { return row.param.name; });

TEST(ConfigurationReading, SyncTypeOfTheFileIsNeverConsulted) {
    ConfigurationWorld world;
    world.putRoot(currentRoot({{"sync-type", "ctoc"}}));
    const auto config = world.open();
    EXPECT_EQ(config->syncType(), VTConfigurationFile::ptop);
    EXPECT_EQ(config->configSyncType(), "ctoc");
}

TEST(ConfigurationReading, FolderInItsPlaceLeavesTheInstanceWithoutADictionary) {
    ConfigurationWorld world;
    world.makeFolders(ConfigurationWorld::path);
    const auto config = world.open();
    EXPECT_FALSE(config->dictionary());
    EXPECT_EQ(world.log.lines(),
              Lines{"A directory exists where the configuration file /media/stick/.VantaroConfig should go."});
    EXPECT_TRUE(config->isSyncMoviesEnabledForUser());
    EXPECT_FALSE(config->addUserToList());
    EXPECT_TRUE(world.log.has("Unable to write configuration file to \"/media/stick/.VantaroConfig\"."));
    EXPECT_TRUE(world.files.attributes(ConfigurationWorld::path)->isDirectory());
}

TEST(ConfigurationReading, UnreadableFileIsReadUpToThreeTimes) {
    ConfigurationWorld world;
    world.putRoot(currentRoot());
    world.disk.faults().fail("read", ConfigurationWorld::path, EIO);
    world.disk.faults().clearLog();
    const auto config = world.open();
    const auto& calls = world.disk.faults().log();
    EXPECT_EQ(std::count(calls.begin(), calls.end(), "read /media/stick/.VantaroConfig"), 3);
    EXPECT_FALSE(config->dictionary());
    EXPECT_EQ(world.log.lines(), Lines{"Unable to read configuration file from \"/media/stick/.VantaroConfig\"."});
}

TEST(ConfigurationReading, ASecondAttemptIsEnough) {
    ConfigurationWorld world;
    world.putRoot(currentRoot());
    world.disk.faults().fail("read", ConfigurationWorld::path, EIO, 1);
    EXPECT_TRUE(world.open()->dictionary());
    EXPECT_TRUE(world.log.lines().empty());
}

TEST(ConfigurationReading, EmptyFileCountsAsUnreadable) {
    ConfigurationWorld world;
    world.put(ConfigurationWorld::path, "");
    EXPECT_FALSE(world.open()->dictionary());
    EXPECT_EQ(world.log.lines(), Lines{"Unable to read configuration file from \"/media/stick/.VantaroConfig\"."});
}

TEST(ConfigurationReading, AFileThatCannotBeLookedAtIsNotAFreshDrive) {
    ConfigurationWorld world;
    world.disk.faults().fail("attributes", ConfigurationWorld::path, EIO);
    EXPECT_FALSE(world.open()->dictionary());
}

TEST(ConfigurationReading, LinkIsNotFollowed) {
    ConfigurationWorld world;
    world.put("/home/ada/secret.plist", world.propertyLists.xml(Value(currentRoot())).valueOr(""));
    ASSERT_TRUE(world.files.makeLink(ConfigurationWorld::path, "/home/ada/secret.plist").ok());
    EXPECT_FALSE(world.open()->dictionary());
    EXPECT_EQ(world.log.lines(), Lines{"Unable to read configuration file from \"/media/stick/.VantaroConfig\"."});
}

struct CorruptRow {
    const char* name;
    std::string bytes;
};
class CorruptConfiguration : public testing::TestWithParam<CorruptRow> {};
TEST_P(CorruptConfiguration, IsToldAndLeftAsItIs) {
    ConfigurationWorld world;
    world.put(ConfigurationWorld::path, GetParam().bytes);
    const auto config = world.open();
    EXPECT_FALSE(config->dictionary());
    EXPECT_FALSE(config->hasOldSyncFormat());
    const auto lines = world.log.lines();
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_EQ(lines[0], "The configuration file on \"/media/stick/.VantaroConfig\" appears to be corrupt.");
    EXPECT_TRUE(lines[1].starts_with("errorString = \"")) << lines[1];
    EXPECT_TRUE(lines[1].ends_with("\"")) << lines[1];
    EXPECT_EQ(world.bytes(ConfigurationWorld::path), GetParam().bytes);
}
std::string deepList() {
    std::string xml = "<?xml version=\"1.0\"?><plist version=\"1.0\">";
    for (int i = 0; i < 100'000; ++i) xml += "<array>";
    for (int i = 0; i < 100'000; ++i) xml += "</array>";
    return xml + "</plist>";
}
INSTANTIATE_TEST_SUITE_P(
    Rows, CorruptConfiguration,
    testing::Values(CorruptRow{"text", "hello"}, CorruptRow{"cut", "<?xml version=\"1.0\"?><plist><dict><key>conf"},
                    CorruptRow{"zeros", std::string(4096, '\0')}, CorruptRow{"binaryHeader", "bplist00"},
                    CorruptRow{"listAsRoot", "<?xml version=\"1.0\"?><plist version=\"1.0\"><array/></plist>"},
                    CorruptRow{"textAsRoot",
                               "<?xml version=\"1.0\"?><plist version=\"1.0\"><string>x</string></plist>"},
                    CorruptRow{"deep", deepList()}),
    [](const auto& row) { return row.param.name; });

TEST(ConfigurationReading, HugeFileIsRefusedUnread) {
    ConfigurationWorld world;
    world.put(ConfigurationWorld::path, std::string((16U << 20U) + 1, ' '));
    EXPECT_FALSE(world.open()->dictionary());
    EXPECT_EQ(world.log.lines(), Lines{"Unable to read configuration file from \"/media/stick/.VantaroConfig\"."});
}

TEST(ConfigurationReading, DebugLinesShowTheFile) {
    ConfigurationWorld world;
    world.log.debug = true;
    const auto root = currentRoot();
    world.putRoot(root);
    const auto config = world.open();
    EXPECT_EQ(world.log.lines(),
              (Lines{"-initializeConfigurationFile: configuration file read: " + Value(root).description() + ".",
                     "-initializeConfigurationFile: version = 3"}));
}

TEST(ConfigurationReading, MissingVersionIsShownAsNull) {
    ConfigurationWorld world;
    world.log.debug = true;
    world.putRoot({{"pushkey-uuid", "U"}});
    const auto config = world.open();
    EXPECT_TRUE(world.log.has("-initializeConfigurationFile: version = (null)"));
}

TEST(ConfigurationReading, DebugSwitchIsReadAtCreation) {
    ConfigurationWorld world;
    const auto quiet = world.open();
    world.log.debug = true;
    EXPECT_FALSE(quiet->syncItemList());
    EXPECT_TRUE(world.log.lines().empty());
    const auto talking = world.open();
    world.log.debug = false;
    EXPECT_FALSE(talking->syncItemList());
    EXPECT_TRUE(world.log.has("MRLConfig.syncItemList: ptop list = (null)"));
}

TEST(ConfigurationReading, ALaterReadThatLoadsNothingKeepsTheDictionary) {
    ConfigurationWorld world;
    world.putRoot(currentRoot({{world.host.id, Value::Dictionary{{"local-quiet-sync", true}}}}));
    const auto config = world.open();
    world.put(ConfigurationWorld::path, "broken");
    config->initializeConfigurationFile();
    EXPECT_TRUE(config->isQuietEnabledForUser());
    ASSERT_TRUE(world.files.remove(ConfigurationWorld::path, {}).ok());
    config->initializeConfigurationFile();
    EXPECT_TRUE(config->isQuietEnabledForUser());
}

// Every key with every kind of value: readers answer their default or the value's own truth, nothing crashes, and a
// user can still join.
TEST(ConfigurationReading, WrongKindsAtEveryKey) {
    const FixedHost host;
    const std::vector<Value> kinds{true,
                                   -7,
                                   1e300,
                                   "YES",
                                   "",
                                   Date::fromSeconds(1),
                                   Value::Data{"x"},
                                   Value::Array{},
                                   Value::Array{1, Value::Array{}, "~/ok"},
                                   Value::Dictionary{},
                                   Value::Dictionary{{host.id, 5}},
                                   Value::Dictionary{{host.id, Value::Dictionary{{"items-to-sync", "no list"}}}}};
    const std::vector<std::string> rootKeys{"config-version", "sync-type", "ptop-list",    "items-to-sync",
                                            "sync-user-list", host.id,     "pushkey-uuid", "pushkey-items-to-sync"};
    const std::vector<std::string> userKeys{
        "local-sync-movies",         "local-sync-music",      "local-sync-pictures", "local-sync-documents",
        "local-sync-devicefilters",  "local-quiet-sync",      "sync-user-list",      "local-sync-media-device-target",
        "local-participate-in-sync", "local-continuous-sync", "sync-computer-name",  "local-last-sync-time"};
    const auto exercise = [&](const Value::Dictionary& root) {
        ConfigurationWorld world;
        world.putRoot(root);
        for (const int type : {1, 2, 0}) {
            const auto config = world.open(type);
            static_cast<void>(config->syncItemList());
            static_cast<void>(config->oldSyncItemList());
            static_cast<void>(config->configSyncUserList());
            static_cast<void>(config->configSyncType());
            static_cast<void>(config->syncTargetPath());
            static_cast<void>(config->isSyncMoviesEnabledForUser());
            static_cast<void>(config->getSyncDeviceFilterForUser());
            static_cast<void>(config->getSyncMediaDeviceTargetForUser());
            static_cast<void>(config->lastSyncDateForUser());
            static_cast<void>(config->computerNameForUniqueHostID(host.id));
            static_cast<void>(config->computerWithUniqueID("0"));
            static_cast<void>(config->convertOldSync());
            EXPECT_TRUE(config->addUserToList());
            EXPECT_TRUE(config->setSyncItemList(Items{"~/Pictures"}));
            EXPECT_TRUE(config->setSyncMoviesEnabledForUser(false));
        }
        EXPECT_FALSE(world.open()->isSyncMoviesEnabledForUser());
        EXPECT_EQ(world.open()->syncItemList(), Items{"~/Pictures"});
        EXPECT_EQ(world.open()->configSyncUserList()->back(), host.id);
    };
    for (const auto& kind : kinds) {
        for (const auto& key : rootKeys) {
            SCOPED_TRACE(key + " " + kind.description());
            auto root = currentRoot();
            root[key] = kind;
            exercise(root);
        }
        for (const auto& key : userKeys) {
            SCOPED_TRACE(key + " " + kind.description());
            exercise(currentRoot({{host.id, Value::Dictionary{{key, kind}}}}));
        }
    }
}

} // namespace
} // namespace vt::test

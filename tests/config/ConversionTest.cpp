#include "ConfigurationWorld.h"

#include <cerrno>

namespace vt::test {
namespace {

constexpr const char* path = ConfigurationWorld::path;
const Value::Dictionary oldRoot{{"config-version", 2},
                                {"pushkey-uuid", "OLD-UUID"},
                                {"pushkey-items-to-sync", Value::Array{"~/Movies", "~/Docs/"}},
                                {"001B63A1B2C3-501", Value::Dictionary{{"local-quiet-sync", true}}}};

TEST(OldConfiguration, ConvertsToTheSharedTypeAndDropsTheRest) {
    ConfigurationWorld world;
    world.putRoot(oldRoot);
    const auto config = world.open();
    EXPECT_TRUE(config->hasOldSyncFormat());
    EXPECT_EQ(*config->oldSyncItemList(), (Items{"~/Movies", "~/Docs/"}));
    EXPECT_TRUE(config->convertOldSync());
    EXPECT_FALSE(config->hasOldSyncFormat());
    EXPECT_EQ(world.root(), (Value::Dictionary{{"config-version", 3},
                                               {"sync-type", "ctoc"},
                                               {"items-to-sync", Value::Array{"~/Movies", "~/Docs/"}}}));
    EXPECT_EQ(config->syncType(), VTConfigurationFile::ptop);
}

// The conversion drops what other users had stored: the old file is kept, without being missing for a moment.
TEST(OldConfiguration, IsKeptAsideAsItWas) {
    ConfigurationWorld world;
    world.putRoot(oldRoot);
    const std::string before = world.bytes(path);
    ASSERT_TRUE(world.open()->convertOldSync());
    EXPECT_EQ(world.bytes("/media/stick/Archived Vantaro Backups/2013-05-21/.VantaroConfig"), before);
    EXPECT_TRUE(world.log.has("The configuration file \"/media/stick/.VantaroConfig\" was kept as "
                              "\"/media/stick/Archived Vantaro Backups/2013-05-21/.VantaroConfig\"."));
    for (const std::string& call : world.disk.faults().log()) EXPECT_FALSE(call.starts_with("move ")) << call;
}

TEST(OldConfiguration, IsNotKeptWhereTheUserSwitchedThatOff) {
    ConfigurationWorld world;
    world.keepAside = false;
    world.putRoot(oldRoot);
    ASSERT_TRUE(world.open()->convertOldSync());
    EXPECT_FALSE(world.exists("/media/stick/Archived Vantaro Backups"));
}

TEST(OldConfiguration, AWriteThatGoesOnWithoutItsCallerStillConverts) {
    ConfigurationWorld world;
    world.putRoot(oldRoot);
    const auto config = world.open();
    std::vector<std::function<bool()>> queued;
    config->setWriteRunner([&](std::function<bool()> write) {
        queued.push_back(std::move(write));
        return false;
    });
    EXPECT_FALSE(config->convertOldSync());
    EXPECT_TRUE(config->hasOldSyncFormat());
    ASSERT_EQ(queued.size(), 1U);
    EXPECT_TRUE(queued.front()());
    EXPECT_FALSE(config->hasOldSyncFormat());
}

TEST(OldConfiguration, WithoutAListConvertsToNoList) {
    ConfigurationWorld world;
    world.putRoot({{"pushkey-items-to-sync", "no list"}});
    EXPECT_TRUE(world.open()->convertOldSync());
    EXPECT_EQ(world.root(), (Value::Dictionary{{"config-version", 3}, {"sync-type", "ctoc"}}));
}

TEST(OldConfiguration, AFailedWriteLeavesItOld) {
    ConfigurationWorld world;
    world.putRoot(oldRoot);
    const auto config = world.open();
    world.disk.faults().fail("writeAtomically", path, EROFS);
    EXPECT_FALSE(config->convertOldSync());
    EXPECT_TRUE(config->hasOldSyncFormat());
    EXPECT_EQ(world.root(), oldRoot);
    EXPECT_FALSE(world.exists("/media/stick/Archived Vantaro Backups/2013-05-21/.VantaroConfig"));
}

TEST(OldConfiguration, ConvertingACurrentOneChangesNothing) {
    ConfigurationWorld world;
    world.putRoot(currentRoot());
    const auto config = world.open(VTConfigurationFile::ctoc);
    EXPECT_TRUE(config->convertOldSync());
    EXPECT_FALSE(ConfigurationWorld().open()->convertOldSync());
}

TEST(OldConfiguration, TheListOfAConvertedDriveIsTakenOverByTheUserWhoJoins) {
    ConfigurationWorld world;
    world.putRoot(oldRoot);
    const auto config = world.open();
    ASSERT_TRUE(config->convertOldSync());
    EXPECT_FALSE(config->syncItemList());
    ASSERT_TRUE(config->addUserToList());
    EXPECT_EQ(config->syncItemList(), (Items{"~/Movies", "~/Docs"}));
    EXPECT_EQ(world.open()->syncItemList(), (Items{"~/Movies", "~/Docs"}));
    EXPECT_TRUE(config->hasSyncConfiguration());
}

TEST(OldConfiguration, OwnListIsNotReplacedByTheSharedOne) {
    ConfigurationWorld world;
    world.putRoot(currentRoot({{"items-to-sync", Value::Array{"~/shared"}}}));
    const auto config = world.open();
    ASSERT_TRUE(config->setSyncItemList(Items{"~/own"}));
    ASSERT_TRUE(config->addUserToList());
    EXPECT_EQ(config->syncItemList(), Items{"~/own"});
}

TEST(OldConfiguration, OldWorkFoldersAreRemovedOnBothSides) {
    ConfigurationWorld world;
    world.keepAside = false; // nor its line
    world.putRoot(oldRoot);
    world.put("/home/ada/.Z_VT_W/OLD-UUID/deep/file", "x");
    world.put("/home/ada/.Z_VT_W/OTHER/file", "x");
    world.put("/media/stick/Vantaro/.Z_VT_W/OLD-UUID/file", "x");
    EXPECT_TRUE(world.open()->convertOldSync());
    EXPECT_FALSE(world.exists("/home/ada/.Z_VT_W/OLD-UUID"));
    EXPECT_TRUE(world.exists("/home/ada/.Z_VT_W/OTHER/file"));
    EXPECT_FALSE(world.exists("/media/stick/Vantaro/.Z_VT_W/OLD-UUID"));
    EXPECT_EQ(world.log.lines(),
              (Lines{"convertOldSync: removing old local temp directory \"/home/ada/.Z_VT_W/OLD-UUID\"",
                     "convertOldSync: removing old global temp directory \"/media/stick/Vantaro/.Z_VT_W/OLD-UUID\""}));
}

TEST(OldConfiguration, RemovalErrorsAreIgnored) {
    ConfigurationWorld world;
    world.putRoot(oldRoot);
    world.put("/home/ada/.Z_VT_W/OLD-UUID/file", "x");
    world.disk.faults().fail("remove", "/home/ada/.Z_VT_W", EACCES);
    EXPECT_TRUE(world.open()->convertOldSync());
}

struct UuidRow {
    const char* name;
    const char* uuid;
};
class HostileUuid : public testing::TestWithParam<UuidRow> {};
TEST_P(HostileUuid, RemovesNothing) {
    ConfigurationWorld world;
    world.keepAside = false; // nor its line
    world.put("/home/ada/precious", "x");
    world.put("/home/ada/.Z_VT_W/other/file", "x");
    world.put("/media/stick/Vantaro/.Z_VT_W/other/file", "x");
    auto root = oldRoot;
    root["pushkey-uuid"] = GetParam().uuid;
    world.putRoot(root);
    EXPECT_TRUE(world.open()->convertOldSync());
    EXPECT_TRUE(world.exists("/home/ada/precious"));
    EXPECT_TRUE(world.exists("/home/ada/.Z_VT_W/other/file"));
    EXPECT_TRUE(world.exists("/media/stick/Vantaro/.Z_VT_W/other/file"));
    EXPECT_TRUE(world.log.lines().empty());
}
INSTANTIATE_TEST_SUITE_P(Rows, HostileUuid,
                         testing::Values(UuidRow{"empty", ""}, UuidRow{"itself", "."}, UuidRow{"above", ".."},
                                         UuidRow{"twoAbove", "../.."}, UuidRow{"below", "other/file"},
                                         UuidRow{"absolute", "/home/ada"}, UuidRow{"backAgain", "a/.."},
                                         UuidRow{"dotsBefore", "..x"}),
                         [](const auto& row) { return row.param.name; });

TEST(OldConfiguration, ALinkOnTheDriveDoesNotLeadTheRemovalElsewhere) {
    ConfigurationWorld world;
    world.putRoot(oldRoot);
    world.put("/media/stick/mine/OLD-UUID/file", "x");
    world.makeFolders("/media/stick/Vantaro");
    ASSERT_TRUE(world.files.makeLink("/media/stick/Vantaro/.Z_VT_W", "../mine").ok());
    EXPECT_TRUE(world.open()->convertOldSync());
    EXPECT_TRUE(world.exists("/media/stick/mine/OLD-UUID/file"));
}

} // namespace
} // namespace vt::test

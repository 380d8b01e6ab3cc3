// What adopting answers for places with a story: links, automounts, folders and volumes on a sync list.
#include "AppWorld.h"

#include <gtest/gtest.h>

namespace vt::test {
namespace {

using Keys = std::vector<std::string>;

constexpr const char* agentsOwn = "the agent keeps files of its own there";

TEST(Adoption, AnAutomountThatNobodyHasOpenedYetSaysSo) {
    AppWorld world;
    world.start();
    FakeMount closed;
    closed.fileSystem = "autofs";
    world.makeFolders("/net/attic");
    world.volumes.mount("auto1", "/net/attic", closed);
    EXPECT_EQ(world.adopt("/net/attic"), "\"/net/attic\": nothing is mounted there yet: open it once");
    EXPECT_EQ(world.keys(), Keys{});
}

TEST(Adoption, AVolumeOnASyncListMayBecomeADriveAndIsCopiedNoMore) {
    AppWorld world;
    world.start();
    world.mount(AppWorld::stick, "disk8s1", AppWorld::family());
    FakeMount photos;
    photos.uuid = "3333";
    world.mount("/media/photos", "disk9s1", photos);
    ASSERT_TRUE(world.files.create("/media/photos/a.jpg", "picture", 0644).ok());
    const auto stick = world.controllerAt("disk8s1");
    stick->playWorkerByHand();
    world.app->commands().setSyncList({"/media/photos"}, AppWorld::stick);
    EXPECT_EQ(world.adopt("/media/photos"), "");
    EXPECT_EQ(world.keys(), (Keys{"disk8s1", "disk9s1"}));
    world.pass(1000);
    SyncWorld::run(*stick);
    EXPECT_EQ(stick->shadowedSyncList(), Keys{"/media/photos"});
    EXPECT_TRUE(world.logged("\"/media/photos\" is a drive of its own and is left out."));
    EXPECT_EQ(world.read("/media/photos/a.jpg"), "picture");
}

TEST(Adoption, TheAgentsPlacesAreKnownBehindLinksAlsoBeforeTheyAreMade) {
    AppWorld world;
    world.makeFolders("/data/local/state");
    world.makeFolders("/data/settings");
    ASSERT_TRUE(world.files.makeLink("/home/ada/.local", "/data/local").ok());
    ASSERT_TRUE(world.files.makeLink("/home/ada/.config", "/data/settings").ok());
    world.start();
    ASSERT_FALSE(world.files.attributesFollowing("/data/settings/com.corvane.vantaro").ok());
    for (const char* place : {"/data/local/state", "/data/settings", "/data/local", "/data"})
        EXPECT_EQ(world.adopt(place), "\"" + std::string(place) + "\": " + agentsOwn);
    EXPECT_EQ(world.keys(), Keys{});
}

TEST(Adoption, AHomeBehindALinkKeepsItsPlacesToo) {
    AppWorld world;
    world.system.homePath = "/people/ada";
    world.makeFolders("/data/ada/backup");
    world.makeFolders("/data/ada/Library/Logs");
    world.makeFolders("/people");
    ASSERT_TRUE(world.files.makeLink("/people/ada", "/data/ada").ok());
    world.start();
    for (const char* place : {"/data/ada/Library", "/data/ada/Library/Logs"})
        EXPECT_EQ(world.adopt(place), "\"" + std::string(place) + "\": " + agentsOwn);
    for (const char* place : {"/data/ada", "/data", "/people/ada"})
        EXPECT_EQ(world.adopt(place), "\"" + std::string(place) + "\": the home folder cannot be a drive");
    EXPECT_EQ(world.adopt("/data/ada/backup"), "");
}

// The error's path and its text are shown once each.
TEST(Adoption, ANameWithALineEndIsShownOnce) {
    AppWorld world;
    world.start();
    const std::string stick = "/media/st\nick";
    world.mount(stick, "disk8s1", AppWorld::family());
    world.controllerAt("disk8s1")->playWorkerByHand();
    world.makeFolders("/home/ada/Letters");
    world.app->commands().setSyncList({"/home/ada/Letters"}, stick);
    world.pass(1000);
    SyncWorld::run(*world.controllerAt("disk8s1"));
    EXPECT_EQ(world.adopt("/home/ada/Letters"),
              "\"/home/ada/Letters\": it is on the sync list of the drive \"/media/st\\x0Aick\" and cannot be a drive "
              "itself");
    EXPECT_EQ(world.adopt("/no\nwhere"), "\"/no\\x0Awhere\": No such file or directory");
}

} // namespace
} // namespace vt::test

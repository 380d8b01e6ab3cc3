#include "ConfigurationWorld.h"

#include <cerrno>

namespace vt::test {
namespace {

constexpr const char* path = ConfigurationWorld::path;

TEST(ConfigurationRemoval, KeepsTheFileAsideAndClearsTheInstance) {
    ConfigurationWorld world;
    const auto config = world.open();
    ASSERT_TRUE(config->addUserToList());
    ASSERT_TRUE(config->setSyncItemList(Items{"~/a"}));
    const auto before = world.bytes(path);
    EXPECT_TRUE(config->removeSyncConfiguration());
    EXPECT_FALSE(world.exists(path));
    EXPECT_EQ(world.bytes("/media/stick/Archived Vantaro Backups/2013-05-21/.VantaroConfig"), before);
    EXPECT_FALSE(config->hasSyncConfiguration());
    EXPECT_EQ(*config->dictionary(), currentRoot());
}

TEST(ConfigurationRemoval, SettersAfterItWriteNothing) {
    ConfigurationWorld world;
    const auto config = world.open();
    ASSERT_TRUE(config->addUserToList());
    ASSERT_TRUE(config->removeSyncConfiguration());
    EXPECT_FALSE(config->setQuietEnabledForUser(true));
    EXPECT_FALSE(config->setLastSyncDateForUser(world.clock.now()));
    EXPECT_FALSE(world.exists(path));
}

TEST(ConfigurationRemoval, ASetterFromBeforeItWritesNothingAfterIt) {
    ConfigurationWorld world;
    const auto config = world.open();
    ASSERT_TRUE(config->addUserToList());
    std::function<bool()> late;
    config->setWriteRunner([&](std::function<bool()> write) {
        late = std::move(write);
        return true;
    });
    EXPECT_TRUE(config->setQuietEnabledForUser(true));
    ASSERT_TRUE(config->removeSyncConfiguration());
    EXPECT_FALSE(late());
    EXPECT_FALSE(world.exists(path));
}

TEST(ConfigurationRemoval, TheNextInstanceFindsAFreshDrive) {
    ConfigurationWorld world;
    ASSERT_TRUE(world.open()->addUserToList());
    ASSERT_TRUE(world.open()->removeSyncConfiguration());
    const auto config = world.open();
    EXPECT_FALSE(config->hasUserSeenDevice());
    EXPECT_TRUE(config->addUserToList());
    EXPECT_TRUE(world.exists(path));
}

TEST(ConfigurationRemoval, RemovesTheMarksOfTheWholeVolumeAndNothingElse) {
    ConfigurationWorld world;
    world.put("/media/stick/.d$f.gone", "x");
    world.put("/media/stick/a/b/.d$d.gone/inside", "x");
    world.put("/media/stick/a/.d$x.other", "x");
    world.put("/media/stick/a/b/keep.d$f.", "x");
    world.put("/media/stick/.hidden/.d$f.", "x");
    EXPECT_TRUE(world.open()->removeSyncConfiguration());
    EXPECT_FALSE(world.exists("/media/stick/.d$f.gone"));
    EXPECT_FALSE(world.exists("/media/stick/a/b/.d$d.gone"));
    EXPECT_FALSE(world.exists("/media/stick/.hidden/.d$f."));
    EXPECT_TRUE(world.exists("/media/stick/a/.d$x.other"));
    EXPECT_TRUE(world.exists("/media/stick/a/b/keep.d$f."));
}

TEST(ConfigurationRemoval, MarkWalkFollowsNoLink) {
    ConfigurationWorld world;
    world.put("/home/ada/.d$f.mine", "x");
    ASSERT_TRUE(world.files.makeLink("/media/stick/home", "/home/ada").ok());
    ASSERT_TRUE(world.files.makeLink("/media/stick/.d$f.link", "/home/ada").ok());
    EXPECT_TRUE(world.open()->removeSyncConfiguration());
    EXPECT_TRUE(world.exists("/home/ada/.d$f.mine"));
    EXPECT_FALSE(world.exists("/media/stick/.d$f.link"));
}

TEST(ConfigurationRemoval, MarkWalkStaysOnTheVolume) {
    ConfigurationWorld world;
    world.disk.mount("/media/stick/other");
    world.put("/media/stick/other/.d$f.theirs", "x");
    world.disk.mount("/media/stick/.d$d.volume");
    world.put("/media/stick/.d$d.volume/file", "x");
    EXPECT_TRUE(world.open()->removeSyncConfiguration());
    EXPECT_TRUE(world.exists("/media/stick/other/.d$f.theirs"));
    EXPECT_TRUE(world.exists("/media/stick/.d$d.volume/file"));
}

TEST(ConfigurationRemoval, IsTrueWhateverFails) {
    ConfigurationWorld world;
    const auto config = world.open();
    ASSERT_TRUE(config->addUserToList());
    world.put("/media/stick/a/.d$f.one", "x");
    world.disk.faults().fail("remove", "/media/stick", EACCES);
    world.disk.faults().fail("move", "/media/stick", EACCES);
    EXPECT_TRUE(config->removeSyncConfiguration());
    EXPECT_TRUE(world.exists(path));
    world.disk.pull("/media/stick", ENODEV);
    EXPECT_TRUE(config->removeSyncConfiguration());
}

TEST(ConfigurationRemoval, WithoutKeepingAsideTheFileIsDeleted) {
    ConfigurationWorld world;
    world.keepAside = false;
    const auto config = world.open();
    ASSERT_TRUE(config->addUserToList());
    EXPECT_TRUE(config->removeSyncConfiguration());
    EXPECT_TRUE(world.files.listNames("/media/stick")->empty());
}

TEST(ConfigurationRemoval, AFolderInItsPlaceIsLeftAlone) {
    ConfigurationWorld world;
    world.put(std::string(path) + "/inside", "x");
    EXPECT_TRUE(world.open()->removeSyncConfiguration());
    EXPECT_TRUE(world.exists(std::string(path) + "/inside"));
}

TEST(ConfigurationArchive, MovesTheItemBesideTheMountPointUnderTheDay) {
    ConfigurationWorld world;
    world.clock.setNow(Date::fromSeconds(1'330'945'200)); // 2012-03-05: the day is padded with a blank
    world.put("/data/folder/.VantaroConfig", "x");
    world.put("/data/folder/file", "y");
    world.makeFolders("/data/folderArchived Vantaro Backups");
    const auto archive = [&](const char* suffix) {
        return std::string("/data/folderArchived Vantaro Backups/March  5, 2012") + suffix;
    };
    const auto config = VTConfigurationFile::configWithMountPoint("/data/folder", 1, world.services());
    EXPECT_TRUE(config->removeSyncConfigAndArchiveFiles());
    EXPECT_EQ(world.bytes(archive("/file")), "y");
    EXPECT_FALSE(world.exists(archive("/.VantaroConfig")));
    EXPECT_FALSE(world.exists("/data/folder"));
    for (const char* suffix : {" -1", " -2"}) {
        world.put("/data/folder/file", suffix);
        EXPECT_TRUE(config->removeSyncConfigAndArchiveFiles());
        EXPECT_EQ(world.bytes(archive(suffix) + "/file"), suffix);
    }
}

TEST(ConfigurationArchive, AFolderInTheFilesPlaceIsNotDeleted) {
    ConfigurationWorld world;
    world.put(std::string(path) + "/inside", "x");
    EXPECT_FALSE(world.open()->removeSyncConfigAndArchiveFiles()); // a mount point does not move
    EXPECT_TRUE(world.exists(std::string(path) + "/inside"));
}

TEST(ConfigurationArchive, AnswersTheResultOfTheMove) {
    ConfigurationWorld world;
    const auto config = world.open();
    ASSERT_TRUE(config->addUserToList());
    EXPECT_FALSE(config->removeSyncConfigAndArchiveFiles());
    EXPECT_FALSE(world.exists(path));
}

} // namespace
} // namespace vt::test

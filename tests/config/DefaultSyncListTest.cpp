#include "ConfigurationWorld.h"

namespace vt::test {
namespace {

using Folder = SystemIdentity::UserFolder;

struct DefaultSyncSet : testing::Test {
    ConfigurationWorld world;
    DefaultSyncSet() {
        world.system.folders = {{Folder::movies, "/home/ada/Movies"},
                                {Folder::music, "/home/ada/Music"},
                                {Folder::pictures, "/home/ada/Pictures"}};
        world.makeFolders("/home/ada/Music");
    }
    void putLibrary(const Value& root) {
        world.put("/home/ada/Music/iTunes Music Library.xml", world.propertyLists.xml(root).valueOr(""));
    }
    void putDomain(const char* domain, const Value& path) {
        world.preferences.set(domain, PreferenceHost::any, "LibraryPath", path);
    }
};

TEST_F(DefaultSyncSet, IsMoviesMusicAndPicturesWithoutDocuments) {
    const auto config = world.open();
    ASSERT_TRUE(config->addUserToList());
    EXPECT_TRUE(config->createDefaultSyncSet());
    EXPECT_EQ(config->syncItemList(), (Items{"~/Movies", "~/Music", "~/Pictures"}));
    EXPECT_TRUE(config->hasSyncConfiguration());
    EXPECT_TRUE(world.open()->isSyncDocumentsEnabledForUser());
    EXPECT_EQ(world.open()->syncItemList(), (Items{"~/Movies", "~/Music", "~/Pictures"}));
}

TEST_F(DefaultSyncSet, EveryWriteGoesToTheRunner) {
    const auto config = world.open();
    int asked = 0;
    config->setWriteRunner([&](const std::function<bool()>& write) {
        ++asked;
        return write();
    });
    EXPECT_TRUE(config->createDefaultSyncSet());
    EXPECT_EQ(asked, 2); // the list, then the file once more
}

TEST_F(DefaultSyncSet, LeavesOutFoldersThatAreNotThere) {
    world.system.folders.erase(Folder::music);
    const auto config = world.open();
    EXPECT_TRUE(config->createDefaultSyncSet());
    EXPECT_EQ(config->syncItemList(), (Items{"~/Movies", "~/Pictures"}));
}

TEST_F(DefaultSyncSet, AnEmptyOneIsLoggedAndLeavesTheDriveNotSetUp) {
    world.system.folders.clear();
    const auto config = world.open();
    EXPECT_FALSE(config->createDefaultSyncSet());
    EXPECT_FALSE(config->hasSyncConfiguration());
    EXPECT_FALSE(world.exists(ConfigurationWorld::path));
    EXPECT_EQ(world.log.lines(), Lines{"There is no folder for a default sync list."});
}

TEST_F(DefaultSyncSet, BuildsADictionaryWhereNoneIsLoaded) {
    world.put(ConfigurationWorld::path, "broken");
    const auto config = world.open();
    EXPECT_TRUE(config->createDefaultSyncSet());
    EXPECT_EQ(world.open()->syncItemList(), (Items{"~/Movies", "~/Music", "~/Pictures"}));
}

TEST_F(DefaultSyncSet, AddsLibrariesThatLieElsewhere) {
    putLibrary(Value::Dictionary{{"Music Folder", "file://localhost/srv/My%20Music/"}});
    putDomain("com.apple.iPhoto", "/home/ada/Photos/iPhoto Library");
    putDomain("com.apple.PhotoBooth", "/srv/Booth");
    const auto config = world.open();
    EXPECT_EQ(config->getiTunesMusicLibraryPath(), "/srv/My Music");
    ASSERT_TRUE(config->createDefaultSyncSet());
    // Photo libraries keep the form in which their programs store them.
    EXPECT_EQ(config->syncItemList(), (Items{"~/Movies", "~/Music", "~/Pictures", "/srv/My Music",
                                             "/home/ada/Photos/iPhoto Library", "/srv/Booth"}));
}

TEST_F(DefaultSyncSet, MusicLibraryInTheHomeFolderIsAbbreviated) {
    putLibrary(Value::Dictionary{{"Music Folder", "file:///home/ada/Tunes/"}});
    const auto config = world.open();
    ASSERT_TRUE(config->createDefaultSyncSet());
    EXPECT_EQ(config->syncItemList()->at(3), "~/Tunes");
}

TEST_F(DefaultSyncSet, LeavesOutLibrariesInsideTheUsersFolders) {
    putLibrary(Value::Dictionary{{"Music Folder", "file:///home/ada/Music/iTunes/"}});
    putDomain("com.apple.iPhoto", "/home/ada/Pictures/iPhoto Library");
    putDomain("com.apple.PhotoBooth", "/home/ada/Pictures 2");
    const auto config = world.open();
    EXPECT_FALSE(config->getiTunesMusicLibraryPath());
    EXPECT_FALSE(config->getiPhotoLibraryPath());
    // A plain text prefix decides.
    EXPECT_FALSE(config->getPhotoBoothLibraryPath());
}

TEST_F(DefaultSyncSet, BrokenLibrarySettingsReadAsNone) {
    const auto config = world.open();
    EXPECT_FALSE(config->getiTunesMusicLibraryPath());
    world.put("/home/ada/Music/iTunes Music Library.xml", "no property list");
    EXPECT_FALSE(config->getiTunesMusicLibraryPath());
    for (const Value& url : {Value(5), Value("http://host/x"), Value("/plain/path"), Value("file:///a%ZZ")}) {
        putLibrary(Value::Dictionary{{"Music Folder", url}});
        EXPECT_FALSE(config->getiTunesMusicLibraryPath()) << url.description();
    }
    putLibrary(Value::Array{});
    EXPECT_FALSE(config->getiTunesMusicLibraryPath());
    putDomain("com.apple.iPhoto", 5);
    putDomain("com.apple.PhotoBooth", "");
    EXPECT_FALSE(config->getiPhotoLibraryPath());
    EXPECT_FALSE(config->getPhotoBoothLibraryPath());
}

} // namespace
} // namespace vt::test

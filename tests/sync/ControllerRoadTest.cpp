// From a change on the computer to its copy on the drive: whole syncs.
#include "support/SyncWorld.h"

namespace vt::test {
namespace {

using Tree = std::vector<std::string>;

constexpr const char* song = "/home/ada/Music/a.mp3";
constexpr const char* copyOfSong = "/media/stick/ada_Workbench/Music/a.mp3";

TEST(ControllerRoad, anItemOnlyOnTheComputerIsCopiedWithContentAndDate) {
    SyncWorld world;
    world.computer({file("Music/a.mp3", "aaaa", at(-10)), file("Music/Rock/b.mp3", "bb", at(-5))});
    world.sync();
    EXPECT_TRUE(world.succeeded());
    EXPECT_EQ(world.copiesTree(), (Tree{"Music/", "Music/Rock/", "Music/Rock/b.mp3", "Music/a.mp3"}));
    EXPECT_EQ(world.read(copyOfSong), "aaaa");
    EXPECT_EQ(world.files.attributes(copyOfSong)->modified, at(-10));
    EXPECT_EQ(world.controller->lastSyncTime(), at(0));
    EXPECT_EQ(world.controller->deviceConfiguration().lastSyncDateForUser(), at(0));
    EXPECT_EQ(world.figure("syncCopied"), 1024);
    EXPECT_EQ(world.figure("syncUnaccounted"), 0);
}

TEST(ControllerRoad, aNewerFileOnTheComputerReplacesItsCopy) {
    SyncWorld world;
    world.computer({file(std::string("Music/a.mp3"), "new", at(10))});
    world.onDrive({file("Music/a.mp3", "old", at(-20))});
    world.finishedSyncAt(at(0));
    world.clock.setNow(at(30));
    world.sync();
    EXPECT_TRUE(world.succeeded());
    EXPECT_EQ(world.read(copyOfSong), "new");
    EXPECT_EQ(world.copiesTree(), (Tree{"Music/", "Music/a.mp3"}));
    EXPECT_FALSE(world.exists("/media/stick/Archived Vantaro Backups")); // nothing that only the drive had
}

TEST(ControllerRoad, aNewerFileOnTheDriveIsRemovedAndTheNextSyncPutsTheComputersThere) {
    SyncWorld world;
    world.computer({file("Music/a.mp3", "mine", at(-10))});
    world.onDrive({file("Music/a.mp3", "theirs", at(5))});
    world.finishedSyncAt(at(0));
    world.clock.setNow(at(30));
    world.sync();
    EXPECT_TRUE(world.succeeded());
    EXPECT_FALSE(world.exists(copyOfSong));
    EXPECT_EQ(world.read("/media/stick/Archived Vantaro Backups/2013-05-21/ada_Workbench/Music/a.mp3"), "theirs");
    EXPECT_TRUE(world.host.has("\"/media/stick/ada_Workbench/Music/a.mp3\" on the drive is newer than "
                               "\"/home/ada/Music/a.mp3\" and is removed."));
    world.sync();
    EXPECT_EQ(world.read(copyOfSong), "mine");
}

TEST(ControllerRoad, aFileChangedOnBothSidesGoesToTheDriveAndTheDrivesIsKept) {
    SyncWorld world;
    world.computer({file("Music/a.mp3", "mine", at(20))});
    world.onDrive({file("Music/a.mp3", "theirs", at(10))});
    world.finishedSyncAt(at(0));
    world.clock.setNow(at(30));
    world.sync();
    EXPECT_TRUE(world.succeeded());
    EXPECT_EQ(world.read(copyOfSong), "mine");
    EXPECT_EQ(world.read("/media/stick/Archived Vantaro Backups/2013-05-21/ada_Workbench/Music/a.mp3"), "theirs");
}

TEST(ControllerRoad, whatOnlyTheDriveHasStays) {
    SyncWorld world;
    world.computer({file("Music/a.mp3", "a", at(-10))});
    world.onDrive({file("Music/a.mp3", "a", at(-10)), file("Music/gone.mp3", "g", at(-9)), folder("Music/Old"),
                   file("Music/.d$f.x", "", at(-9))});
    world.sync();
    EXPECT_TRUE(world.succeeded());
    EXPECT_EQ(world.copiesTree(), (Tree{"Music/", "Music/.d$f.x", "Music/Old/", "Music/a.mp3", "Music/gone.mp3"}));
    EXPECT_EQ(world.summary(),
              "Sync summary for \"stick\": 0 failed or skipped, 0 filtered (0 bytes), 2 only on the drive.");
}

TEST(ControllerRoad, refusedFilesAreLeftOutAndCounted) {
    SyncWorld world;
    world.onDrive({folder("Music")});
    world.computer({file("Music/a.mp3", "a", at(-10)), file("Music/b.exe", std::string(600, 'x'), at(-10))});
    world.sync();
    EXPECT_EQ(world.copiesTree(), (Tree{"Music/", "Music/a.mp3"}));
    EXPECT_EQ(world.figure("syncSkipFilter"), 1024);
    EXPECT_EQ(world.summary(),
              "Sync summary for \"stick\": 0 failed or skipped, 1 filtered (1024 bytes), 0 only on the drive.");
}

TEST(ControllerRoad, aLinkIsNeverCopiedIntoAFolderOnBothSides) {
    SyncWorld world;
    world.onDrive({folder("Music")});
    world.computer({file("Music/a.mp3", "a", at(-10)), link("Music/l.mp3", "a.mp3")});
    world.sync();
    EXPECT_EQ(world.copiesTree(), (Tree{"Music/", "Music/a.mp3"}));
}

TEST(ControllerRoad, aFolderAgainstAFileStopsEverythingAndNamesThePath) {
    SyncWorld world({"~/Music", "~/Pictures"});
    world.computer({folder("Music/a"), file("Pictures/p.jpg", "p", at(-10))});
    world.onDrive({file("Music/a", "file", at(-10))});
    world.sync();
    EXPECT_FALSE(world.succeeded());
    EXPECT_FALSE(world.exists("/media/stick/ada_Workbench/Pictures"));
    EXPECT_TRUE(world.host.has("The synchronization stopped at \"/home/ada/Music\"."));
    EXPECT_FALSE(world.controller->lastSyncTime().has_value());
    ASSERT_EQ(world.alerts.shown.size(), 1U);
    EXPECT_EQ(world.alerts.shown[0].title, "Sync Failed");
    EXPECT_EQ(world.alerts.shown[0].message, "Check the log for more details.");
    EXPECT_EQ(world.alerts.shown[0].buttons, (std::vector<std::string>{"OK", "Log"}));
}

TEST(ControllerRoad, theLogTellsTheStoryOfASync) {
    SyncWorld world;
    world.computer({file("Music/a.mp3", "a", at(-10))});
    world.sync();
    EXPECT_EQ(world.host.lines(),
              (std::vector<std::string>{
                  "Synchronizing \"stick\"...", "Processing \"Music\".",
                  "Synchronization of \"stick\" completed successfully.",
                  "Sync summary for \"stick\": 0 failed or skipped, 0 filtered (0 bytes), 0 only on the drive."}));
    EXPECT_EQ(world.host.activityTypes(), (std::vector<int>{1, 2, 3, 3, 6}));
}

TEST(ControllerRoad, aMissingSyncItemIsFilteredWithNoBytesAndTheSyncSucceeds) {
    SyncWorld world;
    world.host.debug = true;
    world.sync();
    EXPECT_TRUE(world.succeeded());
    EXPECT_TRUE(world.host.has("-\n-: skipping \"/home/ada/Music\"\n-:     <--> \"/media/stick/ada_Workbench/Music\""));
    EXPECT_EQ(world.figure("syncSkipFilter"), 0);
}

TEST(ControllerRoad, withoutAValidatorNothingIsCopied) {
    SyncWorld world;
    world.computer({file("Music/a.mp3", "a", at(-10))});
    const auto bare = world.controllerFor(SyncWorld::drive);
    bare->sync();
    SyncWorld::run(*bare);
    EXPECT_EQ(world.copiesTree(), Tree{});
}

TEST(ControllerRoad, aPackageIsReplacedWholeWhenAnyFileInsideIsNewer) {
    SyncWorld world;
    world.computer({file("Music/set.pages/index.txt", "new", at(20)), file("Music/set.pages/art.txt", "x", at(-20))});
    world.onDrive({file("Music/set.pages/index.txt", "old", at(-30)), file("Music/set.pages/art.txt", "x", at(-20))});
    world.finishedSyncAt(at(0));
    world.clock.setNow(at(30));
    world.sync();
    EXPECT_TRUE(world.succeeded());
    EXPECT_EQ(world.read("/media/stick/ada_Workbench/Music/set.pages/index.txt"), "new");
    EXPECT_EQ(world.copiesTree(),
              (Tree{"Music/", "Music/set.pages/", "Music/set.pages/art.txt", "Music/set.pages/index.txt"}));
}

// A folder above the items only leads to them, also where its name is that of a package.
TEST(ControllerRoad, itemsInsideAPackageLeaveTheRestOfItOnTheDrive) {
    SyncWorld world({"~/set.pages/Songs", "~/set.pages/Art"});
    world.computer({file("set.pages/Songs/a.mp3", "a", at(-10)), file("set.pages/Songs/b.mp3", "b", at(-10)),
                    file("set.pages/Art/p.jpg", "p", at(-10)), file("set.pages/index.txt", "i", at(-10))});
    const Tree all{"set.pages/",          "set.pages/Art/",        "set.pages/Art/p.jpg",
                   "set.pages/Songs/",    "set.pages/Songs/a.mp3", "set.pages/Songs/b.mp3",
                   "set.pages/theirs.txt"};
    world.onDrive({file("set.pages/theirs.txt", "t")});
    world.sync();
    EXPECT_EQ(world.copiesTree(), all);
    world.write("/home/ada/set.pages/Songs/a.mp3", "new", at(5));
    world.clock.setNow(at(10));
    world.sync();
    EXPECT_TRUE(world.succeeded());
    EXPECT_EQ(world.copiesTree(), all);
    EXPECT_EQ(world.read("/media/stick/ada_Workbench/set.pages/Songs/a.mp3"), "new");
    EXPECT_FALSE(world.exists("/media/stick/Archived Vantaro Backups"));
    EXPECT_EQ(world.controller->lastSyncTime(), at(10)); // nothing was left behind
}

TEST(ControllerRoad, aComputerNamedLikeAPackageHasAFolderLikeAnyOther) {
    SyncWorld world;
    world.system.machine = "bench.app";
    world.controller = world.controllerFor(SyncWorld::drive);
    world.join(*world.controller, {"~/Music"});
    const std::string songs = "/media/stick/ada_bench.app/Music";
    for (const char* name : {"a", "b"}) {
        world.computer({file(std::string("Music/") + name + ".mp3", name, at(-10))});
        world.sync();
        EXPECT_TRUE(world.succeeded());
        EXPECT_EQ(world.read(songs + "/" + name + ".mp3"), name);
    }
    EXPECT_EQ(world.read(songs + "/a.mp3"), "a");
    EXPECT_FALSE(world.exists("/media/stick/Archived Vantaro Backups"));
}

TEST(ControllerRoad, aContinuousSyncLooksOnlyAtThePathsThatChanged) {
    SyncWorld world({"~/Music", "~/Pictures"});
    world.onDrive({folder("Music"), folder("Pictures")});
    world.computer({file("Music/a.mp3", "a", at(-10)), file("Pictures/p.jpg", "p", at(-10))});
    world.syncPaths({"/home/ada/Music", "/home/ada/Music", "/home/ada/Elsewhere"});
    EXPECT_TRUE(world.succeeded());
    EXPECT_EQ(world.copiesTree(), (Tree{"Music/", "Music/a.mp3", "Pictures/"}));
    EXPECT_EQ(world.figure("syncSize"), 512);
}

TEST(ControllerRoad, aContinuousSyncOutsideEveryItemChangesNothingAndStampsNothing) {
    SyncWorld world;
    world.syncPaths({"/home/ada/Elsewhere"});
    EXPECT_TRUE(world.succeeded());
    EXPECT_FALSE(world.controller->lastSyncTime().has_value());
}

TEST(ControllerRoad, anUnchangedContinuousSyncFailureShowsNoAlert) {
    SyncWorld world;
    world.computer({folder("Music/a")});
    world.onDrive({file("Music/a", "file", at(-10))});
    world.syncPaths({"/home/ada/Music"});
    EXPECT_TRUE(world.host.has("Synchronization of \"stick\" did not complete successfully."));
    EXPECT_TRUE(world.alerts.shown.empty());
}

TEST(ControllerRoad, overlappingItemsAreCarriedOutOnce) {
    SyncWorld world({"~/Music", "~/Music/Rock"});
    world.computer({file("Music/Rock/b.mp3", "b", at(-10))});
    world.sync();
    EXPECT_TRUE(world.succeeded());
    EXPECT_EQ(world.copiesTree(), (Tree{"Music/", "Music/Rock/", "Music/Rock/b.mp3"}));
}

TEST(ControllerRoad, anInnerItemBeforeItsOuterOneDoesNoHarmEither) {
    SyncWorld world({"~/Music/b.mp3", "~/Music"});
    world.computer({file("Music/b.mp3", "b", at(-10)), file("Music/c.mp3", "c", at(-10))});
    world.sync();
    EXPECT_TRUE(world.succeeded());
    EXPECT_EQ(world.copiesTree(), (Tree{"Music/", "Music/b.mp3", "Music/c.mp3"}));
}

TEST(ControllerRoad, anItemOnItsOwnDriveIsLeftOut) {
    SyncWorld world({"/media/stick/Photos", "~/Music"});
    buildTree(world.files, world.files, "/media/stick", {file("Photos/p.jpg", "p", at(-10))});
    world.computer({file("Music/a.mp3", "a", at(-10))});
    world.sync();
    EXPECT_TRUE(world.host.has("\"/media/stick/Photos\" lies on its own drive and is left out."));
    EXPECT_EQ(world.copiesTree(), (Tree{"Music/", "Music/a.mp3"}));
    for (const std::string& call : world.disk.faults().log()) EXPECT_NE(call, "list /media/stick/Photos");
    EXPECT_EQ(world.figure("syncSize"), 512);
}

TEST(ControllerRoad, noWalkEntersTheRootOfAnotherServedDrive) {
    SyncWorld world;
    world.computer({file("Music/a.mp3", "a", at(-10)), folder("Music/usb")});
    world.onDrive({folder("Music")});
    world.mountDrive("/home/ada/Music/usb", "disk9s1");
    const auto other = world.controllerFor("/home/ada/Music/usb");
    buildTree(world.files, world.files, "/home/ada/Music/usb", {file("x.mp3", "x", at(-10))});
    world.sync();
    EXPECT_TRUE(world.succeeded());
    EXPECT_TRUE(world.host.has("\"/home/ada/Music/usb\" is a drive of its own and is left out."));
    EXPECT_EQ(world.copiesTree(), (Tree{"Music/", "Music/a.mp3"}));
}

TEST(ControllerRoad, namesThatTheDriveCannotTellApartAreNotMixed) {
    FakeMount blind;
    blind.capabilities.caseSensitive = false;
    SyncWorld world({"~/Music"}, blind);
    world.computer({file("Music/a.mp3", "small", at(-10)), file("Music/A.mp3", "CAPITAL", at(-5))});
    world.onDrive({folder("Music")});
    world.sync();
    EXPECT_EQ(world.copiesTree().size(), 2U);
    EXPECT_TRUE(world.host.has("\"/home/ada/Music/a.mp3\" is left out: the drive already gets an item of that name."));
    EXPECT_EQ(world.read("/media/stick/ada_Workbench/Music/A.mp3"), "CAPITAL");
    world.sync();
    EXPECT_TRUE(world.host.has("\"/home/ada/Music/a.mp3\" is left out: the drive takes its name for that of another "
                               "item."));
    EXPECT_EQ(world.read("/media/stick/ada_Workbench/Music/A.mp3"), "CAPITAL");
}

TEST(ControllerRoad, namesOfAnyBytesAreCopied) {
    SyncWorld world;
    world.computer({file("Music/\xff\xfe.mp3", "bytes", at(-10)), file("Music/a\nb.mp3", "line", at(-10))});
    world.sync();
    EXPECT_TRUE(world.succeeded());
    EXPECT_EQ(world.read("/media/stick/ada_Workbench/Music/\xff\xfe.mp3"), "bytes");
    EXPECT_EQ(world.read("/media/stick/ada_Workbench/Music/a\nb.mp3"), "line");
}

TEST(ControllerRoad, eachFileIsLookedAtOnceOnEachSide) {
    SyncWorld world;
    world.computer({file("Music/a.mp3", "a", at(-10)), file("Music/b.mp3", "b", at(-10))});
    world.onDrive({file("Music/a.mp3", "a", at(-10)), file("Music/b.mp3", "b", at(-10))});
    world.finishedSyncAt(at(0));
    world.disk.faults().clearLog();
    world.sync();
    for (const char* path : {"/home/ada/Music", "/media/stick/ada_Workbench/Music"})
        EXPECT_EQ(std::ranges::count(world.disk.faults().log(), std::string("list ") + path), 1) << path;
    for (const char* path : {song, copyOfSong})
        EXPECT_EQ(std::ranges::count(world.disk.faults().log(), std::string("attributes ") + path), 0) << path;
}

TEST(ControllerRoad, aTreeDeeperThanAnyStackIsComparedAndCopied) {
    SyncWorld world;
    std::string deep = "Music";
    for (int i = 0; i < 250; ++i) deep += "/d";
    world.computer({file(deep + "/a.mp3", "deep", at(-10))});
    world.sync();
    EXPECT_TRUE(world.succeeded());
    world.write("/home/ada/" + deep + "/a.mp3", "newer", at(10));
    world.clock.setNow(at(20));
    world.sync();
    EXPECT_EQ(world.read(std::string(SyncWorld::copies) + "/" + deep + "/a.mp3"), "newer");
}

} // namespace
} // namespace vt::test

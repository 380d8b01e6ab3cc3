// What a drive is owed: edits that the dates would hide, failed copies, and a drive that goes away.
#include "support/SyncWorld.h"
#include "sync/DriveGuard.h"
#include "sync/owed/OwedRecord.h"

namespace vt::test {
namespace {

constexpr const char* song = "/home/ada/Music/a.mp3";
constexpr const char* copied = "/media/stick/ada_Workbench/Music/a.mp3";

struct OwedWorld : SyncWorld {
    using SyncWorld::SyncWorld;
    // A song that the drive has, after one complete sync at 12:00.
    void begin() {
        computer({file("Music/a.mp3", "one", at(-10)), file("Music/b.mp3", "b", at(-10))});
        sync();
        ASSERT_EQ(read(copied), "one");
    }
    [[nodiscard]] OwedRecord record() {
        OwedRecord found(files, files, system.stateHome(), "volume:");
        const auto listed = files.listNames("/home/ada/.local/state/vantaro/drives");
        EXPECT_TRUE(listed.ok());
        const auto text = read("/home/ada/.local/state/vantaro/drives/" + listed->front()).value_or("");
        const auto start = text.find("drive ") + 6;
        OwedRecord own(files, files, system.stateHome(), text.substr(start, text.find('\n', start) - start));
        own.load();
        return own;
    }
};

TEST(OwedPass, anEditMadeDuringASyncIsCopiedByTheNextOne) {
    OwedWorld world;
    world.begin();
    // A second sync takes five minutes; the file is edited after it was compared, before the stamp.
    world.clock.setNow(at(10));
    world.computer({file("Music/c.mp3", "c", at(9))});
    world.disk.faults().before("copyData", "", [&](const std::string&) {
        world.write(song, "two", at(12));
        world.clock.setNow(at(15));
    });
    world.sync();
    world.disk.faults().clear();
    EXPECT_EQ(world.controller->lastSyncTime(), at(15));
    EXPECT_EQ(world.read(copied), "one");
    world.clock.setNow(at(20));
    world.sync();
    EXPECT_EQ(world.read(copied), "two");
}

TEST(OwedPass, aDriveWithoutARecordGetsNothingExtra) {
    OwedWorld world;
    world.computer({file("Music/a.mp3", "two", at(-1))});
    world.onDrive({file("Music/a.mp3", "one", at(-5))});
    world.finishedSyncAt(at(0));
    world.sync();
    EXPECT_EQ(world.read(copied), "one");
}

TEST(OwedPass, itNeverRemovesANewerDriveFile) {
    OwedWorld world;
    world.begin();
    world.write(copied, "theirs", at(-2)); // newer than the computer's, both before the last sync
    world.clock.setNow(at(10));
    world.sync();
    EXPECT_EQ(world.read(copied), "theirs");
}

TEST(OwedPass, anItemThatWasOffTheListIsLookedAtAnew) {
    OwedWorld world;
    world.begin();
    world.controller->updateSyncList({});
    world.run();
    world.write(song, "two", at(5));
    world.controller->updateLastSyncTime(at(30)); // another pass moved the time meanwhile
    world.clock.setNow(at(40));
    world.controller->updateSyncList({"~/Music"});
    world.run();
    world.sync();
    EXPECT_EQ(world.read(copied), "two");
}

TEST(OwedPass, aFilterThatWasNarrowerMeanwhileCoversNothing) {
    OwedWorld world;
    world.begin();
    world.clock.setNow(at(10));
    world.controller->setSyncMusicState(false);
    const auto onlyTexts = VTContainerValidator::suffixMatch(".*\\.txt$", true);
    world.controller->updateFileValidator({&onlyTexts});
    world.write(song, "two", at(5));
    world.sync(); // stamps, without the song
    EXPECT_EQ(world.read(copied), "one");
    world.clock.setNow(at(20));
    world.controller->setSyncMusicState(true);
    world.controller->updateFileValidator({&world.everything});
    world.sync();
    EXPECT_EQ(world.read(copied), "two");
}

// As a film that could not be read in time.
TEST(OwedPass, aFileThatWasRefusedMeanwhileIsOwedAlsoWhereItIsAnItemOfItsOwn) {
    for (const char* item : {"~/Music", "~/Music/a.mp3"}) {
        OwedWorld world({item});
        world.begin();
        const auto onlyTexts = VTContainerValidator::suffixMatch(".*\\.txt$", true);
        world.controller->updateFileValidator({&onlyTexts});
        world.write(song, "two", at(5));
        world.clock.setNow(at(10));
        world.sync(); // stamps, without the song
        EXPECT_EQ(world.read(copied), "one") << item;
        world.controller->updateFileValidator({&world.everything});
        world.clock.setNow(at(20));
        world.sync();
        EXPECT_EQ(world.read(copied), "two") << item;
    }
}

TEST(OwedPass, aTimeTakenWithAFastClockDoesNotHideEdits) {
    OwedWorld world;
    world.clock.setNow(at(600));
    world.begin();
    world.clock.setNow(at(10)); // the clock was wrong
    world.write(song, "two", at(5));
    world.sync();
    EXPECT_EQ(world.read(copied), "two");
}

TEST(OwedPass, aFailedCopyIsOwedAndTriedFirstNextTime) {
    OwedWorld world;
    world.begin();
    world.clock.setNow(at(10));
    world.write(song, "two", at(5));
    world.write("/home/ada/Music/b.mp3", "bb", at(5));
    world.disk.faults().fail("copyData", "/home/ada/Music/a.mp3", EIO);
    world.disk.faults().fail("copyFile", "/home/ada/Music/a.mp3", EIO);
    world.alerts.answers = {0}; // go on
    world.sync();
    world.disk.faults().clear();
    EXPECT_EQ(world.read("/media/stick/ada_Workbench/Music/b.mp3"), "bb");
    EXPECT_EQ(world.read(copied), "one");
    EXPECT_TRUE(world.record().knownToFail("/home/ada/Music"));
    EXPECT_TRUE(world.summary().find("1 failed or skipped") != std::string::npos) << world.summary();
    world.clock.setNow(at(20));
    world.sync();
    EXPECT_EQ(world.read(copied), "two");
    EXPECT_TRUE(world.record().owed().empty());
}

TEST(OwedPass, aCommitThatLeavesSomethingBehindPutsTheOldTimeBack) {
    OwedWorld world;
    world.begin();
    world.clock.setNow(at(10));
    world.write(song, "two", at(5));
    world.disk.faults().fail("move", "/media/stick/ada_Workbench/.Z_VT_W", EIO);
    world.sync();
    world.disk.faults().clear();
    EXPECT_TRUE(world.succeeded());
    EXPECT_EQ(world.controller->lastSyncTime(), at(0));
    EXPECT_EQ(world.controller->deviceConfiguration().lastSyncDateForUser(), at(0));
    EXPECT_TRUE(world.record().owes(song));
    world.clock.setNow(at(20));
    world.sync();
    EXPECT_EQ(world.read(copied), "two");
}

// Of its two files the older one is left out, so its newest date is the drive's from then on.
struct IncompletePackage : OwedWorld {
    using OwedWorld::OwedWorld;
    static constexpr const char* older = "/media/stick/ada_Workbench/Music/a.pages/older";
    void begin() {
        computer({file("Music/a.pages/older", "1", at(-10)), file("Music/a.pages/newer", "2", at(-9))});
        onDrive({folder("Music")});
        disk.faults().fail("copyFile", "/home/ada/Music/a.pages/older", EIO);
        sync();
        ASSERT_EQ(read("/media/stick/ada_Workbench/Music/a.pages/newer"), "2");
        ASSERT_FALSE(exists(older));
        clock.setNow(at(10));
    }
};

TEST(OwedPass, aPackageThatWasLeftIncompleteIsCompleted) {
    IncompletePackage world;
    world.begin();
    world.disk.faults().clear();
    world.sync();
    EXPECT_EQ(world.read(IncompletePackage::older), "1");
    EXPECT_FALSE(world.record().owes("/home/ada/Music/a.pages"));
    EXPECT_FALSE(world.exists("/media/stick/Archived Vantaro Backups"));
    world.clock.setNow(at(20));
    world.disk.faults().clearLog();
    world.sync();
    for (const std::string& call : world.disk.faults().log()) EXPECT_FALSE(call.starts_with("copy")) << call;
}

class IncompletePackageOnADrive : public testing::TestWithParam<std::int64_t> {};
TEST_P(IncompletePackageOnADrive, isTriedAgainWithoutAnArchiveOfItself) {
    FakeMount coarse;
    coarse.capabilities.dateGranularity = GetParam();
    IncompletePackage world({"~/Music"}, coarse);
    world.begin();
    for (int i = 1; i < 3; ++i) {
        world.clock.setNow(at(10 * i));
        world.sync();
        EXPECT_TRUE(world.succeeded());
        EXPECT_TRUE(world.record().owes("/home/ada/Music/a.pages"));
        EXPECT_EQ(world.read("/media/stick/ada_Workbench/Music/a.pages/newer"), "2");
        EXPECT_FALSE(world.exists("/media/stick/Archived Vantaro Backups"));
    }
}

INSTANTIATE_TEST_SUITE_P(Dates, IncompletePackageOnADrive, testing::Values(1, 120'000'000'000),
                         [](const auto& granularity) { return granularity.param == 1 ? "exact" : "coarse"; });

TEST(OwedPass, aRecordThatCannotBeWrittenStampsNothing) {
    OwedWorld world;
    world.computer({file("Music/a.mp3", "a", at(-10))});
    world.disk.faults().fail("writeAtomically", "/home/ada/.local/state", ENOSPC);
    world.sync();
    EXPECT_FALSE(world.controller->lastSyncTime().has_value());
}

TEST(OwedPass, aFolderThatCannotBeListedIsOwedAsAWhole) {
    OwedWorld world;
    world.begin();
    world.clock.setNow(at(10));
    world.disk.faults().fail("list", "/home/ada/Music", EACCES);
    world.sync();
    world.disk.faults().clear();
    EXPECT_TRUE(world.succeeded());
    EXPECT_TRUE(world.host.has("Unable to list \"/home/ada/Music\"."));
    EXPECT_TRUE(world.record().owes(song));
}

TEST(OwedPass, aCancelledSyncNotesNothingAsCovered) {
    OwedWorld world;
    world.computer({file("Music/a.mp3", "a", at(-10))});
    world.controller->sync();
    world.controller->setCancelPending(true, true);
    world.run();
    EXPECT_TRUE(world.host.has("Synchronization of \"stick\" canceled."));
    EXPECT_FALSE(world.controller->lastSyncTime().has_value());
    EXPECT_FALSE(world.exists("/home/ada/.local/state/vantaro/drives"));
}

TEST(OwedPass, aListThatBecomesNarrowerAfterACancelledSyncIsPaidOnce) {
    FakeMount coarse;
    coarse.capabilities.dateGranularity = 2'000'000'000;
    SyncWorld world({"~/Music"}, coarse);
    world.computer({file("Music/a.mp3", "one", at(-10).plusSeconds(1)), file("Music/b.txt", "two", at(-10))});
    world.disk.faults().before("copyFile", "", [&](const std::string&) { world.controller->cancelButtonClicked(); });
    world.sync();
    (void)world.controller->playRound(); // idle: the worker lets go of the cancel
    world.disk.faults().clear();
    world.controller->updateSyncList({"~/Music/a.mp3"});
    SyncWorld::run(*world.controller);
    world.sync();
    EXPECT_EQ(world.read("/media/stick/ada_Workbench/Music/a.mp3"), "one");
    world.sync();
    EXPECT_EQ(world.figure("syncCopied"), 0);
    EXPECT_EQ(world.figure("syncSkipPresent"), 512);
}

TEST(OwedRecordFile, keepsPathsOfAnyBytes) {
    SyncWorld world;
    OwedRecord record(world.files, world.files, "/home/ada/.local/state", "volume:x y");
    record.owe("/home/ada/\xff %\n.mp3", OwedReason::skipped);
    record.setCoveredThrough("~/My Music", at(3));
    record.setFilter("map-1");
    record.noteChangedOnBothSides("/home/ada/\xff %\n.mp3");
    ASSERT_TRUE(record.save().ok());
    OwedRecord again(world.files, world.files, "/home/ada/.local/state", "volume:x y");
    again.load();
    EXPECT_TRUE(again.exists());
    EXPECT_EQ(again.owed(), record.owed());
    EXPECT_EQ(again.coveredThrough("~/My Music"), at(3));
    EXPECT_EQ(again.filter(), "map-1");
    EXPECT_TRUE(again.changedOnBothSides("/home/ada/\xff %\n.mp3"));
    EXPECT_FALSE(again.changedOnBothSides("/home/ada"));
}

TEST(OwedRecordFile, whatWasChangedOnBothSidesIsKnownWhileAnythingOfItIsOwed) {
    SyncWorld world;
    OwedRecord record(world.files, world.files, "/home/ada/.local/state", "volume:x");
    for (const char* path : {"/a/failed", "/a/left.pages", "/a/left", "/closed/inside", "/paid"})
        record.noteChangedOnBothSides(path);
    record.owe("/a/failed", OwedReason::failed);
    record.owe("/a/left.pages/text", OwedReason::failed);
    record.owe("/closed", OwedReason::failed);
    record.forgetBothSidesOfPaid();
    for (const char* path : {"/a/failed", "/a/left.pages", "/closed/inside"})
        EXPECT_TRUE(record.changedOnBothSides(path)) << path;
    for (const char* path : {"/a/left", "/paid"}) EXPECT_FALSE(record.changedOnBothSides(path)) << path;
    record.load();
    EXPECT_FALSE(record.changedOnBothSides("/a/failed"));
}

TEST(OwedRecordFile, aForeignOrBrokenFileIsNoRecord) {
    SyncWorld world;
    OwedRecord record(world.files, world.files, "/home/ada/.local/state", "volume:x");
    ASSERT_TRUE(record.save().ok());
    for (const char* text :
         {"", "garbage", "vantaro-owed 2\ndrive volume:x\n", "vantaro-owed 1\ndrive volume:other\n"}) {
        ASSERT_TRUE(world.files.writeAtomically(record.path(), text, 0600).ok());
        record.load();
        EXPECT_FALSE(record.exists()) << text;
    }
    ASSERT_TRUE(
        world.files
            .writeAtomically(record.path(), "vantaro-owed 1\ndrive volume:x\nitem x y\nowed what /a\nowed\n", 0600)
            .ok());
    record.load();
    EXPECT_TRUE(record.exists());
    EXPECT_TRUE(record.owed().empty());
}

TEST(OwedGuard, everyOperationFailsOnceAnotherDriveLiesThere) {
    SyncWorld world;
    world.computer({file("Music/a.mp3", "a", at(-10))});
    world.disk.unmount(SyncWorld::drive);
    world.disk.mount(SyncWorld::drive);
    world.sync();
    EXPECT_FALSE(world.succeeded());
    EXPECT_EQ(pathsOf(world.files, world.files, SyncWorld::drive), std::vector<std::string>{});
}

TEST(OwedGuard, nothingIsWrittenUnderAMountPointWhoseDriveHasGone) {
    SyncWorld world;
    world.computer({file("Music/a.mp3", "a", at(-10))});
    world.disk.unmount(SyncWorld::drive);
    world.sync();
    EXPECT_FALSE(world.succeeded());
    EXPECT_EQ(pathsOf(world.files, world.files, SyncWorld::drive), std::vector<std::string>{});
}

TEST(OwedGuard, aDrivePulledDuringASyncEndsItAsUnsuccessful) {
    SyncWorld world;
    world.computer({file("Music/a.mp3", "a", at(-10))});
    bool pulled = false;
    world.disk.faults().before("copyData", "", [&](const std::string&) {
        if (!std::exchange(pulled, true)) world.controller->driveDisappeared();
    });
    world.controller->sync();
    while (world.controller->playRound()) {
    }
    EXPECT_TRUE(world.host.has("Synchronization of \"stick\" did not complete successfully."));
    EXPECT_FALSE(world.controller->busy());
    EXPECT_EQ(world.controller->getCurrentProgressDict().at("syncActivityFailureType").integerValue(), 3);
    EXPECT_EQ(world.controller->getCurrentProgressDict().at("syncActivityType").integerValue(), 5);
}

TEST(OwedGuard, aPulledDriveIsAskedAboutOnceHoweverManyFilesAreLeft) {
    SyncWorld world;
    for (int i = 0; i < 100; ++i) {
        const std::string name = "Music/" + std::to_string(i) + ".mp3";
        world.computer({file(name, "new", at(-5))});
        world.onDrive({file(name, "old", at(-10))});
    }
    bool pulled = false;
    world.disk.faults().before("copyData", "", [&](const std::string&) {
        if (std::exchange(pulled, true)) return;
        world.controller->driveDisappeared();
        world.disk.pull(SyncWorld::drive, ENODEV);
        world.volumes.unplug("disk8s1");
    });
    world.controller->sync();
    while (world.controller->playRound()) {
    }
    EXPECT_TRUE(world.host.has("Synchronization of \"stick\" did not complete successfully."));
    ASSERT_EQ(world.alerts.shown.size(), 2U); // the copy that failed, and the sync
    EXPECT_EQ(world.alerts.shown[0].title, "Copy Failed.");
    EXPECT_EQ(world.alerts.shown[1].title, "Sync Failed");
}

TEST(OwedGuard, sessionsNestAndCloseTheDirectoryAtTheEnd) {
    SyncWorld world;
    DriveGuard guard(SyncWorld::drive, world.driveFiles);
    guard.recordIdentity();
    {
        const DriveSession outer(guard);
        {
            const DriveSession inner(guard);
            EXPECT_TRUE(inner.isOpen());
        }
        EXPECT_TRUE(guard.handle().ok());
        guard.markGone();
        EXPECT_EQ(guard.handle().code(), ENODEV);
    }
    EXPECT_FALSE(DriveSession(guard).isOpen());
}

} // namespace
} // namespace vt::test

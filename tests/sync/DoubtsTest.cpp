// Copies that a crash or an early pull may have left short: found by the journal, put right by the next sync.
#include "support/SyncWorld.h"
#include "sync/owed/CopyDoubts.h"

namespace vt::test {
namespace {

constexpr const char* copied = "/media/stick/ada_Workbench/Music/a.mp3";
constexpr const char* archive = "/media/stick/Archived Vantaro Backups";

// With what its journal says, as after a kill; after a power cut when `world.system.boot` has changed.
void restartAgent(SyncWorld& world) {
    world.controller = world.controllerFor(SyncWorld::drive);
    world.join(*world.controller, {"~/Music"});
}

FileAttributes changedAt(Date changed, Date born) {
    FileAttributes attributes;
    attributes.statusChanged = changed;
    attributes.born = born;
    return attributes;
}

TEST(Doubts, afterARestartWhateverChangedSinceTheGroupsStartMayBeShort) {
    const Date epoch = Date::fromNanoseconds(0);
    CopyJournal::Leftovers leftovers;
    leftovers.groups.push_back({{"/media/stick/x/Music"}, at(0)});
    leftovers.files["/media/stick/x/Elsewhere/named.mp3"] = at(-9);
    const CopyDoubts doubts(leftovers);
    struct Row {
        const char* name;
        const char* path;
        FileAttributes present;
        bool doubtful;
    };
    for (const Row& row : std::initializer_list<Row>{
             {"changed since", "/media/stick/x/Music/a.mp3", changedAt(at(1), at(-5)), true},
             {"changed at the start", "/media/stick/x/Music/a.mp3", changedAt(at(0), at(-5)), true},
             {"changed before", "/media/stick/x/Music/a.mp3", changedAt(at(-1), at(5)), false},
             {"no change time, born since", "/media/stick/x/Music/a.mp3", changedAt(epoch, at(1)), true},
             {"no change time, born before", "/media/stick/x/Music/a.mp3", changedAt(epoch, at(-1)), false},
             {"neither time is kept", "/media/stick/x/Music/a.mp3", changedAt(epoch, epoch), true},
             {"another item", "/media/stick/x/Pictures/a.jpg", changedAt(at(1), at(1)), false},
             {"a name that only begins alike", "/media/stick/x/Music2/a.mp3", changedAt(at(1), at(1)), false},
             {"named by the journal", "/media/stick/x/Elsewhere/named.mp3", changedAt(at(-9), at(-9)), true}})
        EXPECT_EQ(doubts.mayBeShort(row.path, row.present), row.doubtful) << row.name;
}

// A sync whose content never reached the drive for certain, as after a pull.
struct DoubtfulWorld : SyncWorld {
    DoubtfulWorld() {
        computer({file("Music/a.mp3", "whole content", at(-10))});
        disk.faults().fail("flushVolume", drive, EIO);
        sync();
        disk.faults().clear();
        EXPECT_EQ(read(copied), "whole content");
    }
};

TEST(Doubts, aShortCopyWithTheRightDateIsReplacedAndNotKept) {
    DoubtfulWorld world;
    world.write(copied, "", at(-10)); // what the pull has left
    world.sync();
    EXPECT_TRUE(world.succeeded());
    EXPECT_EQ(world.read(copied), "whole content");
    EXPECT_FALSE(world.exists(archive));
}

// Somebody cleans up below the home folder while files are copied, and the drive is pulled before it was flushed.
TEST(Doubts, aShortCopyIsReplacedThoughTheJournalWasRemovedMeanwhile) {
    SyncWorld world;
    world.computer({file("Music/a.mp3", "whole content", at(-10)), file("Music/b.mp3", "b", at(-10))});
    world.disk.faults().before("copyFile", "/home/ada/Music/b.mp3", [&](const std::string&) {
        world.files.remove("/home/ada/.local/state/vantaro", {}).ignore();
    });
    world.disk.faults().fail("flushVolume", SyncWorld::drive, ENODEV);
    world.sync();
    world.disk.faults().clear();
    world.write(copied, "", at(-10)); // what the pull has left
    restartAgent(world);
    world.sync();
    EXPECT_EQ(world.read(copied), "whole content");
}

TEST(Doubts, oneThatSomebodyChangedSinceIsSetAsideFirst) {
    DoubtfulWorld world;
    world.write(copied, "theirs", at(5));
    world.clock.setNow(at(10));
    world.sync();
    EXPECT_EQ(world.read(copied), "whole content"); // in place of the removal of a newer drive file
    EXPECT_EQ(world.read(std::string(archive) + "/2013-05-21/ada_Workbench/Music/a.mp3"), "theirs");
}

TEST(Doubts, oneThatIsLaterThanWhatTheComputerHasNowIsSetAsideFirst) {
    DoubtfulWorld world;
    world.write("/home/ada/Music/a.mp3", "an older version", at(-70));
    world.sync();
    EXPECT_EQ(world.read(copied), "an older version");
    EXPECT_EQ(world.read(std::string(archive) + "/2013-05-21/ada_Workbench/Music/a.mp3"), "whole content");
}

// A sync of an edit that was cut after the copy, before anything on the drive was replaced.
struct CutWorld : SyncWorld {
    CutWorld() {
        computer({file(name, "first", at(-10))});
        sync();
        EXPECT_EQ(read(copy), "first");
        edit("second", 5);
    }
    void edit(const std::string& content, int minutes) {
        clock.setNow(at(minutes));
        write(std::string(home) + "/" + name, content, at(minutes));
        clock.setNow(at(minutes + 5));
    }
    void cut() {
        disk.faults().fail("flushVolume", drive, ENODEV);
        disk.faults().before("flushVolume", drive,
                             [this](const std::string&) { controller->setCancelPending(true, false); });
        sync();
        disk.faults().clear();
        restartAgent(*this);
    }
    void expectReplaced(const std::string& content) {
        sync();
        EXPECT_TRUE(succeeded());
        EXPECT_EQ(read(copy), content);
    }
    static constexpr const char* name = "Music/album/a.mp3";
    const std::string copy = paths::join(copies, name);
    const std::string kept = std::string(archive) + "/2013-05-21/ada_Workbench/" + name;
};

TEST(CutBeforeTheCommit, theOlderCopyIsReplacedWithoutBeingSetAside) {
    CutWorld world;
    for (int cuts = 0; cuts < 2; ++cuts) {
        world.cut();
        EXPECT_EQ(world.read(world.copy), "first");
        world.edit("third", 15 + cuts);
    }
    world.expectReplaced("third");
    EXPECT_FALSE(world.exists(archive));
}

TEST(CutBeforeTheCommit, soIsTheOlderPackage) {
    SyncWorld world;
    world.computer({file("Music/a.pages/text", "first", at(-10))});
    world.sync();
    world.clock.setNow(at(5));
    world.write(std::string(SyncWorld::home) + "/Music/a.pages/text", "second", at(5));
    world.disk.faults().fail("flushVolume", SyncWorld::drive, ENODEV);
    world.disk.faults().before("flushVolume", SyncWorld::drive,
                               [&](const std::string&) { world.controller->setCancelPending(true, false); });
    world.sync();
    world.disk.faults().clear();
    restartAgent(world);
    EXPECT_EQ(world.read(paths::join(SyncWorld::copies, "Music/a.pages/text")), "first");
    world.sync();
    EXPECT_EQ(world.read(paths::join(SyncWorld::copies, "Music/a.pages/text")), "second");
    EXPECT_FALSE(world.exists(archive));
}

TEST(CutBeforeTheCommit, whatSomebodyPutThereSinceIsSetAside) {
    CutWorld world;
    for (int cuts = 0; cuts < 2; ++cuts) {
        world.cut();
        world.write(world.copy, "theirs", at(-5)); // with a date that says nothing
    }
    world.expectReplaced("second");
    EXPECT_EQ(world.read(world.kept), "theirs");
}

TEST(CutBeforeTheCommit, whatWasChangedOnBothSidesIsSetAside) {
    CutWorld world;
    world.write(world.copy, "theirs", at(3));
    world.cut();
    world.edit("third", 15);
    world.expectReplaced("third");
    EXPECT_EQ(world.read(world.kept), "theirs");
}

// A drive file that changed after a sync was cut, and that only the time since then holds in doubt.
struct ChangedSince {
    const char* name;
    Date local;
    Date drive;
    bool kept;
};
void PrintTo(const ChangedSince& row, std::ostream* out) {
    *out << row.name;
}

class DoubtfulByItsTimeAlone : public testing::TestWithParam<ChangedSince> {};

TEST_P(DoubtfulByItsTimeAlone, isSetAsideAsOneThatIsNotInDoubt) {
    FakeMount coarse;
    coarse.capabilities.dateGranularity = 2'000'000'000;
    SyncWorld world({"~/Music"}, coarse);
    world.system.boot = "first";
    restartAgent(world);
    world.computer({file("Music/a.txt", "ours", at(-10))});
    world.sync();
    ASSERT_TRUE(world.controller->lastSyncTime().has_value());
    world.clock.setNow(at(10));
    world.computer({file("Music/b.mp3", "b", at(5))});
    world.disk.faults().fail("flushVolume", SyncWorld::drive, EIO);
    world.sync();
    world.disk.faults().clear();
    world.system.boot = "second";
    world.clock.setNow(at(30));
    restartAgent(world);
    world.write("/home/ada/Music/a.txt", "our version", GetParam().local);
    world.write("/media/stick/ada_Workbench/Music/a.txt", "theirs", GetParam().drive);
    world.sync();
    EXPECT_EQ(world.read("/media/stick/ada_Workbench/Music/a.txt"), "our version");
    const auto aside = world.read(std::string(archive) + "/2013-05-21/ada_Workbench/Music/a.txt");
    EXPECT_EQ(aside, GetParam().kept ? std::optional<std::string>("theirs") : std::nullopt);
    EXPECT_FALSE(world.exists(std::string(archive) + "/2013-05-21/ada_Workbench/Music/b.mp3"));
}

INSTANTIATE_TEST_SUITE_P(Dates, DoubtfulByItsTimeAlone,
                         testing::Values(ChangedSince{"laterOnTheDrive", at(-10), at(20), true},
                                         ChangedSince{"laterThoughBothAreOld", at(-10), at(-5), true},
                                         ChangedSince{"changedOnBothSides", at(25), at(20), true},
                                         ChangedSince{"changedOnTheComputerOnly", at(25), at(-10), false},
                                         ChangedSince{"ofTheSameDate", at(20), at(20), false},
                                         ChangedSince{"asTheDriveKeepsTheDate", at(20).plusSeconds(1.5), at(20),
                                                      false}),
                         [](const auto& row) { return std::string(row.param.name); });

// Whether the journal has its name or only the time since when it is in doubt.
class DoubtfulThatIsNotCopied : public testing::TestWithParam<const char*> {
  protected:
    // `leaveOut` keeps one sync from copying the file again, `letIn` makes an end of that. What is named lies in the
    // home folder, and on the drive where its copies are.
    void expectCopiedLater(const std::function<void(SyncWorld&)>& leaveOut,
                           const std::function<void(SyncWorld&)>& letIn, const std::string& name = "Music/a.mp3") {
        const std::string copy = paths::join(SyncWorld::copies, name);
        SyncWorld world;
        world.system.boot = "first";
        restartAgent(world);
        world.computer({file(name, "whole content", at(-10)), file("Music/b.txt", "b", at(-10))});
        world.disk.faults().fail("flushVolume", SyncWorld::drive, EIO);
        world.sync();
        world.disk.faults().clear();
        world.system.boot = GetParam();
        world.clock.setNow(at(10));
        restartAgent(world);
        const Date folderDate = world.files.attributes(paths::parent(copy))->modified;
        world.write(copy, "", at(-10)); // what a power cut has left
        EXPECT_TRUE(world.files.setModified(paths::parent(copy), folderDate).ok());
        leaveOut(world);
        for (int pass = 0; pass < 2; ++pass) world.sync();
        EXPECT_EQ(world.read(copy), "");
        letIn(world);
        world.sync();
        EXPECT_EQ(world.read(copy), "whole content");
        world.disk.faults().clearLog();
        world.sync();
        const auto& log = world.disk.faults().log();
        EXPECT_TRUE(std::ranges::none_of(log, [](const std::string& call) { return call.starts_with("copyFile"); }));
        EXPECT_FALSE(world.exists(archive));
    }
    // As a folder of which nothing is there before somebody opens or mounts it.
    void expectCopiedOnceBack(const std::string& moved, const std::string& name) {
        const std::string there = paths::join(SyncWorld::home, moved);
        expectCopiedLater([&](SyncWorld& world) { EXPECT_TRUE(world.files.move(there, closed, Replace::never).ok()); },
                          [&](SyncWorld& world) { EXPECT_TRUE(world.files.move(closed, there, Replace::never).ok()); },
                          name);
    }
    static constexpr const char* closed = "/home/ada/closed";
};

TEST_P(DoubtfulThatIsNotCopied, becauseTheFilterRefusesItStaysInDoubt) {
    const auto onlyTexts = VTContainerValidator::suffixMatch(".*\\.txt$", true);
    expectCopiedLater([&](SyncWorld& world) { world.controller->updateFileValidator({&onlyTexts}); },
                      [](SyncWorld& world) { world.controller->updateFileValidator({&world.everything}); });
}

TEST_P(DoubtfulThatIsNotCopied, becauseTheFilterRefusesItsPackageStaysInDoubt) {
    const auto onlyTexts = VTContainerValidator::suffixMatch(".*\\.txt$", true);
    expectCopiedLater([&](SyncWorld& world) { world.controller->updateFileValidator({&onlyTexts}); },
                      [](SyncWorld& world) { world.controller->updateFileValidator({&world.everything}); },
                      "Music/a.pages/text");
}

TEST_P(DoubtfulThatIsNotCopied, becauseTheComputerHasItNoMoreStaysInDoubt) {
    expectCopiedOnceBack("Music/a.mp3", "Music/a.mp3");
}

TEST_P(DoubtfulThatIsNotCopied, becauseAFolderAboveItIsNotThereStaysInDoubt) {
    expectCopiedOnceBack("Music/vault", "Music/vault/deep/a.mp3");
}

TEST_P(DoubtfulThatIsNotCopied, becauseItsSyncItemIsNotThereStaysInDoubt) {
    expectCopiedOnceBack("Music", "Music/album/a.mp3");
}

TEST_P(DoubtfulThatIsNotCopied, becauseItsPackageIsNotThereStaysInDoubt) {
    expectCopiedOnceBack("Music/a.pages", "Music/a.pages/text");
}

INSTANTIATE_TEST_SUITE_P(Starts, DoubtfulThatIsNotCopied, testing::Values("first", "second"),
                         [](const auto& start) { return std::string(start.param) + "Start"; });

TEST(Doubts, onceFlushedNothingIsCopiedAgain) {
    DoubtfulWorld world;
    world.sync();
    world.host.forget();
    world.disk.faults().clearLog();
    world.sync();
    const auto& log = world.disk.faults().log();
    EXPECT_TRUE(std::ranges::none_of(log, [](const std::string& call) { return call.starts_with("copyFile"); }));
    EXPECT_EQ(world.figure("syncSkipPresent"), 512);
}

// A cancelled sync flushes nothing, but what it has put on the drive is as good as any other copy.
TEST(Doubts, whatACancelledSyncHasCopiedIsNotCopiedAgain) {
    SyncWorld world;
    world.computer({file("Music/album/a.mp3", "a", at(-10)), file("Music/next/b.mp3", "b", at(-10))});
    world.onDrive({folder("Music")});
    world.disk.faults().before("copyFile", "/home/ada/Music/next/b.mp3",
                               [&](const std::string&) { world.controller->setCancelPending(true, true); });
    world.sync();
    EXPECT_TRUE(world.host.has("Synchronization of \"stick\" canceled."));
    ASSERT_TRUE(world.exists("/media/stick/ada_Workbench/Music/album/a.mp3"));
    world.disk.faults().clear();
    world.disk.faults().clearLog();
    world.controller->setCancelPending(false, false);
    world.sync();
    EXPECT_TRUE(world.succeeded());
    EXPECT_TRUE(world.exists("/media/stick/ada_Workbench/Music/next/b.mp3"));
    const auto& log = world.disk.faults().log();
    EXPECT_TRUE(std::ranges::none_of(log, [](const std::string& call) { return call.ends_with("/album/a.mp3"); }));
}

TEST(Doubts, nothingIsStampedWhileTheDriveCannotBeFlushed) {
    DoubtfulWorld world;
    EXPECT_FALSE(world.controller->lastSyncTime().has_value());
}

} // namespace
} // namespace vt::test

// A file that was changed on both sides while its copy does not come through: whenever it does, what the drive has is
// set aside first.
#include "support/SyncWorld.h"
#include "sync/owed/OwedRecord.h"

namespace vt::test {
namespace {

constexpr const char* song = "/home/ada/Music/a.mp3";
constexpr const char* onTheDrive = "/media/stick/ada_Workbench/Music/a.mp3";
constexpr const char* archive = "/media/stick/Archived Vantaro Backups";

// After a sync at 0 the drive's song was edited at 10 and the computer's at 20; it is 30 now.
struct BothSidesWorld : SyncWorld {
    BothSidesWorld() {
        computer({file("Music/a.mp3", "mine", at(20)), file("Music/b.mp3", "b", at(-10))});
        onDrive({file("Music/a.mp3", "theirs", at(10)), file("Music/b.mp3", "b", at(-10))});
        finishedSyncAt(at(0));
        clock.setNow(at(30));
    }
    // With another file that ends the sync well, so that the last sync time moves.
    void syncAndStamp() {
        clock.advance(std::chrono::minutes(10));
        write("/home/ada/Music/b.mp3", "b", clock.now().plusSeconds(-60));
        sync();
        EXPECT_EQ(controller->lastSyncTime(), clock.now());
    }
    void failToCopyTheSong(int passes = 1) {
        disk.faults().fail("copyFile", song, EACCES);
        for (int pass = 0; pass < passes; ++pass) syncAndStamp();
        disk.faults().clear();
        EXPECT_EQ(read(onTheDrive), "theirs");
    }
    void restartAgent() {
        controller = controllerFor(drive);
        join(*controller, {"~/Music"});
    }
    void expectTheirsSetAside(const std::string& mine = "mine") {
        syncAndStamp();
        EXPECT_EQ(read(onTheDrive), mine);
        EXPECT_EQ(read(kept), "theirs");
        EXPECT_FALSE(exists(kept + " -1"));
    }
    const std::string kept = std::string(archive) + "/2013-05-21/ada_Workbench/Music/a.mp3";
};

class ChangedOnBothSides : public testing::TestWithParam<int> {};

TEST_P(ChangedOnBothSides, isSetAsideHoweverOftenTheCopyHasFailed) {
    BothSidesWorld world;
    world.failToCopyTheSong(GetParam());
    world.expectTheirsSetAside();
}

TEST_P(ChangedOnBothSides, isSetAsideByAnAgentThatWasStartedSince) {
    BothSidesWorld world;
    for (int starts = 0; starts < GetParam(); ++starts) {
        world.failToCopyTheSong();
        world.restartAgent();
    }
    world.expectTheirsSetAside();
}

INSTANTIATE_TEST_SUITE_P(FailedPasses, ChangedOnBothSides, testing::Values(1, 2, 3),
                         [](const auto& passes) { return std::to_string(passes.param); });

TEST(BothSides, isSetAsideAlsoWhenTheComputersChangesAgain) {
    BothSidesWorld world;
    world.failToCopyTheSong();
    world.write(song, "mine again", world.clock.now().plusSeconds(60));
    world.expectTheirsSetAside("mine again");
}

TEST(BothSides, isSetAsideThoughTheFilterRefusedItMeanwhile) {
    BothSidesWorld world;
    world.failToCopyTheSong();
    const auto onlyTexts = VTContainerValidator::suffixMatch(".*\\.txt$", true);
    world.controller->updateFileValidator({&onlyTexts});
    world.sync();
    EXPECT_EQ(world.read(onTheDrive), "theirs");
    world.controller->updateFileValidator({&world.everything});
    world.expectTheirsSetAside();
}

TEST(BothSides, isForgottenOnceItIsPaid) {
    BothSidesWorld world;
    world.failToCopyTheSong();
    world.expectTheirsSetAside();
    world.clock.advance(std::chrono::minutes(10));
    world.write(song, "later", world.clock.now());
    world.expectTheirsSetAside("later"); // and nothing besides
}

// The agent is killed, or the drive pulled, with the new last sync time on the drive and the copy still in its work
// folder.
TEST(BothSides, isSetAsideAfterACutBetweenTheStampAndTheCommit) {
    BothSidesWorld world;
    const std::string work = "/media/stick/ada_Workbench/.Z_VT_W";
    world.disk.faults().before("move", work, [&](const std::string&) {
        world.disk.faults().fail("", SyncWorld::drive, EIO);
        world.disk.faults().fail("", "/home/ada/.local/state", EIO);
    });
    world.sync();
    world.disk.faults().clear();
    world.restartAgent();
    ASSERT_EQ(world.controller->lastSyncTime(), at(30));
    ASSERT_EQ(world.read(onTheDrive), "theirs");
    world.expectTheirsSetAside();
}

// A copy that a cut may have left short is put right by the next sync; that it was changed on both sides before says
// nothing of it.
TEST(BothSides, whatWasCommittedBeforeTheCutIsNotSetAside) {
    BothSidesWorld world;
    world.system.boot = "first";
    world.restartAgent();
    world.disk.faults().fail("flushVolume", SyncWorld::drive, EIO);
    world.sync();
    world.disk.faults().clear();
    ASSERT_EQ(world.read(world.kept), "theirs");
    world.system.boot = "second";
    world.restartAgent();
    ASSERT_EQ(world.read(onTheDrive), "mine");
    world.write(onTheDrive, "", at(20)); // what a power cut has left
    world.expectTheirsSetAside();
}

// Here the time of its change alone holds it in doubt.
TEST(BothSides, isSetAsideThoughItMayBeAShortCopy) {
    BothSidesWorld world;
    world.system.boot = "first";
    world.restartAgent();
    world.failToCopyTheSong();
    world.disk.faults().fail("copyFile", song, EACCES);
    world.disk.faults().fail("flushVolume", SyncWorld::drive, EIO);
    world.write("/home/ada/Music/b.mp3", "b", world.clock.now().plusSeconds(60));
    world.sync();
    world.disk.faults().clear();
    world.system.boot = "second";
    world.restartAgent();
    world.write(onTheDrive, "theirs", at(10));
    world.expectTheirsSetAside();
}

// The package's own date does not tell that somebody edited it.
TEST(BothSides, aPackageThatTheJournalNamesAndSomebodyEditedInPlaceIsSetAside) {
    SyncWorld world;
    const std::string text = "/media/stick/ada_Workbench/Music/a.pages/text";
    world.computer({file("Music/a.pages/text", "first", at(-10))});
    world.onDrive({folder("Music")});
    world.finishedSyncAt(at(-5));
    world.disk.faults().fail("flushVolume", SyncWorld::drive, EIO); // no flush came before the kill
    world.sync();
    world.disk.faults().clear();
    ASSERT_EQ(world.read(text), "first");
    const auto own = world.files.attributes(paths::parent(text))->modified;
    world.write(text, "theirs", at(10));
    ASSERT_TRUE(world.files.setModified(paths::parent(text), own).ok()); // in place
    world.write("/home/ada/Music/a.pages/text", "mine", at(20));
    world.clock.setNow(at(30));
    world.controller = world.controllerFor(SyncWorld::drive);
    world.join(*world.controller, {"~/Music"});
    world.sync();
    EXPECT_EQ(world.read(text), "mine");
    EXPECT_EQ(world.read(std::string(archive) + "/2013-05-21/ada_Workbench/Music/a.pages/text"), "theirs");
}

} // namespace
} // namespace vt::test

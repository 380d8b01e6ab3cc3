// The counters, the progress dictionary and the controller's lines.
#include "support/SyncWorld.h"
#include "sync/progress/SyncFeedback.h"
#include "sync/progress/SyncProgress.h"

namespace vt::test {
namespace {

struct Figures {
    bool busy = false;
    bool cancelled = false;
    SyncProgress progress{{"/media/stick", [this] { return busy; }, [this] { return cancelled; }}};
};

TEST(Progress, holdsExactlyItsKeys) {
    Figures f;
    f.progress.initForNewJob();
    EXPECT_EQ(f.progress.getCurrentProgressDict(), (Value::Dictionary{{"syncActivityType", 0},
                                                                      {"syncIsBusy", 0},
                                                                      {"syncCancelPending", false},
                                                                      {"syncSize", std::uint64_t{0}},
                                                                      {"syncSkipFilter", std::uint64_t{0}},
                                                                      {"syncSkipPresent", std::uint64_t{0}},
                                                                      {"syncCopied", std::uint64_t{0}},
                                                                      {"syncUnaccounted", std::int64_t{0}}}));
    f.busy = true;
    const std::string path = "/home/ada/a";
    f.progress.setFileCopyPath(&path);
    f.progress.setFailureType(5);
    const auto now = f.progress.getCurrentProgressDict();
    EXPECT_EQ(now.at("activePath"), Value("/media/stick"));
    EXPECT_EQ(now.at("syncCopySourcePath"), Value("/home/ada/a"));
    EXPECT_EQ(now.at("syncActivityFailureType"), Value(5));
    f.busy = false;
    f.progress.setFileCopyPath(nullptr);
    f.progress.setFailureType(std::nullopt);
    EXPECT_EQ(f.progress.getCurrentProgressDict().size(), 8U);
}

TEST(Progress, theRestMayBeBelowZero) {
    Figures f;
    f.progress.setTotalSync(1000);
    f.progress.accumulateCopiedData(1200);
    EXPECT_EQ(f.progress.getCurrentProgressDict().at("syncUnaccounted").integerValue(), -200);
}

TEST(Progress, whatIsCopiedSoFarOfAFileCounts) {
    Figures f;
    f.progress.accumulateCopiedData(512);
    f.progress.setPartiallyCopiedData(100);
    EXPECT_EQ(f.progress.getCurrentProgressDict().at("syncCopied").integerValue(), 612);
    f.progress.resetPartiallyCopiedData();
    EXPECT_EQ(f.progress.getCurrentProgressDict().at("syncCopied").integerValue(), 512);
}

TEST(Progress, duringACancelOnlyFilteredBytesAreNotAdded) {
    Figures f;
    f.cancelled = true;
    f.progress.accumulateSkipFilteredData(1);
    f.progress.accumulateSkipPresentData(2);
    f.progress.accumulateCopiedData(4);
    EXPECT_EQ(f.progress.skippedFiltered(), 0U);
    EXPECT_EQ(f.progress.skippedAlready(), 2U);
    EXPECT_EQ(f.progress.totalCopied(), 4U);
}

TEST(Progress, aSyncsFiguresAddUp) {
    SyncWorld world;
    world.computer({file("Music/new.mp3", "n", at(5)), file("Music/old.mp3", "o", at(-10)), file("Music/x.exe", "x")});
    world.onDrive({file("Music/old.mp3", "o", at(-10))});
    world.sync();
    EXPECT_EQ(world.figure("syncSize"), 1536);
    EXPECT_EQ(world.figure("syncSkipFilter"), 512);
    EXPECT_EQ(world.figure("syncSkipPresent"), 512);
    EXPECT_EQ(world.figure("syncCopied"), 512);
    EXPECT_EQ(world.figure("syncUnaccounted"), 0);
}

TEST(Progress, theTotalCoversItemsBeforeTheyAreFiltered) {
    SyncWorld world({"~/Music", "~/song.exe"});
    world.computer({file("Music/a.mp3", "a"), file("song.exe", "s")});
    world.sync();
    EXPECT_EQ(world.figure("syncSize"), 1024);
}

TEST(ProgressLines, debugLinesHaveNoTimeStampAndWriteTheFileAtOnce) {
    SyncWorld world;
    SyncFeedback log(world.host, world.loop, world.clock, *world.services.process);
    log.debugMessage("quiet");
    EXPECT_FALSE(world.host.has("quiet"));
    EXPECT_EQ(world.host.writes, 0);
    world.host.debug = true;
    log.debugMessage("loud");
    EXPECT_TRUE(world.host.has("loud"));
    EXPECT_EQ(world.host.writes, 1);
    log.openLogFile();
    EXPECT_EQ(world.host.logsOpened, 1);
}

TEST(ProgressLines, theDebugFlagOfWorkersIsReadPerSyncAndSharedByAllDrives) {
    SyncWorld world;
    world.host.debug = true;
    world.sync();
    EXPECT_TRUE(world.services.process->debugFlag());
    world.host.debug = false;
    EXPECT_TRUE(world.services.process->debugFlag());
    world.sync();
    EXPECT_FALSE(world.services.process->debugFlag());
}

} // namespace
} // namespace vt::test

// What happens when a drive is ejected, unmounted or pulled, as the bus, the log and the volumes show it.
#include "ArrivalWorld.h"

namespace vt::test {
namespace {

class DriveDepartureTest : public ArrivalTest {};

TEST_F(DriveDepartureTest, UnmountingIsRefusedWhileAnyTaskIsQueuedAndEjectingIsNot) {
    mountSilently();
    const auto description = diskAt(AppWorld::stick, "disk8s1");
    EXPECT_EQ(arrival().unmountApproval(description), std::nullopt); // no controller: no word either
    arrival().diskDescriptionChanged(description);
    EXPECT_EQ(arrival().unmountApproval(description), std::nullopt);
    EXPECT_TRUE(world.logged("-DADiskUnmountApproval_Proc: unmount approved: disk8s1"));
    world.controllerAt("disk8s1")->setSyncMoviesState(false); // a switch is a task like any other
    EXPECT_EQ(arrival().unmountApproval(description), (DriveArrival::Dissenter{0xF8DA0002, "Sync In Progress"}));
    EXPECT_TRUE(world.logged("-DADiskUnmountApproval_Proc: sync in progress: disk8s1"));
    EXPECT_EQ(arrival().ejectApproval(description), std::nullopt);
    EXPECT_EQ(world.ask(&DrivesService::eject, AppWorld::stick), "Sync In Progress");
    EXPECT_EQ(world.keys(), Keys{"disk8s1"});
}

// Whoever looks into the log sees what happened to a drive when it has happened.
TEST_F(DriveDepartureTest, TheLogIsWrittenAfterEachEventOfADisk) {
    mountSilently();
    const auto description = diskAt(AppWorld::stick, "disk8s1");
    const auto written = [&] {
        const auto inFile = world.logFile();
        return !inFile.empty() && inFile == world.log();
    };
    const auto change = [&] {
        world.app->log().logMessage("before the change");
        arrival().diskDescriptionChanged(description);
        return written();
    };
    EXPECT_TRUE(change()) << "arrives";
    EXPECT_TRUE(change()) << "departs";
    EXPECT_TRUE(change()) << "arrives again";
    world.app->log().logMessage("before the end");
    arrival().diskDisappeared(description);
    EXPECT_TRUE(written()) << "disappears";
    world.app->log().logMessage("before a stranger's end");
    arrival().diskDisappeared(description);
    EXPECT_TRUE(written()) << "nobody's any more";
    world.app->log().logMessage("before a change of nothing");
    arrival().diskDescriptionChanged(without(description, diskdescription::mediaBsdName));
    EXPECT_TRUE(written());
}

TEST_F(DriveDepartureTest, AnEjectAnswersWhenTheDriveIsUnmountedAndOthersAreServedMeanwhile) {
    world.mount(AppWorld::stick, "disk8s1", AppWorld::family());
    world.volumes.unmountsWait = true;
    std::optional<Result<void>> answer;
    world.app->drivesService().eject(AppWorld::stick, [&](const Result<void>& done) { answer = done; });
    world.loop.runPending();
    EXPECT_FALSE(answer.has_value());
    EXPECT_EQ(world.app->drivesService().drives().size(), 1U);
    EXPECT_EQ(world.app->drivesService().volumes().size(), 1U);
    world.volumes.completeUnmounts();
    world.loop.runPending();
    ASSERT_TRUE(answer.has_value());
    EXPECT_TRUE(answer->ok());
    EXPECT_EQ(world.keys(), Keys{});
}

TEST_F(DriveDepartureTest, AnEjectThatFailsSaysWhy) {
    world.mount(AppWorld::stick, "disk8s1", AppWorld::family());
    const auto eject = [&] { return world.ask(&DrivesService::eject, AppWorld::stick); };
    world.volumes.unmountErrors.emplace(AppWorld::stick, Error::fromErrno(EBUSY, AppWorld::stick));
    EXPECT_EQ(eject(), "\"/media/stick\": Device or resource busy");
    world.volumes.unmountErrors.at(AppWorld::stick) = Error::fromErrno(ETIMEDOUT, AppWorld::stick);
    EXPECT_EQ(eject(), "\"/media/stick\" is still being written to and leaves when that is done");
    // A sync that begins after the approval holds the drive open: the reason is the sync.
    world.volumes.unmountErrors.at(AppWorld::stick) = Error::fromErrno(EBUSY, AppWorld::stick);
    world.volumes.unmountsWait = true;
    std::string said;
    world.app->drivesService().eject(AppWorld::stick, [&](const Result<void>& done) { said = done.error().text; });
    world.controllerAt("disk8s1")->sync();
    world.volumes.completeUnmounts();
    world.loop.runPending();
    EXPECT_EQ(said, "Sync In Progress");
    EXPECT_EQ(world.ask(&DrivesService::eject, "/media/elsewhere"), "\"/media/elsewhere\" is not a served drive");
    EXPECT_EQ(world.keys(), Keys{"disk8s1"});
}

TEST_F(DriveDepartureTest, APulledDriveLeavesNoMountBehind) {
    world.mount(AppWorld::stick, "disk8s1", AppWorld::family());
    world.volumes.pull("disk8s1");
    world.loop.runPending();
    EXPECT_EQ(world.keys(), Keys{});
    EXPECT_TRUE(world.volumes.leftMounts.empty());
    // In the file at once: the next event may be far away.
    EXPECT_EQ(
        std::ranges::count(world.logFile(),
                           "The drive at \"/media/stick\" was pulled while it was mounted: its mount was taken off."),
        1);
}

TEST_F(DriveDepartureTest, TheMountsOfOtherPulledDrivesAreNotTouched) {
    FakeMount stranger;
    stranger.uuid = "3333";
    world.mount("/media/stranger", "disk9s1", stranger);
    world.volumes.pull("disk9s1");
    world.loop.runPending();
    EXPECT_EQ(world.volumes.leftMounts.size(), 1U);
    // Where taking it off is not permitted it stays, and only the debug log knows.
    world.mount(AppWorld::stick, "disk8s1", AppWorld::family());
    world.volumes.unmountErrors.emplace(AppWorld::stick, Error::fromErrno(EPERM, AppWorld::stick));
    world.volumes.pull("disk8s1");
    world.loop.runPending();
    EXPECT_EQ(world.volumes.leftMounts.size(), 2U);
    EXPECT_TRUE(world.logged("The mount that a pulled drive left at \"/media/stick\" stays: Operation not permitted."));
    EXPECT_EQ(world.keys(), Keys{});
}

} // namespace
} // namespace vt::test

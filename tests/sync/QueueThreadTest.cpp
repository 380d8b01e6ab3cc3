// Syncs on a worker's own thread, where threads are the point.
#include "support/SyncWorld.h"

#include <algorithm>

namespace vt::test {
namespace {

TEST(QueueThread, aSyncRunsOnItsOwnThreadAndDeathEndsIt) {
    SyncWorld world;
    world.computer({file("Music/a.mp3", "a", at(-10))});
    const auto controller = world.controllerFor(SyncWorld::drive, false);
    controller->updateFileValidator({&world.everything});
    EXPECT_TRUE(controller->workerEnded());
    controller->sync();
    EXPECT_TRUE(world.loop.runUntil([&] { return !controller->busy(); }));
    EXPECT_TRUE(world.succeeded());
    EXPECT_EQ(world.read("/media/stick/ada_Workbench/Music/a.mp3"), "a");
    controller->driveDisappeared();
    EXPECT_TRUE(world.loop.runUntil([&] { return controller->workerEnded(); }));
    EXPECT_EQ(controller->getCurrentProgressDict().at("syncActivityType").integerValue(), 5);
}

TEST(QueueThread, anAlertHoldsTheWorkerUntilItIsAnswered) {
    SyncWorld world;
    world.computer({folder("Music/a")});
    world.onDrive({file("Music/a", "file", at(-10))});
    const auto controller = world.controllerFor(SyncWorld::drive, false);
    controller->updateFileValidator({&world.everything});
    bool busyWhileShown = false;
    world.alerts.whileShown = [&] { busyWhileShown = controller->busy(); };
    world.alerts.answers = {1}; // the log button
    controller->sync();
    EXPECT_TRUE(world.loop.runUntil([&] { return !controller->busy(); }));
    EXPECT_TRUE(busyWhileShown);
    EXPECT_EQ(world.host.logsOpened, 1);
    controller->queueDeath();
    EXPECT_TRUE(world.loop.runUntil([&] { return controller->workerEnded(); }));
}

TEST(QueueThread, twoDrivesSyncAtOnce) {
    SyncWorld world;
    world.computer({file("Music/a.mp3", "a", at(-10))});
    world.mountDrive("/media/other", "disk9s1");
    std::vector<std::shared_ptr<VTSyncController>> controllers;
    for (const char* mount : {"/media/stick", "/media/other"}) {
        controllers.push_back(world.controllerFor(mount, false));
        world.join(*controllers.back(), {"~/Music"});
    }
    for (const auto& controller : controllers) controller->sync();
    EXPECT_TRUE(world.loop.runUntil(
        [&] { return std::ranges::none_of(controllers, [](const auto& one) { return one->busy(); }); }));
    for (const char* mount : {"/media/stick", "/media/other"})
        EXPECT_EQ(world.read(std::string(mount) + "/ada_Workbench/Music/a.mp3"), "a") << mount;
    for (const auto& controller : controllers) controller->queueDeath();
    EXPECT_TRUE(world.loop.runUntil(
        [&] { return std::ranges::all_of(controllers, [](const auto& one) { return one->workerEnded(); }); }));
}

// The application lets a controller go as soon as its drive has left.
TEST(QueueThread, aDriveThatLeavesIsReportedEvenWhenItsControllerHasGone) {
    SyncWorld world;
    world.computer({file("Music/a.mp3", "a", at(-10))});
    world.host.forget();
    auto controller = world.controllerFor(SyncWorld::drive, false);
    controller->updateFileValidator({&world.everything});
    const auto process = world.services.process;
    controller->sync();
    controller->driveDisappeared();
    controller.reset();
    EXPECT_TRUE(world.loop.runUntil([&] { return process->servedRoots().size() == 1; }));
    EXPECT_TRUE(world.host.has("Synchronization of \"stick\" did not complete successfully."));
    const auto last = world.host.notifications().back();
    EXPECT_EQ(last.at("syncActivityType").integerValue(), 5);
    EXPECT_EQ(last.at("syncActivityFailureType").integerValue(), 3);
    EXPECT_FALSE(last.contains("activePath"));
}

TEST(QueueThread, aControllerThatIsLetGoEndsItsWorker) {
    SyncWorld world;
    auto controller = world.controllerFor(SyncWorld::drive, false);
    controller->setSyncMusicState(true);
    EXPECT_TRUE(world.loop.runUntil([&] { return !controller->busy(); }));
    const auto process = world.services.process;
    controller.reset();
    EXPECT_TRUE(world.loop.runUntil([&] { return process->servedRoots().size() == 1; })); // the world's own remains
}

} // namespace
} // namespace vt::test

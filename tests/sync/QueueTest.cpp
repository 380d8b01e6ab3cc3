// The task queue and the worker's rounds.
#include "support/SyncWorld.h"
#include "sync/queue/PlatformException.h"
#include "sync/queue/TaskRunner.h"

#include <stdexcept>
#include <thread>

namespace vt::test {
namespace {

using Names = std::vector<std::string>;

// A runner alone, whose work writes down what it was asked for.
struct RunnerWorld : TaskWork {
    SyncWorld world;
    TaskQueue queue;
    CancelMark cancel;
    SyncProgress progress{{"/media/stick", [this] { return queue.busy(); }, [this] { return cancel.pending(); }}};
    SyncFeedback log{world.host, world.loop, world.clock, *world.services.process};
    DriveGuard guard{"/media/stick", world.driveFiles};
    Names done;
    Names movies;
    int notifications = 0;
    std::function<void()> duringWork;
    TaskRunner runner{{queue, progress, log, cancel, guard, *world.services.process, *this, HomePaths("/home/ada"),
                       [this] { ++notifications; }, [this] { movies.emplace_back("enter"); },
                       [this] { movies.emplace_back("exit"); }}};

    RunnerWorld() { guard.recordIdentity(); }
    void threadDoSync(const std::optional<Names>& paths) override {
        std::string text = paths ? "paths" : "sync";
        if (paths)
            for (const std::string& path : *paths) text += " " + path;
        done.push_back(text);
        if (duringWork) duringWork();
    }
    void threadDoSyncListUpdate(const Names& list) override {
        std::string text = "list";
        for (const std::string& item : list) text += " " + item;
        done.push_back(text);
    }
    void threadRemoveDriveSync() override { done.emplace_back("remove"); }
};

TEST(QueueRunner, tasksRunInTheOrderInWhichTheyWereQueued) {
    RunnerWorld w;
    w.queue.append({.operation = "sync", .syncActivityType = 2});
    w.queue.append({.operation = "continuous-sync", .syncActivityType = 2, .pathsToSyncTo = Names{"/b", "/a", "/b"}});
    w.queue.append({.operation = "updateSyncList",
                    .syncActivityType = 4,
                    .syncList = Names{"/home/ada/Music", "/home/adam", "/srv"}});
    w.queue.append({.operation = "remove-sync", .syncActivityType = 4});
    w.queue.append({.operation = "activate-continuous-sync", .syncActivityType = 4});
    while (w.queue.busy()) EXPECT_EQ(w.runner.runRound(), Round::worked);
    EXPECT_EQ(w.done, (Names{"sync", "paths /a /b", "list ~/Music /home/adam /srv", "remove", "sync"}));
}

TEST(QueueRunner, theRunningTaskStaysAtTheHead) {
    RunnerWorld w;
    bool busyMeanwhile = false;
    w.duringWork = [&] { busyMeanwhile = w.queue.busy(); };
    w.queue.append({.operation = "sync", .syncActivityType = 2});
    (void)w.runner.runRound();
    EXPECT_TRUE(busyMeanwhile);
    EXPECT_FALSE(w.queue.busy());
}

TEST(QueueRunner, aContinuousSyncWithoutPathsGoesWithoutNotificationOrSync) {
    RunnerWorld w;
    w.queue.append({.operation = "continuous-sync", .syncActivityType = 2});
    w.queue.append({.operation = "continuous-sync", .syncActivityType = 2, .pathsToSyncTo = Names{}});
    while (w.queue.busy()) (void)w.runner.runRound();
    EXPECT_TRUE(w.done.empty());
    EXPECT_EQ(w.notifications, 0);
}

TEST(QueueRunner, switchTasksOnlyNotifyAndLog) {
    for (const char* name :
         {"activate-sync-movies", "deactivate-sync-movies", "activate-sync-music", "deactivate-sync-music",
          "activate-sync-pictures", "deactivate-sync-pictures", "activate-sync-documents", "deactivate-sync-documents",
          "change-sync-devicefilter", "deactivate-continuous-sync"}) {
        RunnerWorld w;
        w.world.host.debug = true;
        w.queue.append({.operation = name, .syncActivityType = 4});
        (void)w.runner.runRound();
        EXPECT_TRUE(w.done.empty()) << name;
        EXPECT_EQ(w.notifications, 1) << name;
        EXPECT_TRUE(w.world.host.has(std::string("--- ") + name + " ---")) << name;
    }
}

TEST(QueueRunner, anUnknownOperationGoesWithoutWork) {
    RunnerWorld w;
    w.queue.append({.operation = "dance", .syncActivityType = 4});
    EXPECT_EQ(w.runner.runRound(), Round::worked);
    EXPECT_TRUE(w.done.empty());
    EXPECT_FALSE(w.queue.busy());
}

TEST(QueueRunner, configurationReturnsToIdleAndTheEndsOfSyncsStay) {
    RunnerWorld w;
    w.queue.append({.operation = "activate-sync-music", .syncActivityType = 4});
    (void)w.runner.runRound();
    EXPECT_EQ(w.progress.activityType(), 4);
    EXPECT_EQ(w.runner.runRound(), Round::idle);
    EXPECT_EQ(w.progress.activityType(), 0);
    for (const int ended : {5, 6}) {
        w.progress.setActivityType(ended);
        (void)w.runner.runRound();
        EXPECT_EQ(w.progress.activityType(), ended);
    }
}

TEST(QueueRunner, deathRunsAfterTheSyncAndDropsWhatIsBehindIt) {
    RunnerWorld w;
    w.cancel.set(true, false);
    w.queue.append({.operation = "sync", .syncActivityType = 2});
    w.queue.append({.operation = "death", .syncActivityType = 2, .syncActivityFailureType = 3});
    w.queue.append({.operation = "sync", .syncActivityType = 2});
    EXPECT_EQ(w.runner.runRound(), Round::worked);
    EXPECT_EQ(w.runner.runRound(), Round::ended);
    EXPECT_EQ(w.done, Names{"sync"});
    EXPECT_FALSE(w.queue.busy());
    EXPECT_FALSE(w.cancel.pending());
    EXPECT_TRUE(w.cancel.returnValue());
    EXPECT_EQ(w.progress.activityType(), 5);
    EXPECT_EQ(w.progress.failureType(), 3);
}

TEST(QueueRunner, aRaisingTaskStaysAndIsLoggedOnce) {
    RunnerWorld w;
    int raises = 2;
    w.duringWork = [&] {
        if (raises-- > 0) throw PlatformException("no such service");
    };
    w.queue.append({.operation = "sync", .syncActivityType = 2});
    EXPECT_EQ(w.runner.runRound(), Round::raised);
    EXPECT_EQ(w.runner.runRound(), Round::raised);
    EXPECT_TRUE(w.queue.busy());
    EXPECT_EQ(w.runner.runRound(), Round::worked);
    EXPECT_FALSE(w.queue.busy());
    const auto lines = w.world.host.lines();
    EXPECT_EQ(std::ranges::count(lines, "MRLSyncController.masterThread exception: no such service"), 1);
}

TEST(QueueRunner, mediaLibrariesAreEnteredOnceAndLeftAfterEveryIdleRoundAndException) {
    RunnerWorld w;
    w.runner.begin();
    (void)w.runner.runRound();
    (void)w.runner.runRound();
    w.duringWork = [] { throw PlatformException("x"); };
    w.queue.append({.operation = "sync", .syncActivityType = 2});
    (void)w.runner.runRound();
    EXPECT_EQ(w.movies, (Names{"enter", "exit", "exit", "exit"}));
}

TEST(QueueRunner, aCancelGoesWhenNothingIsLeftAndNoSyncIsScheduled) {
    RunnerWorld w;
    w.cancel.set(true, true);
    w.queue.syncWasScheduled();
    (void)w.runner.runRound();
    EXPECT_TRUE(w.cancel.pending());
    w.queue.scheduledSyncEnded();
    (void)w.runner.runRound();
    EXPECT_FALSE(w.cancel.pending());
}

TEST(QueueRunner, theDriveIsHeldOpenOnlyWhileATaskWorksOnIt) {
    RunnerWorld w;
    bool open = false;
    w.duringWork = [&] { open = w.guard.handle().ok(); };
    w.queue.append({.operation = "sync", .syncActivityType = 2});
    (void)w.runner.runRound();
    EXPECT_TRUE(open);
    EXPECT_EQ(w.guard.handle().code(), ENODEV);
}

TEST(QueueRunner, theFirstTaskWaitsForAnEarlierWorkerOfThatMount) {
    RunnerWorld w;
    const int earlier = 0;
    w.world.services.process->workBegins(&earlier, "/media/stick");
    std::thread other([&] { w.world.services.process->workEnds(&earlier, "/media/stick"); });
    w.queue.append({.operation = "sync", .syncActivityType = 2});
    EXPECT_EQ(w.runner.runRound(), Round::worked);
    other.join();
    EXPECT_EQ(w.done, Names{"sync"});
}

TEST(QueueController, twoRequestsAreTwoFullSyncs) {
    SyncWorld world;
    world.controller->sync();
    world.controller->sync();
    world.run();
    const auto lines = world.host.lines();
    EXPECT_EQ(std::ranges::count(lines, "Synchronizing \"stick\"..."), 2);
}

TEST(QueueController, onlySyncTasksCountAsASyncThatIsQueued) {
    SyncWorld world;
    EXPECT_FALSE(world.controller->busyWithSynclistOnly());
    world.controller->updateSyncList({"~/Music"});
    world.controller->setContinuousSyncState(true);
    EXPECT_TRUE(world.controller->busy());
    EXPECT_FALSE(world.controller->busyWithSynclistOnly());
    world.controller->continuousSyncNow({"/home/ada/Music"});
    EXPECT_TRUE(world.controller->busyWithSynclistOnly());
}

TEST(QueueController, theDialogsButtonsEndItWithTheirCodes) {
    using Click = void (VTSyncController::*)();
    const std::vector<std::pair<Click, int>> rows = {{&VTSyncController::modalDialogYesClicked, 1},
                                                     {&VTSyncController::modalDialogNoClicked, 0},
                                                     {&VTSyncController::modalDialogCustomClicked, -1}};
    for (const auto& [click, code] : rows) {
        SyncWorld world;
        (*world.controller.*click)(); // nothing is shown
        world.alerts.answers = {7};
        EXPECT_EQ(world.alerts.run({"a", "b", {"OK"}}), 7);
        world.alerts.whileShown = [&] { (*world.controller.*click)(); };
        EXPECT_EQ(world.alerts.run({"a", "b", {"OK"}}), code);
    }
}

TEST(QueueController, theWindowCannotCloseWhileAnythingIsQueued) {
    SyncWorld world;
    world.host.debug = true;
    EXPECT_TRUE(world.controller->windowShouldClose());
    EXPECT_TRUE(world.host.has("-windowShouldClose: returning YES."));
    world.controller->setSyncMusicState(false);
    EXPECT_FALSE(world.controller->windowShouldClose());
    EXPECT_TRUE(world.host.has("-windowShouldClose: returning NO."));
}

TEST(QueueController, busyShowsItsTasksInTheDebugLog) {
    SyncWorld world;
    world.host.debug = true;
    world.controller->setSyncMusicState(true);
    world.host.forget();
    const int writesBefore = world.host.writes;
    EXPECT_TRUE(world.controller->busy());
    // One text: nothing that another thread logs can come between.
    EXPECT_EQ(world.host.lines(), (Names{">MRLSyncController.busy\n"
                                         "(\n    {\n        operation = \"activate-sync-music\";\n"
                                         "        syncActivityType = 4;\n    }\n)\n"
                                         "<MRLSyncController.busy"}));
    EXPECT_EQ(world.host.writes, writesBefore + 1);
}

TEST(QueueController, aChangedPathThatIsNoTextIsShownWithReplacementCharacters) {
    SyncWorld world;
    world.host.debug = true;
    world.controller->continuousSyncNow({"/home/ada/Music/\xFF%@.mp3"});
    EXPECT_TRUE(world.controller->busy());
    const auto lines = world.host.lines();
    EXPECT_TRUE(std::ranges::any_of(
        lines, [](const std::string& line) { return line.find("Music/\uFFFD%@.mp3") != std::string::npos; }));
    EXPECT_TRUE(
        std::ranges::none_of(lines, [](const std::string& line) { return line.find('\xFF') != std::string::npos; }));
}

TEST(QueueController, queueingWritesItsDebugLines) {
    SyncWorld world;
    world.host.debug = true;
    world.controller->sync();
    world.controller->continuousSyncNow({});
    world.controller->updateSyncList({});
    world.controller->setSyncMoviesState(true);
    world.controller->setSyncDeviceFilter(3);
    world.controller->removeDriveSync();
    world.controller->driveDisappeared();
    for (const char* line : {"----- sync:", "----- continuousSyncNow:", "----- updateSyncList:",
                             "----- setSyncMoviesState:", "----- setSyncDeviceFilter:", "----- removeDriveSync:",
                             "----- setContinuousSyncState:", "----- driveDisappeared:"})
        EXPECT_TRUE(world.host.has(line)) << line;
}

TEST(QueueController, aSwitchIsInForceBeforeItsTaskRuns) {
    SyncWorld world;
    world.controller->setSyncMusicState(false);
    EXPECT_FALSE(world.controller->syncMusicState());
    world.controller->setSyncDeviceFilter(5);
    EXPECT_EQ(world.controller->syncDeviceFilter(), 5);
    EXPECT_TRUE(world.controller->busy());
}

TEST(QueueController, continuousSyncSwitchedOnAgainQueuesButKeepsThePendingCancel) {
    SyncWorld world;
    world.controller->setCancelPending(true, true);
    world.controller->setContinuousSyncState(true); // on already since first contact
    EXPECT_TRUE(world.controller->cancelPending());
    EXPECT_TRUE(world.controller->busy());
    world.controller->setContinuousSyncState(false);
    EXPECT_FALSE(world.controller->cancelPending());
}

TEST(QueueController, aStopWhileNothingRunsDoesNotEndTheContinuousSyncThatFollows) {
    SyncWorld world;
    world.computer({file("Music/a.mp3", "a", at(-10))});
    world.controller->setCancelPending(true, true);
    world.syncPaths({"/home/ada/Music"});
    EXPECT_TRUE(world.succeeded());
    EXPECT_EQ(world.read("/media/stick/ada_Workbench/Music/a.mp3"), "a");
    // One that comes while something is queued ends that and what comes behind it.
    world.host.forget();
    world.controller->sync();
    world.controller->setCancelPending(true, true);
    world.syncPaths({"/home/ada/Music"});
    const auto lines = world.host.lines();
    EXPECT_EQ(std::ranges::count(lines, "Synchronization of \"stick\" canceled."), 2);
}

TEST(QueueController, removingTheConfigurationTellsTheApplication) {
    SyncWorld world;
    world.controller->removeDriveSync();
    world.run();
    EXPECT_EQ(world.host.removedConfigurations, (Names{"/media/stick"}));
    EXPECT_FALSE(world.exists("/media/stick/.VantaroConfig"));
    EXPECT_FALSE(world.controller->hasSyncConfiguration());
}

TEST(QueueController, tasksQueuedAfterDeathLeaveItBusy) {
    SyncWorld world;
    world.controller->driveDisappeared();
    EXPECT_FALSE(world.controller->playRound());
    EXPECT_FALSE(world.controller->busy());
    world.controller->sync();
    EXPECT_TRUE(world.controller->busy());
}

} // namespace
} // namespace vt::test

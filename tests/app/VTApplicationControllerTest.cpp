// Start, stop and identity of the agent as its log, the bus and its drives show them.
#include "AppWorld.h"
#include "app/ApplicationExclusions.h"
#include "app/ApplicationHost.h"
#include "config/VTUserDefaults.h"
#include "log/LogWorld.h"

namespace vt::test {
namespace {

using Lines = std::vector<std::string>;

TEST(VTApplicationController, StartWritesThreeLinesAndStopOne) {
    AppWorld world(false);
    world.start();
    EXPECT_EQ(world.logFile(), (Lines{std::string(52, '-'), "Vantaro starting.", "Vantaro v1.2.3"}));
    world.app->applicationWillTerminate();
    EXPECT_EQ(world.log().back(), "Mirrorly stopping.");
    EXPECT_EQ(world.log().size(), 4U);
}

TEST(VTApplicationController, AwakingSleepsASecondBetweenItsLines) {
    AppWorld world;
    world.makeFolders("/home/ada/Library/Saved Application State/com.corvane.vantaro.savedState/windows");
    VTApplicationController app(world.services());
    ::testing::internal::CaptureStderr();
    app.awakeFromNib();
    const std::string said = ::testing::internal::GetCapturedStderr();
    const auto entering = said.find("entering awakeFromNib\n");
    const auto before = said.find("awakeFromNib\n", entering + 22);
    const auto after = said.find("awakeFromNib2\n");
    EXPECT_LT(entering, before);
    EXPECT_LT(before, after);
    EXPECT_NE(after, std::string::npos);
    EXPECT_EQ(world.slept, std::vector<std::chrono::milliseconds>{std::chrono::milliseconds(1000)});
    EXPECT_FALSE(
        world.files.attributes("/home/ada/Library/Saved Application State/com.corvane.vantaro.savedState").ok());
}

TEST(VTApplicationController, ASecondAgentEndsAndNoBusIsSaid) {
    AppWorld world;
    VTApplicationController first(world.services());
    world.bus.startError = EEXIST;
    EXPECT_FALSE(first.applicationWillFinishLaunching());
    AppWorld alone(false);
    alone.bus.startError = ENOTCONN;
    alone.start();
    EXPECT_TRUE(alone.logged("The session bus is out of reach: the bus refused."));
}

TEST(VTApplicationController, TheIdentifierIsAddressAndUserAskedOnceUntilTheEnd) {
    AppWorld world;
    world.start();
    EXPECT_EQ(world.app->uniqueHostUserId(), "0A1B2C3D4E5F-501");
    world.system.address = "FFFFFFFFFFFF";
    EXPECT_EQ(world.app->uniqueHostUserId(), "0A1B2C3D4E5F-501");
    world.app->cleanup();
    EXPECT_EQ(world.app->uniqueHostUserId(), "FFFFFFFFFFFF-501");
}

TEST(VTApplicationController, QuittingIsAllowedInTheMiddleOfASync) {
    AppWorld world;
    world.start();
    EXPECT_EQ(world.app->isBusyPath(), std::nullopt);
    world.mount(AppWorld::stick, "disk8s1", AppWorld::family());
    world.pass(1000);
    ASSERT_TRUE(world.controllerAt("disk8s1")->busy());
    EXPECT_FALSE(world.app->isBusy());
    EXPECT_TRUE(world.app->applicationShouldTerminate());
    EXPECT_EQ(world.app->isBusyPath(), AppWorld::stick);
    EXPECT_TRUE(world.app->isBusyProgressDict().has_value());
}

TEST(VTApplicationController, CleanupQueuesTheEndOfEveryWorkerOnce) {
    AppWorld world;
    world.start();
    world.mount(AppWorld::stick, "disk8s1", AppWorld::family());
    world.mount("/media/two", "disk8s2", AppWorld::family());
    world.pass(1000);
    const auto one = world.controllerAt("disk8s1");
    const auto two = world.controllerAt("disk8s2");
    world.threads.bodies.pop_back(); // one worker never ends: the application does not wait for it
    world.threads.letRun();
    world.app->applicationWillTerminate();
    EXPECT_TRUE(world.app->registry().all().empty());
    EXPECT_EQ(world.bus.service, nullptr);
    EXPECT_TRUE(world.loop.runUntil([&] { return one->workerEnded(); }));
    EXPECT_FALSE(two->workerEnded());
    const auto lines = world.log();
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "Mirrorly stopping."), 1);
    world.app->cleanup();
    world.app->applicationWillTerminate();
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "Mirrorly stopping."), 1);
    EXPECT_EQ(world.log().size(), lines.size());
    // Nothing arrives any more.
    world.mount("/media/three", "disk8s3", AppWorld::family());
    EXPECT_TRUE(world.app->registry().all().empty());
}

TEST(VTApplicationController, CleanupEndsEverythingInItsOrder) {
    AppWorld world;
    world.start();
    world.mount(AppWorld::stick, "disk8s1", AppWorld::family());
    ASSERT_EQ(world.events.watched(), Lines{"/home/ada/Music"});
    Lines order;
    const auto note = [&](const std::string& what) {
        const std::string held = world.keys().empty() ? "" : ", drives held";
        order.push_back(what + ", " + world.app->uniqueHostUserId() + held);
    };
    world.notifications.observationEnds = [&](const std::string& name) { note("observation of " + name); };
    world.volumes.observingEnds = [&] { note("disk events"); };
    world.bus.ends = [&] {
        note("bus");
        world.system.address = "FFFFFFFFFFFF"; // what a forgotten identity is asked anew from
    };
    world.events.onStreamEnd([&] { note("folder stream"); });
    world.threads.letRun();
    world.app->cleanup();
    world.notifications.observationEnds = {};
    EXPECT_EQ(order,
              (Lines{"observation of com.corvane.vantaro.eventdata.notification.evt, 0A1B2C3D4E5F-501, drives held",
                     "disk events, 0A1B2C3D4E5F-501, drives held", "bus, 0A1B2C3D4E5F-501, drives held",
                     "folder stream, FFFFFFFFFFFF-501, drives held"}));
    EXPECT_EQ(world.keys(), Lines{});
    // What still comes finds nobody: neither a disk event nor an approval nor a command.
    EXPECT_EQ(world.bus.service, nullptr);
    world.mountAgain(AppWorld::stick, "disk8s1");
    world.pass(20'000);
    EXPECT_EQ(world.keys(), Lines{});
    EXPECT_EQ(order.size(), 4U);
}

TEST(VTApplicationController, OpenedFilesAskForASyncOfTheirDrive) {
    AppWorld world;
    world.start();
    world.mount(AppWorld::stick, "disk8s1", AppWorld::family());
    const auto controller = world.controllerAt("disk8s1");
    world.app->openFiles({"/media/nothing", AppWorld::stick});
    world.pass(1000);
    EXPECT_TRUE(controller->busy());
}

TEST(VTApplicationController, ASetUpDriveGetsExactlyTwoFolders) {
    AppWorld world;
    world.start();
    world.mount(AppWorld::stick, "disk8s1", AppWorld::family());
    world.app->setupDriveForSync(AppWorld::stick);
    world.threads.letRun();
    const auto controller = world.controllerAt("disk8s1");
    world.pass(1000);
    EXPECT_TRUE(world.loop.runUntil([&] { return controller->shadowedSyncList() == Lines{"~/Sites", "~/Shared"}; }));
}

TEST(VTApplicationController, EveryMenuItemIsEnabledAndTwoTellTheState) {
    AppWorld world(false);
    WindowRecord window;
    ApplicationServices services = world.services();
    services.makeLogWindow = [&] { return std::make_unique<RecordingWindow>(window, world.loop); };
    LogFrontEnd log(services);
    using Title = std::optional<std::string>;
    EXPECT_EQ(log.validateUserInterfaceItem("toggleLogWindow:").title, Title("Show Log"));
    log.toggleLogWindow();
    EXPECT_TRUE(window.visible);
    EXPECT_EQ(log.validateUserInterfaceItem("toggleLogWindow:").title, Title("Hide Log"));
    log.toggleLogWindow();
    EXPECT_FALSE(window.visible);
    EXPECT_EQ(log.validateUserInterfaceItem("toggleLogWindow:").title, Title("Show Log"));
    for (const bool debug : {true, false}) {
        log.toggleDebugMode();
        EXPECT_EQ(log.validateUserInterfaceItem("toggleDebugMode:").checked, debug);
    }
    for (const char* action : {"toggleLogWindow:", "toggleDebugMode:", "clearLogWindow:", "doHelp:", "anything:"})
        EXPECT_TRUE(log.validateUserInterfaceItem(action).enabled) << action;
    EXPECT_EQ(log.validateUserInterfaceItem("doHelp:").title, Title());
}

TEST(VTApplicationController, NoWindowIsCascaded) {
    AppWorld world;
    world.start();
    for (const char* key : {"disk8s1", "disk8s2"}) world.mount(std::string("/media/") + key, key, AppWorld::family());
    EXPECT_EQ(world.keys().size(), 2U);
    EXPECT_EQ(world.app->registry().windowCascadePoint().x, 80);
    EXPECT_EQ(world.app->registry().windowCascadePoint().y, 0);
}

TEST(ApplicationExclusions, TheTablesHoldTheseNamesAndPaths) {
    const ApplicationExclusions tables{HomePaths("/home/ada")};
    EXPECT_EQ(tables.filteredFileNames(), (Lines{".DS_Store", ".Spotlight-V100", ".hotfiles.btree", ".Trash",
                                                 ".Trashes", ".localized", ".ipspot_update", ".Z_VT_W"}));
    // "/Volume" in the singular is deliberate.
    EXPECT_EQ(tables.filteredFilePaths(), (Lines{"/Applications", "/Library", "/Volume", "/tmp", "/var", "/usr", "/bin",
                                                 "/sbin", "/etc", "/dev", "/System", "/home/ada/.Z_VT_W"}));
}

TEST(ApplicationHost, TheSystemsVersionChoosesTheRoad) {
    struct Row {
        std::optional<std::int32_t> version;
        bool leopard;
        int asked; // in two calls: a failed query is not remembered
    };
    for (const Row& row :
         {Row{4175, false, 1}, Row{4176, true, 1}, Row{0x1080, true, 1}, Row{std::nullopt, false, 2}}) {
        SCOPED_TRACE(row.version.value_or(-1));
        AppWorld world;
        ApplicationServices services = world.services();
        LogFrontEnd log(services);
        ApplicationIdentity identity(world.system);
        VTUserDefaults defaults(application::bundleIdentifier, world.preferences, world.system, world.clock);
        const ApplicationHost host({services, log, identity, defaults, {}, {}});
        world.system.version = row.version;
        world.system.asked = 0;
        EXPECT_EQ(host.runningOnLeopardOrLater(), row.leopard);
        EXPECT_EQ(host.runningOnLeopardOrLater(), row.leopard);
        EXPECT_EQ(world.system.asked, row.asked);
    }
}

} // namespace
} // namespace vt::test

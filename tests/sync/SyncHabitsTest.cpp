// Habits of a controller that look odd and are meant: each is relied on by drives in use or by controlling programs.
#include "support/SyncWorld.h"
#include "sync/ConfigurationWriter.h"
#include "sync/DriveGuard.h"

#include <chrono>
#include <future>

namespace vt::test {
namespace {

constexpr const char* song = "/home/ada/Music/a.mp3";
constexpr const char* copied = "/media/stick/ada_Workbench/Music/a.mp3";

class Window final : public ProgressWindow {
  public:
    explicit Window(int& closed) : _closed(closed) {}
    void close() override { ++_closed; }

  private:
    int& _closed;
};

TEST(SyncHabits, theDeviceNameGivenAtCreationIsIgnored) {
    SyncWorld world; // made with "disk9s9"
    EXPECT_EQ(world.controller->diskSlice(), "disk8s1");
}

TEST(SyncHabits, everyArrivalWritesAParticipatingUserAgain) {
    SyncWorld world;
    world.disk.faults().clearLog();
    const auto again = world.controllerFor(SyncWorld::drive);
    EXPECT_TRUE(again->syncIsEnabledForThisDevice());
    const auto& log = world.disk.faults().log();
    EXPECT_TRUE(std::ranges::any_of(
        log, [](const std::string& call) { return call.starts_with("writeAtomically /media/stick/.VantaroConfig"); }));
}

TEST(SyncHabits, theContinuousStateIsReadFromTheFile) {
    SyncWorld world;
    EXPECT_TRUE(world.controller->continuousSyncState());
    world.controller->deviceConfiguration().setContinuousEnabledForUser(false);
    EXPECT_FALSE(world.controller->continuousSyncState());
    EXPECT_FALSE(world.controller->validateUserInterfaceItem("toggleContinuousSync:").checked);
    EXPECT_TRUE(world.controller->validateUserInterfaceItem("sync:").enabled);
}

TEST(SyncHabits, theShadowedListIsFilledFromTheFileAndReplacedAtOnce) {
    SyncWorld world;
    EXPECT_EQ(world.controller->shadowedSyncList(), (std::vector<std::string>{"~/Music"}));
    world.controller->updateSyncList({"~/Pictures"});
    EXPECT_EQ(world.controller->shadowedSyncList(), (std::vector<std::string>{"~/Pictures"}));
    EXPECT_EQ(world.controller->deviceConfiguration().syncItemList(), (std::vector<std::string>{"~/Music"}));
    world.run();
    EXPECT_EQ(world.controller->deviceConfiguration().syncItemList(), (std::vector<std::string>{"~/Pictures"}));
}

TEST(SyncHabits, anEmptiedListStaysEmptyForWhoeverAsksBeforeItIsTheDrives) {
    SyncWorld world;
    EXPECT_EQ(world.controller->shadowedSyncList(), (std::vector<std::string>{"~/Music"}));
    world.controller->updateSyncList({});
    EXPECT_EQ(world.controller->shadowedSyncList(), std::vector<std::string>());
    world.run();
    EXPECT_EQ(world.controller->shadowedSyncList(), std::vector<std::string>());
    EXPECT_EQ(world.controller->deviceConfiguration().syncItemList(), std::vector<std::string>());
}

TEST(SyncHabits, anAlertIsInTheLogBeforeAnybodySeesIt) {
    SyncWorld world;
    world.computer({folder("Music/a")});
    world.onDrive({file("Music/a", "file", at(-10))});
    world.alerts.answers = {1}; // "Log"
    bool logged = false;
    world.alerts.whileShown = [&] { logged = world.host.has("Sync Failed Check the log for more details."); };
    world.sync();
    EXPECT_TRUE(logged);
    EXPECT_EQ(world.host.logsOpened, 1);
    EXPECT_FALSE(world.controller->busy());
}

TEST(SyncHabits, onlyTheWorkFoldersDebugLinesCarryTheTime) {
    for (const bool debug : {false, true}) {
        SyncWorld world;
        world.host.debug = debug;
        world.computer({file("Music/a.mp3", "a", at(-10))});
        world.sync();
        const std::string commit = "-processTempFolders: finishing Mac->Pushkey sync.";
        EXPECT_EQ(world.host.has(commit), debug);
        EXPECT_EQ(world.host.hasWithTime(commit), debug);
        EXPECT_EQ(world.host.has("masterThread: task operation=sync"), debug);
        EXPECT_FALSE(world.host.hasWithTime("masterThread: task operation=sync"));
    }
}

TEST(SyncHabits, noSyncShowsTheProgressWindow) {
    int closed = 0;
    SyncWorld world;
    world.services.progressWindow = [&] { return std::make_unique<Window>(closed); };
    world.computer({file("Music/a.mp3", "a", at(-10))});
    const auto controller = world.controllerFor(SyncWorld::drive);
    world.join(*controller, {"~/Music"});
    controller->sync();
    SyncWorld::run(*controller);
    EXPECT_EQ(world.read(copied), "a");
    EXPECT_EQ(closed, 0); // a window has nothing but its closing
    controller->driveDisappeared();
    EXPECT_EQ(closed, 1);
}

TEST(SyncHabits, aFailedSetUpStillCleansUpAndReports) {
    SyncWorld world;
    world.computer({file("Music/a.mp3", "a", at(-10))});
    world.disk.faults().fail("makeDirectory", SyncWorld::copies, EROFS);
    world.sync();
    EXPECT_EQ(world.host.activityTypes(), (std::vector<int>{1, 3, 3, 5}));
    EXPECT_TRUE(world.host.has("Synchronization of \"stick\" did not complete successfully."));
    EXPECT_FALSE(world.exists(copied));
    EXPECT_FALSE(world.controller->busy());
}

TEST(SyncHabits, aRefusedComparisonIsOnStandardErrorOnlyWithDebug) {
    for (const bool debug : {false, true}) {
        SyncWorld world;
        world.host.debug = debug;
        world.computer({folder("Music/a")});
        world.onDrive({file("Music/a", "file", at(-10))});
        testing::internal::CaptureStderr();
        world.sync();
        const std::string text = testing::internal::GetCapturedStderr();
        EXPECT_EQ(text.find("rval == NO\n") != std::string::npos, debug);
    }
}

TEST(SyncHabits, aDeletionMarkerForThisComputerChangesNothing) {
    SyncWorld world;
    world.computer({file("Music/a.mp3", "new", at(20))});
    world.onDrive({file("Music/a.mp3", "old", at(-20)),
                   file("Music/.d$f.a.mp3",
                        "<plist version=\"1.0\"><dict><key>uniqueComputerIDS</key><array><string>001B63A1B2C3-501"
                        "</string></array></dict></plist>",
                        at(-20))});
    world.finishedSyncAt(at(0));
    world.clock.setNow(at(30));
    world.sync();
    EXPECT_EQ(world.read(copied), "new");
    EXPECT_TRUE(world.exists("/media/stick/ada_Workbench/Music/.d$f.a.mp3"));
}

TEST(SyncHabits, aPackageAgainstAPlainFolderStopsTheSync) {
    SyncWorld world({"~/Music", "~/Pictures"});
    world.computer({file("Music/set.pages/i.txt", "i", at(-10)), file("Pictures/p.jpg", "p", at(-10))});
    world.onDrive({file("Music/set.pages", "a file of that name", at(-10))});
    world.sync();
    EXPECT_FALSE(world.succeeded());
    EXPECT_FALSE(world.exists("/media/stick/ada_Workbench/Pictures"));
    EXPECT_EQ(world.read("/media/stick/ada_Workbench/Music/set.pages"), "a file of that name");
}

TEST(SyncHabits, aSyncItemThatIsALinkIsNeverCopied) {
    SyncWorld world({"~/Music", "~/Pictures"});
    world.computer(
        {file("Elsewhere/a.mp3", "a", at(-10)), link("Music", "Elsewhere"), file("Pictures/p.jpg", "p", at(-10))});
    world.sync();
    EXPECT_TRUE(world.succeeded());
    EXPECT_TRUE(world.host.has("\"/home/ada/Music\" is a link and is not copied."));
    EXPECT_EQ(world.copiesTree(), (std::vector<std::string>{"Pictures/", "Pictures/p.jpg"}));
}

TEST(SyncHabits, aCancelThatCameAfterEverythingWasDoneIsStillACancel) {
    SyncWorld world;
    world.computer({file("Music/a.mp3", "a", at(-10))});
    world.onDrive({folder("Music")});
    // While the work folder is emptied at the very end.
    world.disk.faults().before("move", "/media/stick/ada_Workbench/Music",
                               [&](const std::string&) { world.controller->cancelButtonClicked(); });
    world.sync();
    EXPECT_EQ(world.read(copied), "a");
    EXPECT_TRUE(world.host.has("Synchronization of \"stick\" canceled."));
    EXPECT_FALSE(world.succeeded());
}

TEST(SyncHabits, bothSidesAtOrBeforeTheLastSyncArePresentHoweverDifferent) {
    SyncWorld world;
    world.computer({file("Music/a.mp3", "mine", at(-20))});
    world.onDrive({file("Music/a.mp3", "theirs and longer", at(-3))});
    world.finishedSyncAt(at(-1));
    world.sync();
    EXPECT_TRUE(world.succeeded());
    EXPECT_EQ(world.read(copied), "theirs and longer");
    EXPECT_EQ(world.read(song), "mine");
}

TEST(SyncHabits, aCoarseDrivesDateIsNeverLaterThanTheComputers) {
    for (const bool roundsUp : {false, true}) {
        FakeMount coarse;
        coarse.capabilities.dateGranularity = 2'000'000'000;
        SyncWorld world({"~/Music"}, coarse);
        world.disk.volumeOf(SyncWorld::drive).roundsDatesUp = roundsUp;
        const Date odd = at(-10).plusSeconds(1.5);
        world.computer({file("Music/a.mp3", "a", odd)});
        world.sync();
        EXPECT_EQ(world.files.attributes(copied)->modified, at(-10)) << roundsUp;
        world.disk.faults().clearLog();
        world.sync();
        const auto& log = world.disk.faults().log();
        EXPECT_TRUE(std::ranges::none_of(log, [](const auto& call) { return call.starts_with("copyFile"); }));
    }
}

// Settings of a drive that hangs: whoever set one goes on, and it is written when the drive lets it.
TEST(SyncHabits, aSettersCallerWaitsTwoSecondsAtMost) {
    SyncWorld world;
    const auto guard = std::make_shared<DriveGuard>(SyncWorld::drive, world.driveFiles);
    guard->recordIdentity();
    const auto writer = std::make_shared<ConfigurationWriter>(guard, world.loop, nullptr);
    std::promise<void> driveAnswers;
    std::promise<void> written;
    const auto began = std::chrono::steady_clock::now();
    // Nobody knows yet whether it will be written, so it does not count as written.
    EXPECT_FALSE(writer->write([&, answer = driveAnswers.get_future().share()] {
        answer.wait();
        written.set_value();
        return true;
    }));
    EXPECT_GE(std::chrono::steady_clock::now() - began, std::chrono::milliseconds(1900));
    driveAnswers.set_value();
    written.get_future().wait();
    EXPECT_TRUE(writer->write([] { return true; })); // and the next one's own answer comes at once
}

// A first list reads the file again before it is stored: that too is done where nobody has to wait for the drive.
TEST(SyncHabits, settingTheFirstListWaitsTwoSecondsAtMostForADriveThatHangs) {
    SyncWorld world;
    const auto controller = world.controllerFor(SyncWorld::drive);
    VTConfigurationFile& configuration = controller->deviceConfiguration();
    world.files.remove(std::string(SyncWorld::drive) + "/.VantaroConfig", {}).ignore();
    configuration.removeSyncConfiguration(); // nothing is loaded any more
    std::promise<void> driveAnswers;
    const auto answer = driveAnswers.get_future().share();
    std::atomic<bool> hung = false;
    world.disk.faults().before("attributes", std::string(SyncWorld::drive) + "/.VantaroConfig",
                               [&](const std::string&) {
                                   if (!hung.exchange(true)) answer.wait();
                               });
    const auto began = std::chrono::steady_clock::now();
    EXPECT_FALSE(configuration.setSyncItemList(std::vector<std::string>{"~/Late"}));
    EXPECT_LT(std::chrono::steady_clock::now() - began, std::chrono::seconds(20));
    EXPECT_TRUE(hung);
    driveAnswers.set_value();
    EXPECT_TRUE(configuration.addUserToList()); // behind the list in the same queue
    EXPECT_EQ(configuration.syncItemList(), std::vector<std::string>{"~/Late"});
}

TEST(SyncHabits, withoutAHelperThreadASettingIsWrittenByItsCaller) {
    struct NoThreads final : WorkerThreads {
        bool start(std::size_t, std::function<void()>) override { return false; }
    } none;
    SyncWorld world;
    const auto guard = std::make_shared<DriveGuard>(SyncWorld::drive, world.driveFiles);
    guard->recordIdentity();
    const auto writer = std::make_shared<ConfigurationWriter>(guard, world.loop, &none);
    const auto self = std::this_thread::get_id();
    for (const bool answer : {true, false}) {
        std::thread::id ranOn;
        EXPECT_EQ(writer->write([&] {
            ranOn = std::this_thread::get_id();
            return answer;
        }),
                  answer);
        EXPECT_EQ(ranOn, self);
    }
}

} // namespace
} // namespace vt::test

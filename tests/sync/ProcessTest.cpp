// Carrying out scan results, entry by entry, and the markers by which computers tell each other of removals.
#include "support/SyncWorld.h"
#include "sync/ControllerParts.h"
#include "sync/process/ScanResultsProcessor.h"

namespace vt::test {
namespace {

using Tree = std::vector<std::string>;

// A controller's collaborators with results of the test's own.
struct ProcessWorld : SyncWorld {
    std::shared_ptr<VTSyncController::Parts> parts =
        std::make_shared<VTSyncController::Parts>(drive, "", std::nullopt, services);
    std::shared_ptr<VTSyncController> own = std::make_shared<VTSyncController>(parts);
    DriveSession session{*parts->guard};
    ScanResults results;
    PassTally tally;
    bool mayStamp = true;
    std::vector<std::string> failedBefore;
    ScanResultsProcessor processor{
        {parts->drive->files(), parts->tools.tree(), parts->markers, parts->tools.filter(), parts->tools.keepAside(),
         parts->cancel, *parts->guard, parts->lastSyncTime, clock, tally, host.identifier,
         [this]() -> std::shared_ptr<MRLErrorReporter> { return parts->tools.errorReporter(); },
         [this](const std::string& text) { host.logMessage(text); },
         [this](const std::string& path) { return std::ranges::count(failedBefore, path) > 0; },
         [this] { return mayStamp; }}};

    ProcessWorld() {
        own->updateFileValidator({&everything});
        parts->tools.beginPass(true);
        parts->tools.filter().beginPass(parts->validator.load(), false);
        makeFolders(copies);
    }
    using Change = std::function<void(ScanEntry&)>;
    void add(unsigned actionToPerform, unsigned type, const std::string& local, const std::string& onTheDrive,
             const Change& change = {}) {
        ScanEntry entry;
        entry.actionToPerform = actionToPerform;
        entry.syncEntryType = type;
        entry.localPath = std::string(home) + "/" + local;
        entry.computerPath = entry.localPath;
        entry.pushkeyPath = std::string(copies) + "/" + onTheDrive;
        if (change) change(entry);
        results.addEntryToScanResults(entry);
    }
    bool process() { return processor.processScanResults(results); }
    [[nodiscard]] bool stamped() { return parts->lastSyncTime.get() == at(0); }
};

TEST(ProcessResults, noResultsAreASuccessAndStamp) {
    ProcessWorld w;
    EXPECT_TRUE(w.process());
    EXPECT_TRUE(w.stamped());
}

TEST(ProcessResults, aDisabledEntryAndOneWithoutActionChangeNothing) {
    ProcessWorld w;
    w.computer({file("a.txt", "a"), file("b.txt", "b")});
    w.add(1, 1, "a.txt", "a.txt", [](ScanEntry& entry) { entry.syncActionEnabled = false; });
    w.add(1, 1, "b.txt", "b.txt", [](ScanEntry& entry) { entry.actionToPerform.reset(); });
    w.add(9, 1, "b.txt", "b.txt");
    EXPECT_TRUE(w.process());
    EXPECT_EQ(w.copiesTree(), Tree{});
}

TEST(ProcessResults, onlyTheLastStepCarriedOutCounts) {
    ProcessWorld w;
    w.computer({file("a.txt", "a")});
    w.add(1, 1, "gone.txt", "gone.txt");
    w.add(1, 1, "a.txt", "a.txt");
    EXPECT_TRUE(w.process());
    EXPECT_TRUE(w.stamped());
    EXPECT_EQ(w.tally.leftOut.count("/home/ada/gone.txt"), 1U);
}

TEST(ProcessResults, aFileDeletedSinceTheScanFailsItsStep) {
    ProcessWorld w;
    w.computer({file("a.txt", "a")});
    w.add(1, 1, "a.txt", "a.txt");
    w.add(1, 1, "gone.txt", "gone.txt");
    EXPECT_FALSE(w.process());
    EXPECT_FALSE(w.stamped());
}

TEST(ProcessResults, whatFailedBeforeGoesFirst) {
    ProcessWorld w;
    w.computer({file("a.txt", "a")});
    w.add(1, 1, "a.txt", "a.txt");
    w.add(1, 1, "gone.txt", "gone.txt");
    w.failedBefore = {"/home/ada/gone.txt"};
    EXPECT_TRUE(w.process());
}

TEST(ProcessResults, aLinkIsNeverCopiedAndLeavesTheResultAsItWas) {
    ProcessWorld w;
    w.computer({link("l.txt", "a.txt")});
    w.add(1, 1, "l.txt", "l.txt");
    EXPECT_TRUE(w.process());
    EXPECT_EQ(w.copiesTree(), Tree{});
}

TEST(ProcessResults, aRefusedEntryLeavesAnOlderCopyThatTheDriveIsOwedAnew) {
    ProcessWorld w;
    w.computer({file("refused.zip", "new"), file("fresh.zip", "new")});
    w.onDrive({file("refused.zip", "old")});
    w.add(1, 2, "refused.zip", "refused.zip", [](ScanEntry& entry) { entry.pushkeyFileModDate = at(-5); });
    w.add(1, 1, "fresh.zip", "fresh.zip");
    EXPECT_TRUE(w.process());
    EXPECT_EQ(w.read("/media/stick/ada_Workbench/refused.zip"), "old");
    EXPECT_EQ(w.tally.leftOut, (std::map<std::string, OwedReason>{{"/home/ada/refused.zip", OwedReason::filtered}}));
    EXPECT_EQ(w.tally.failedOrSkipped, 0U);
}

TEST(ProcessResults, aNewerDriveFileOfASingleUserGoesWithoutAMarker) {
    ProcessWorld w;
    w.onDrive({file("a.txt", "newer")});
    w.add(2, 2, "a.txt", "a.txt");
    EXPECT_TRUE(w.process());
    EXPECT_EQ(w.copiesTree(), Tree{});
    EXPECT_EQ(w.read("/media/stick/Archived Vantaro Backups/2013-05-21/ada_Workbench/a.txt"), "newer");
}

TEST(ProcessResults, aNewerDriveFileIsSimplyRemovedWhereNothingIsToBeKept) {
    ProcessWorld w;
    w.parts->tools.beginPass(false);
    w.onDrive({file("a.txt", "newer")});
    w.add(2, 2, "a.txt", "a.txt");
    EXPECT_TRUE(w.process());
    EXPECT_EQ(w.copiesTree(), Tree{});
    EXPECT_FALSE(w.exists("/media/stick/Archived Vantaro Backups"));
}

TEST(ProcessResults, aMarkerThatCannotBeWrittenLeavesTheNewerFileInPlace) {
    ProcessWorld w;
    w.onDrive({file("a.txt", "newer")});
    w.add(2, 2, "a.txt", "a.txt");
    ASSERT_TRUE(w.files.writeAtomically("/media/stick/.VantaroConfig", "not a list", 0666).ok());
    EXPECT_FALSE(w.process());
    EXPECT_EQ(w.read(std::string(SyncWorld::copies) + "/a.txt"), "newer");
}

TEST(ProcessResults, removalsOtherThanMarkedOnesRunOnlyWhileTheResultIsYes) {
    ProcessWorld w;
    w.onDrive({file("a.txt", "a")});
    w.add(1, 1, "gone.txt", "gone.txt");
    w.add(3, 4, "x", "a.txt");
    EXPECT_FALSE(w.process());
    EXPECT_EQ(w.copiesTree(), Tree{"a.txt"});
}

TEST(ProcessResults, actionFourRemovesTheItemOnTheComputer) {
    ProcessWorld w;
    w.computer({file("a.txt", "a")});
    w.add(4, 4, "a.txt", "x");
    EXPECT_TRUE(w.process());
    EXPECT_FALSE(w.exists("/home/ada/a.txt"));
}

TEST(ProcessResults, aCancelBetweenTwoEntriesLeavesTheRestAndTheTime) {
    ProcessWorld w;
    w.computer({file("a.txt", "a"), file("b.txt", "b")});
    w.add(1, 1, "a.txt", "a.txt");
    w.add(1, 1, "b.txt", "b.txt");
    w.disk.faults().before("setDates", "/media/stick", [&](const std::string&) { w.parts->cancel.set(true, true); });
    (void)w.process();
    EXPECT_FALSE(w.exists(std::string(SyncWorld::copies) + "/b.txt"));
    EXPECT_FALSE(w.parts->lastSyncTime.get().has_value());
}

TEST(ProcessResults, aPendingCancelStampsNothingEvenWithoutEntries) {
    ProcessWorld w;
    w.parts->cancel.set(true, true);
    EXPECT_TRUE(w.process());
    EXPECT_FALSE(w.stamped());
}

TEST(ProcessResults, marksThatCannotBeWrittenKeepTheTime) {
    ProcessWorld w;
    w.mayStamp = false;
    EXPECT_TRUE(w.process());
    EXPECT_FALSE(w.stamped());
}

TEST(ProcessMarkers, nameEveryOtherUserOfTheDrive) {
    ProcessWorld w;
    const auto other = std::make_shared<WorldHost>(w.clock);
    other->identifier = "BBBBBBBBBBBB-502";
    SyncServices services{*other,  w.driveFiles, w.volumes,   w.propertyLists, w.preferences, w.system,
                          w.clock, w.loop,       w.workspace, w.alerts,        w.exclusions,  w.names};
    const auto second =
        VTSyncController::controllerForMountPoint(SyncWorld::drive, "", std::nullopt, std::nullopt, services);
    EXPECT_TRUE(second->syncIsEnabledForThisDevice());

    const std::string marker = std::string(SyncWorld::copies) + "/.d$f.a.txt";
    EXPECT_TRUE(w.parts->markers.createTrueDeleteFileAtPath(marker));
    EXPECT_EQ(w.parts->markers.trueDeleteComputerIDsFromFile(marker), (std::vector<std::string>{"BBBBBBBBBBBB-502"}));
    w.parts->markers.removeComputerID("somebody", marker);
    EXPECT_TRUE(w.exists(marker));
    w.parts->markers.removeComputerID("BBBBBBBBBBBB-502", marker);
    EXPECT_FALSE(w.exists(marker));
}

TEST(ProcessMarkers, anUnreadableMarkerIsRemoved) {
    ProcessWorld w;
    w.onDrive({file(".d$f.x", "garbage")});
    const std::string marker = std::string(SyncWorld::copies) + "/.d$f.x";
    EXPECT_FALSE(w.parts->markers.trueDeleteComputerIDsFromFile(marker).has_value());
    w.parts->markers.removeComputerID("x", marker);
    EXPECT_FALSE(w.exists(marker));
}

TEST(ProcessMarkers, aDriveWithoutAUserListGetsNone) {
    ProcessWorld w;
    ASSERT_TRUE(w.files.remove("/media/stick/.VantaroConfig", {}).ok());
    EXPECT_FALSE(w.parts->markers.createTrueDeleteFileAtPath(std::string(SyncWorld::copies) + "/m"));
}

TEST(ProcessListUpdate, replacesTheListAndWritesIt) {
    SyncWorld world;
    world.controller->updateSyncList({"/home/ada/Pictures", "~/Music"});
    EXPECT_EQ(world.controller->shadowedSyncList(), (Tree{"/home/ada/Pictures", "~/Music"}));
    world.run();
    EXPECT_EQ(world.controller->deviceConfiguration().syncItemList(), (Tree{"~/Pictures", "~/Music"}));
    EXPECT_TRUE(world.host.has("Update Sync Items completed."));
    EXPECT_TRUE(world.alerts.shown.empty());
}

TEST(ProcessListUpdate, anUnchangedListIsWrittenAllTheSame) {
    SyncWorld world;
    world.disk.faults().clearLog();
    world.controller->updateSyncList({"~/Music"});
    world.run();
    EXPECT_EQ(std::ranges::count(world.disk.faults().log(), "writeAtomically /media/stick/.VantaroConfig"), 2);
    EXPECT_TRUE(world.host.has("Update Sync Items completed."));
}

TEST(ProcessListUpdate, aFailedWriteAlertsAndKeepsTheListInMemory) {
    SyncWorld world;
    world.disk.faults().fail("writeAtomically", "/media/stick/.VantaroConfig", EROFS);
    world.controller->updateSyncList({"~/Pictures"});
    world.run();
    EXPECT_TRUE(world.host.has("Update Sync Items Failed."));
    ASSERT_EQ(world.alerts.shown.size(), 1U);
    EXPECT_EQ(world.alerts.shown[0].title, "Update Sync Items Failed");
    EXPECT_EQ(world.alerts.shown[0].message,
              "The changes to the sync list on \"stick\" were not saved.  Check the log for more details.");
    EXPECT_EQ(world.alerts.shown[0].buttons, (Tree{"OK", "Log"}));
    EXPECT_EQ(world.controller->deviceConfiguration().syncItemList(), Tree{"~/Pictures"});
}

TEST(ProcessListUpdate, copiesOfItemsThatLeftStay) {
    SyncWorld world;
    world.computer({file("Music/a.mp3", "a", at(-10))});
    world.sync();
    world.controller->updateSyncList({});
    world.run();
    EXPECT_EQ(world.copiesTree(), (Tree{"Music/", "Music/a.mp3"}));
}

TEST(ProcessKillList, keepsTheOldListsOrder) {
    EXPECT_EQ(SyncListUpdate::updateListThreadKillListGivenOldSyncList({"A", "B", "C"}, {"B"}), (Tree{"A", "C"}));
    EXPECT_EQ(SyncListUpdate::updateListThreadKillListGivenOldSyncList({"A"}, {"A", "D"}), Tree{});
}

TEST(ProcessKillList, removesTheItemAsItStandsAndLogsTheWholeList) {
    ProcessWorld w;
    w.host.debug = true;
    buildTree(w.files, w.files, "/media/stick", {file("A/x.txt", "x")});
    w.parts->listUpdate.updateListThreadProcessKillList({"A", "~/B"});
    EXPECT_FALSE(w.exists("/media/stick/A"));
    EXPECT_TRUE(w.host.has("Removing \"(\n    A,\n    \"~/B\"\n)\" from the files being synchronized."));
    EXPECT_TRUE(w.host.has("-               : /media/stick/A was deleted (0 errors)\n"));
    EXPECT_EQ(
        std::ranges::count_if(w.host.lines(), [](const std::string& line) { return line.starts_with("Removing"); }), 1);
}

TEST(ProcessKillList, whatCannotBeRemovedGoesToTheTrash) {
    ProcessWorld w;
    w.host.debug = true;
    buildTree(w.files, w.files, "/media/stick", {file("A", "x")});
    w.disk.faults().fail("remove", "/media/stick/A", EACCES);
    w.parts->listUpdate.updateListThreadProcessKillList({"A"});
    EXPECT_TRUE(w.host.has("-               : /media/stick/A was instead moved to the Trash\n"));
}

} // namespace
} // namespace vt::test

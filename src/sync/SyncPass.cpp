#include "sync/SyncPass.h"

#include "base/LogSink.h"
#include "base/Paths.h"
#include "sync/compare/ComputerSnapshot.h"
#include "sync/compare/ItemComparison.h"
#include "sync/process/ScanResultsProcessor.h"
#include "sync/queue/TaskRecord.h"
#include "sync/workfolders/SpaceCheck.h"

#include <algorithm>
#include <cerrno>
#include <utility>

namespace vt {

namespace {
// An item that is not looked at at all: it lies on the very drive that it would be copied to.
constexpr ComputerSnapshot::Index ownDrive = ComputerSnapshot::none - 1;
} // namespace

SyncPass::SyncPass(Services services) : _services(std::move(services)) {}

void SyncPass::threadDoSync(const std::optional<std::vector<std::string>>& paths) {
    if (_bSyncInProgress) {
        if (paths) _services.requeue(*paths);
        return;
    }
    _services.progress.setActivityType(activity::settingUp);
    _services.notify();
    _bDoingContinuousSync = paths.has_value();
    syncThreadBasicSetup();
    bool success = false;
    if (syncThreadPrepareFolders()) {
        _services.progress.setActivityType(activity::syncing);
        _services.notify();
        if (syncThreadSyncItems(paths)) {
            success = true;
            syncThreadFinishSync();
        }
    }
    _services.progress.setActivityType(activity::finishing);
    _services.notify();
    settle();
    syncThreadCleanupAfterSync();
    // A drive that has gone, or that did not keep what was written, has nothing that could be called complete.
    success = success && !_services.drive.isGone() && _services.tools.journal().flush().ok();
    _services.report.syncThreadReportResults(success, _bDoingContinuousSync);
    _services.report.logSummary(_tally);
    _services.progress.initForNewJob();
    _services.log.mainThreadUpdateProgressDialog(false, -2000);
    _bSyncInProgress = false;
    _bDoingContinuousSync = false;
}

void SyncPass::syncThreadBasicSetup() {
    _services.log.readDebugFlag();
    _tally = {};
    _walked = false;
    _stamped = false;
    _committed = false;
    _leftBehind = false;
    _start = _services.clock.now();
    if (!_bDoingContinuousSync) _fullPassBegan = _start.nanoseconds();
    // One look at the list: it may be replaced while the pass runs.
    _syncItems = _services.configuration.syncItemList().value_or(std::vector<std::string>());
    _services.log.debugLine("-sync: items to sync: \"%@\".", Value(arrayOfStrings(_syncItems)));
    _services.log.logLine("Synchronizing \"%1$@\"...", _services.delegate.displayNameAtPath(_services.paths.target()));
    _services.progress.initForNewJob();
    _services.tools.beginPass(_services.wantsKeepAside());
    _services.tools.filter().beginPass(_services.validator(), _services.fsLimit4G());
    _services.owed.beginPass(_start, _syncItems, filterText());
    _services.copied.beginPass(_services.wantsRememberContent());
    _services.recent.beginPass(_services.owed.coveredThrough());
}

std::string SyncPass::filterText() const {
    const VTConfigurationFile& configuration = _services.configuration;
    std::string text;
    text += configuration.isSyncMoviesEnabledForUser() ? 'm' : '-';
    text += configuration.isSyncMusicEnabledForUser() ? 'a' : '-';
    text += configuration.isSyncPicturesEnabledForUser() ? 'p' : '-';
    text += configuration.isSyncDocumentsEnabledForUser() ? 'd' : '-';
    return text + std::to_string(configuration.getSyncDeviceFilterForUser());
}

bool SyncPass::syncThreadPrepareFolders() {
    _scanResults.clearScanResults();
    return _services.tools.folders().prepare();
}

bool SyncPass::syncThreadSyncItems(const std::optional<std::vector<std::string>>& paths) {
    _scanResults.clearScanResults();
    const std::vector<ChosenItem> items =
        paths ? chooseChangedItems(*paths, _syncItems, _services.paths.home()) : chooseAllItems(_syncItems);
    if (paths && items.empty()) return true;
    _services.owed.setChosen(items);
    if (!compareItems(thoseThatAnswer(items))) return false;
    return processScanResults();
}

// A share whose server hangs would hold up all the others.
std::vector<ChosenItem> SyncPass::thoseThatAnswer(std::vector<ChosenItem> items) {
    std::erase_if(items, [this](const ChosenItem& item) {
        const std::string local = _services.paths.local(item.path);
        if (_services.volumes.statVolume(local).code() != ETIMEDOUT) return false;
        _services.log.logLine("\"%@\" does not answer and is left out.", paths::displayText(local));
        _tally.fail(local, OwedReason::failed);
        return true;
    });
    return items;
}

std::optional<std::vector<std::uint32_t>> SyncPass::look(ComputerSnapshot& snapshot,
                                                         const std::vector<ChosenItem>& items) {
    // A volume may come or go while the tree is walked: what was one before or after has its own place on the drive.
    std::vector<std::string> volumeRoots = SyncPaths::removableRoots(_services.volumes, _services.paths.target());
    std::vector<std::uint32_t> roots;
    for (const ChosenItem& item : items) {
        const std::string local = _services.paths.local(item.path);
        roots.push_back(liesOnOwnDrive(local) ? ownDrive : snapshot.add(local));
    }
    for (std::string& root : SyncPaths::removableRoots(_services.volumes, _services.paths.target()))
        if (std::find(volumeRoots.begin(), volumeRoots.end(), root) == volumeRoots.end())
            volumeRoots.push_back(std::move(root));
    _services.paths.setVolumeRoots(std::move(volumeRoots));
    return snapshot.truncated() ? std::nullopt : std::optional(std::move(roots));
}

bool SyncPass::compareItems(const std::vector<ChosenItem>& items) {
    ComputerSnapshot snapshot(_services.files, _services.tools.closed(), [this] { return _services.cancel.pending(); });
    const auto roots = look(snapshot, items);
    _finalPaths.clear();
    for (const ChosenItem& item : items) _finalPaths.push_back(_services.paths.drive(item.path));
    const CopyDoubts doubts(_services.tools.journal().beginPass(_finalPaths));
    if (!roots) return false;
    determineTotalSync(snapshot, *roots);
    if (!_bDoingContinuousSync) _services.log.mainThreadUpdateProgressDialog(true, 0);

    const DestinationCapabilities& drive = _services.tools.capabilities();
    OwedPass owed(_services.owed.record(), _start, drive.dateGranularity);
    _previousSyncTime = _services.lastSyncTime.get();
    ItemComparison comparison({_services.files, _services.paths, snapshot, _services.tools.filter(), _services.cancel,
                               _scanResults, _services.progress, _services.log, _tally, owed, &doubts,
                               &_services.copied, drive.dateGranularity, &_services.tools.refusedNames(),
                               &_services.recent},
                              NameRule(drive.caseSensitive), _previousSyncTime);
    for (std::size_t i = 0; i < items.size(); ++i) {
        const std::string local = _services.paths.local(items[i].path);
        _services.log.logLine("Processing \"%@\".", _services.delegate.displayNameAtPath(local));
        if (roots->at(i) == ownDrive) {
            _services.log.logLine("\"%@\" lies on its own drive and is left out.", paths::displayText(local));
            _tally.didNotLookInto(_finalPaths[i]);
            continue;
        }
        owed.beginItem(items[i].item);
        if (!comparison.syncThreadSyncItem(items[i].path, roots->at(i))) {
            _services.log.logLine("The synchronization stopped at \"%@\".", paths::displayText(local));
            return false;
        }
    }
    comparison.addOwedEntries();
    comparison.logDateShift();
    _walked = !_services.cancel.pending();
    return true;
}

void SyncPass::determineTotalSync(const ComputerSnapshot& snapshot, const std::vector<std::uint32_t>& roots) {
    std::uint64_t total = 0;
    for (const std::uint32_t root : roots)
        if (root != ComputerSnapshot::none && root != ownDrive) total += snapshot.estimate(root);
    _services.progress.setTotalSync(total);
    systemLog(formatText("Initial Progress Dictionary: %@", {Value(_services.progress.getCurrentProgressDict())}));
}

// Compared by identity all the way up, so that no other spelling of the path gets past.
bool SyncPass::liesOnOwnDrive(const std::string& local) {
    if (paths::isAtOrBelow(local, _services.paths.target())) return true;
    const auto root = _services.files.attributes(_services.paths.target());
    if (!root) return false;
    for (std::string path = local; path.size() > 1; path = paths::parent(path)) {
        const auto folder = _services.files.attributesFollowing(path);
        if (folder && folder->device == root->device && folder->inode == root->inode) return true;
    }
    return false;
}

bool SyncPass::processScanResults() {
    const auto logLine = [this](const std::string& text) { _services.log.logMessage(text); };
    std::uint64_t needed = 0;
    for (const ScanEntry& entry : _scanResults.entries())
        if (entry.syncActionEnabled && entry.actionToPerform == action::toDrive)
            needed += static_cast<std::uint64_t>(entry.localFileSize.value_or(0));
    checkSpaceForStaging(_services.volumes, _services.paths.target(), needed, logLine);

    ScanResultsProcessor processor(
        {_services.files, _services.tools.tree(), _services.markers, _services.tools.filter(),
         _services.tools.keepAside(), _services.cancel, _services.drive, _services.lastSyncTime, _services.clock,
         _tally, _services.hostUserId,
         [this]() -> std::shared_ptr<MRLErrorReporter> { return _services.tools.errorReporter(); }, logLine,
         [this](const std::string& path) { return _services.owed.record().knownToFail(path); },
         [this] {
             // First what may still be lost, then the drive itself, then the date that vouches for both.
             _stamped = _services.owed.writeMarks(_scanResults, _tally) && _services.tools.journal().flush().ok();
             return _stamped;
         },
         _services.tools.capabilities().dateGranularity});
    return processor.processScanResults(_scanResults);
}

// The commit replaces what the comparison saw; anything else that it finds in a place is set aside first.
std::optional<SeenOnDrive> SyncPass::seenOnDrive(const std::string& path) const {
    const auto entry = _scanResults.entryForDrivePath(path);
    if (!entry || entry->actionToPerform != action::toDrive || !entry->pushkeyFileModDate) return std::nullopt;
    SeenOnDrive seen;
    seen.changedOnBothSides = entry->syncEntryType == entrytype::changedOnBothSides;
    seen.compared = entry->pushkeyFileModDate;
    if (!entry->package) {
        seen.modified = entry->pushkeyFileModDate;
        if (entry->pushkeyFileSize) seen.size = static_cast<std::uint64_t>(*entry->pushkeyFileSize);
    }
    return seen;
}

void SyncPass::syncThreadFinishSync() {
    (void)_services.tools.folders().processTempFolders();
    _committed = !_leftBehind && _services.tools.journal().flush().ok();
    if (!_leftBehind || !_stamped) return;
    _services.log.logLine("Not everything reached its place on \"%@\"; the next synchronization tries again.",
                          _services.delegate.displayNameAtPath(_services.paths.target()));
    _services.lastSyncTime.restore(_previousSyncTime);
}

void SyncPass::settle() {
    const bool walked = _walked && !_services.cancel.pending();
    // Nothing was compared at all: there is nothing to note.
    if (!walked && _scanResults.numEntries() == 0 && _tally.leftOut.empty()) return;
    const bool committed = _committed && !_services.drive.isGone();
    _services.owed.settle(_scanResults, _tally, walked, committed);
    _services.copied.settle(committed, walked && !_bDoingContinuousSync);
    if (walked && committed) _services.tools.journal().settle(_finalPaths, _tally.stillInDoubt, _tally.notLookedInto);
}

void SyncPass::syncThreadCleanupAfterSync() {
    (void)_services.tools.folders().deleteTempFolders();
    _scanResults.clearScanResults();
    _services.tools.clearReporters();
    systemLog(formatText("Final Progress Dictionary: %@", {Value(_services.progress.getCurrentProgressDict())}));
    _services.notify();
}

// The entry that staged the path, or a folder above it, tells where it comes from.
std::string SyncPass::computerPathOf(const std::string& staged) const {
    const std::string work = _services.paths.driveWork();
    if (!paths::isAtOrBelow(staged, work)) return staged;
    const std::string final = _services.paths.target() + staged.substr(work.size());
    const auto entry = entryAtOrAbove(final);
    return entry ? entry->computerPath + final.substr(entry->drivePath.size()) : staged;
}

std::optional<ScanEntry> SyncPass::entryAtOrAbove(const std::string& path) const {
    for (std::string above = path; above.size() > _services.paths.target().size(); above = paths::parent(above))
        if (auto entry = _scanResults.entryForDrivePath(above)) return entry;
    return std::nullopt;
}

void SyncPass::leftBehind(const std::string& staged) {
    _leftBehind = true;
    _tally.fail(computerPathOf(staged), OwedReason::staged);
}

void SyncPass::nameRefused(std::uint64_t bytes) {
    _tally.refuseName();
    _services.progress.accumulateSkipFilteredData(bytes);
}

void SyncPass::leftOut(const std::string& source, OwedReason reason) {
    _tally.fail(computerPathOf(source), reason);
}

} // namespace vt

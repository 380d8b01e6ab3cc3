#include "sync/process/ScanResultsProcessor.h"

#include "base/Paths.h"
#include "base/Text.h"

#include <algorithm>
#include <numeric>

namespace vt {

namespace {

// Where a copy failed, the drive has what it had: no more than that stays in doubt. A package that stands on both sides
// is only ever copied as a whole.
void keepFailuresInDoubt(PassTally& tally, const ScanEntry& entry) {
    const bool onBothSides = entry.pushkeyFileModDate.has_value();
    if (tally.leftOut.contains(entry.computerPath)) tally.didNotLookInto(entry.drivePath);
    const std::string below = entry.computerPath + "/";
    for (auto path = tally.leftOut.lower_bound(below); path != tally.leftOut.end() && path->first.starts_with(below);
         ++path)
        tally.didNotLookInto(onBothSides ? entry.drivePath
                                         : entry.drivePath + path->first.substr(entry.computerPath.size()));
    // Known as it was, by its name or by the time since when, so that it is replaced or set aside as it would have
    // been.
    if (tally.notLookedInto.contains(entry.drivePath)) tally.stillInDoubt.erase(entry.drivePath);
}

} // namespace

// In the order of the decisions, but what failed before goes first: the answer of the pass is that of its last step,
// and a path that fails every time must not hold up all others for ever.
std::vector<ScanResults::Index> ScanResultsProcessor::inOrder(const ScanResults& results) const {
    std::vector<ScanResults::Index> entries(results.numEntries());
    std::iota(entries.begin(), entries.end(), 0U);
    std::stable_partition(entries.begin(), entries.end(), [&](ScanResults::Index index) {
        return _services.knownToFail(results.entries()[index].computerPath);
    });
    return entries;
}

// A preview of the results is switched off in every controller, so the results are always carried out as they are.
bool ScanResultsProcessor::processScanResults(const ScanResults& results) {
    bool result = true;
    for (const ScanResults::Index index : inOrder(results)) {
        if (_services.cancel.pending()) return result;
        // Each of the remaining steps would fail, and ask a person about it.
        if (_services.drive.isGone()) return false;
        const ScanEntry entry = results.entries()[index];
        if (entry.syncActionEnabled && entry.actionToPerform) carryOut(entry, result);
    }
    // A cancelled pass has not looked at everything, whatever it found.
    if (result && !_services.cancel.pending() && _services.beforeStamp())
        _services.lastSyncTime.update(_services.clock.now());
    return result;
}

void ScanResultsProcessor::carryOut(const ScanEntry& entry, bool& result) {
    switch (*entry.actionToPerform) {
    case action::toDrive:
        copyToDrive(entry, result);
        break;
    case action::driveIsNewer:
        removeNewer(entry, result);
        break;
    case action::removeFromDrive:
    case action::removeFromComputer:
        removeItem(entry, result);
        break;
    default:
        break;
    }
}

// The drive has this very version of the package, but not all of it.
bool ScanResultsProcessor::completesPackage(const ScanEntry& entry) const {
    if (!entry.package || !entry.pushkeyFileModDate || !entry.localFileModDate) return false;
    const std::int64_t lost = entry.localFileModDate->nanoseconds() - entry.pushkeyFileModDate->nanoseconds();
    return lost >= 0 && lost < std::max<std::int64_t>(_services.dateGranularity, 1);
}

void ScanResultsProcessor::copyToDrive(const ScanEntry& entry, bool& result) {
    if (entry.syncEntryType == entrytype::replacesMarker && entry.trueDelete)
        _services.files.remove(*entry.trueDelete, {}).ignore();
    const auto now = _services.files.attributes(entry.localPath);
    if (!_services.filter.shouldCopyMediaFile(entry.localPath, paths::lastComponent(entry.localPath),
                                              now ? &*now : nullptr)) {
        // It was accepted when it was compared. The older copy stays, and the drive is owed the file.
        if (entry.pushkeyFileModDate && !_services.cancel.pending())
            _services.tally.leftOut.emplace(entry.computerPath, OwedReason::filtered);
        return;
    }
    const auto failedBefore = _services.tally.leftOut.size();
    result = _services.tree.copyPathOntoPath(entry.localPath, entry.pushkeyPath, true, _services.errorReporter().get(),
                                             now ? &*now : nullptr);
    if (result) _services.tally.stillInDoubt.erase(entry.drivePath);
    // What a cancel has cut short is owed with all that was not reached.
    if (!result && _services.tally.leftOut.size() == failedBefore && !_services.cancel.pending())
        _services.tally.fail(entry.localPath, OwedReason::failed);
    if (!_services.tally.leftOut.empty()) keepFailuresInDoubt(_services.tally, entry);
    // A second copy that is no more complete than the first would only fill the archive with copies of itself.
    if (result && completesPackage(entry) && _services.tally.leftOut.contains(entry.localPath))
        _services.files.remove(entry.pushkeyPath, {}).ignore();
}

// The drive's copy is the newer one: it goes, and the next sync puts the computer's there.
void ScanResultsProcessor::removeNewer(const ScanEntry& entry, bool& result) {
    _services.logLine(localisedText("\"%1$@\" on the drive is newer than \"%2$@\" and is removed.",
                                    {paths::displayText(entry.pushkeyPath), paths::displayText(entry.computerPath)}));
    const auto kept = _services.keepAside.setAside(entry.pushkeyPath);
    result = _services.markers.createTrueDeleteFileAtPath(entry.pushkeyPath);
    if (result)
        _services.files.remove(entry.pushkeyPath, {}).ignore();
    else if (kept)
        (void)_services.keepAside.putBack(*kept, entry.pushkeyPath);
}

void ScanResultsProcessor::removeItem(const ScanEntry& entry, bool& result) {
    bool succeeded = result;
    if (entry.syncEntryType == entrytype::removalWithMarker)
        succeeded = entry.trueDelete && _services.markers.createTrueDeleteFileAtPath(*entry.trueDelete);
    else if (entry.syncEntryType == entrytype::removalHeldBack && entry.trueDelete)
        _services.markers.removeComputerID(_services.hostUserId, *entry.trueDelete);
    result = succeeded;
    if (!succeeded) return;
    if (*entry.actionToPerform == action::removeFromComputer) {
        _services.files.remove(entry.localPath, {}).ignore();
        return;
    }
    (void)_services.keepAside.setAside(entry.pushkeyPath);
    _services.files.remove(entry.pushkeyPath, {}).ignore();
}

} // namespace vt

#include "sync/owed/OwedBook.h"

#include "base/Text.h"

#include <algorithm>

namespace vt {

namespace {
// Dates of the computer's files may be that much behind the clock.
constexpr double startSlack = -2.0;

bool isCopy(const ScanEntry& entry) {
    return entry.syncActionEnabled && entry.actionToPerform == action::toDrive;
}

bool isCopyOverAnEdit(const ScanEntry& entry) {
    return isCopy(entry) && entry.syncEntryType == entrytype::changedOnBothSides;
}
} // namespace

void OwedBook::beginPass(Date start, const std::vector<std::string>& syncItems, const std::string& filter) {
    _start = start;
    _syncItems = syncItems;
    _chosen.clear();
    _record.load();
    if (_record.filter() != filter) _record.dropAllCoveredThrough();
    _record.setFilter(filter);
    // An item that left the list is no longer watched: what happens to it meanwhile is not covered.
    std::vector<std::string> gone;
    for (const auto& [item, date] : _record.coveredItems())
        if (std::find(syncItems.begin(), syncItems.end(), item) == syncItems.end()) gone.push_back(item);
    for (const std::string& item : gone) _record.dropCoveredThrough(item);
    std::vector<std::string> items;
    for (const std::string& item : syncItems) items.push_back(_localPath(item));
    _record.handDown(items);
}

Date OwedBook::coveredThrough() const {
    Date through = _start.plusSeconds(startSlack);
    for (const std::string& item : _syncItems)
        if (const auto covered = _record.coveredThrough(item)) through = std::min(through, *covered);
    return through;
}

bool OwedBook::writeMarks(const ScanResults& results, const PassTally& tally) {
    for (const auto& [path, reason] : tally.leftOut) _record.owe(path, reason);
    for (const ScanEntry& entry : results.entries())
        if (isCopyOverAnEdit(entry)) _record.noteChangedOnBothSides(entry.computerPath);
    const auto saved = _record.save([&](const auto& each) {
        for (const ScanEntry& entry : results.entries())
            if (isCopy(entry)) each(entry.computerPath);
    });
    if (!saved) _logLine(localisedText("What the drive is owed could not be noted - %@.", {saved.error().describe()}));
    return saved.ok();
}

void OwedBook::settle(const ScanResults& results, const PassTally& tally, bool walked, bool committed) {
    if (walked)
        for (const ChosenItem& chosen : _chosen) _record.settle(_localPath(chosen.path));
    for (const ScanEntry& entry : results.entries()) {
        if (!isCopy(entry)) continue;
        if (isCopyOverAnEdit(entry)) _record.noteChangedOnBothSides(entry.computerPath);
        if (walked && committed)
            _record.settle(entry.computerPath);
        else
            _record.owe(entry.computerPath, OwedReason::staged);
    }
    for (const auto& [path, reason] : tally.leftOut) _record.owe(path, reason);
    _record.forgetBothSidesOfPaid();
    if (walked)
        for (const ChosenItem& chosen : _chosen)
            if (chosen.path == chosen.item) _record.setCoveredThrough(chosen.item, _start.plusSeconds(startSlack));
    save();
}

void OwedBook::itemsLeftTheList(const std::vector<std::string>& items) {
    if (items.empty()) return;
    _record.load();
    if (!_record.exists()) return;
    for (const std::string& item : items) _record.dropCoveredThrough(item);
    save();
}

void OwedBook::save() {
    const auto saved = _record.save();
    if (!saved) _logLine(localisedText("What the drive is owed could not be noted - %@.", {saved.error().describe()}));
}

} // namespace vt

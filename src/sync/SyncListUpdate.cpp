#include "sync/SyncListUpdate.h"

#include "base/LogSink.h"
#include "base/Paths.h"
#include "sync/report/MRLRemoveSyncItemsErrorReporter.h"

#include <algorithm>

namespace vt {

void SyncListUpdate::threadDoSyncListUpdate(const std::vector<std::string>& newList) {
    const auto oldList = _services.configuration.syncItemList();
    _services.log.debugLine("-setSyncItemList: existing sync list\n%@\n",
                            oldList ? Value(arrayOfStrings(*oldList)) : Value());
    _services.log.debugLine("-setSyncItemList: new sync list\n%@\n", Value(arrayOfStrings(newList)));
    _services.configuration.setSyncItemList(newList);
    const bool written = _services.configuration.writeConfigFile();
    if (!written) systemLog("config file was NOT updated");
    updateListThreadReportResults(written);
}

void SyncListUpdate::updateListThreadReportResults(bool success) {
    _services.log.logLine(success ? "Update Sync Items completed." : "Update Sync Items Failed.");
    if (success) return;
    _services.delegate->syncThreadPerformAlertWithTitle(
        localised("Update Sync Items Failed"),
        localisedText("The changes to the sync list on \"%@\" were not saved.  Check the log for more details.",
                      {_services.delegate->displayNameAtPath(_services.mountPoint)}),
        false, true);
}

std::vector<std::string>
SyncListUpdate::updateListThreadKillListGivenOldSyncList(const std::vector<std::string>& oldList,
                                                         const std::vector<std::string>& newList) {
    std::vector<std::string> killList;
    for (const std::string& item : oldList)
        if (std::find(newList.begin(), newList.end(), item) == newList.end()) killList.push_back(item);
    return killList;
}

void SyncListUpdate::updateListThreadProcessKillList(const std::vector<std::string>& killList) {
    for (const std::string& item : killList) {
        // The item as it stands in the list, deliberately not its place on the drive.
        const std::string path = paths::join(_services.mountPoint, item);
        if (!_services.files.attributes(path)) continue;
        _services.log.logLine("Removing \"%@\" from the files being synchronized.", Value(arrayOfStrings(killList)));
        const auto reporter = MRLRemoveSyncItemsErrorReporter::create(_services.delegate);
        reporter->willProcessPath(path);
        const bool removed = _services.files
                                 .remove(path,
                                         [&](const Error& error) {
                                             return reporter->shouldProceedAfterErrorRemovingItem(error, error.path);
                                         })
                                 .ok();
        _services.log.debugLine("-               : %@ %s deleted (%d errors)\n", paths::displayText(path),
                                removed ? "was" : "was NOT", reporter->errorCount());
        reporter->setDelegate({});
        if (removed) continue;
        const bool recycled = _services.workspace.recycle(path).ok();
        _services.log.debugLine("-               : %@ %s moved to the Trash\n", paths::displayText(path),
                                recycled ? "was instead" : "was NOT");
    }
}

} // namespace vt

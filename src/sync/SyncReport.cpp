#include "sync/SyncReport.h"

#include "base/Text.h"
#include "sync/queue/TaskRecord.h"

namespace vt {

void SyncReport::syncThreadReportResults(bool success, bool continuousSync) {
    const std::string drive = _services.delegate.displayNameAtPath(_services.mountPoint);
    if (_services.cancel.pending()) {
        reportCancel(drive);
        return;
    }
    if (success) {
        _services.progress.setActivityType(activity::completed);
        _services.progress.setFailureType(std::nullopt);
    } else {
        _services.progress.setActivityType(activity::endedWithoutSuccess);
        if (!_services.progress.failureType()) _services.progress.setFailureType(failure::unsuccessful);
    }
    _services.notify();
    _services.log.logLine(success ? "Synchronization of \"%@\" completed successfully."
                                  : "Synchronization of \"%@\" did not complete successfully.",
                          drive);
    if (!success && !continuousSync)
        _services.delegate.syncThreadPerformAlertWithTitle(localised("Sync Failed"),
                                                           localised("Check the log for more details."), false, true);
}

void SyncReport::reportCancel(const std::string& drive) {
    const bool connectionLost = _services.connectionStatus() == 0;
    _services.progress.setFailureType(connectionLost ? failure::connectionError : failure::cancelled);
    _services.log.logLine(connectionLost ? "Synchronization of \"%@\" failed due to connection error."
                                         : "Synchronization of \"%@\" canceled.",
                          drive);
    _services.progress.setActivityType(activity::endedWithoutSuccess);
    _services.notify();
}

void SyncReport::logSummary(const PassTally& tally) {
    _services.log.logMessage(formatText(
        "Sync summary for \"%1$@\": %2$lu failed or skipped, %3$lu filtered (%4$lu bytes), %5$lu only on the drive.",
        {_services.delegate.displayNameAtPath(_services.mountPoint), tally.failedOrSkipped, tally.filteredCount,
         tally.filteredBytes, tally.driveOnly}));
}

} // namespace vt

#include "sync/WorkerDelegate.h"

#include "base/Paths.h"
#include "base/Text.h"
#include "config/utilities/SystemStrings.h"

namespace vt {

// Without a display the panel answers at once. When the process is ending nobody answers, and the work stops.
bool WorkerDelegate::syncThreadPerformAlertWithTitle(const std::string& title, const std::string& message,
                                                     bool withCancelButton, bool withLogButton) {
    // In the log first: a question that nobody sees holds up the drive's queue.
    _services.log.logMessage(title + " " + message);
    Alert alert{title, message, {localised("OK")}};
    int cancelButton = -1;
    int logButton = -1;
    if (withCancelButton) {
        cancelButton = static_cast<int>(alert.buttons.size());
        alert.buttons.push_back(localised("Cancel"));
    }
    if (withLogButton) {
        logButton = static_cast<int>(alert.buttons.size());
        alert.buttons.push_back(localised("Log"));
    }
    int answer = 0;
    if (!_services.runLoop.performAndWait([&] { answer = _services.alerts.run(alert); })) return false;
    if (withLogButton && answer == logButton) _services.log.openLogFile();
    // A panel that was closed without a button is no consent.
    return answer >= 0 && answer != cancelButton;
}

std::string WorkerDelegate::displayNameAtPath(const std::string& path) const {
    return vt::displayNameAtPath(_services.volumes, path);
}

void WorkerDelegate::pathFailed(const std::string& source, bool skipped) {
    if (pathWasLeftOut) pathWasLeftOut(source, skipped ? OwedReason::skipped : OwedReason::failed);
}

void WorkerDelegate::accumulateSkipFilteredDataUInt64(std::uint64_t bytes) {
    _services.progress.accumulateSkipFilteredData(bytes);
    if (!_services.cancel.pending() && wasFiltered) wasFiltered(bytes);
}

} // namespace vt

// Tells how a sync ended: the line in the log, the types in the progress dictionary, and an alert when it failed.
// Thread: the drive's worker. Owns: nothing.
#pragma once

#include "sync/CancelMark.h"
#include "sync/WorkerDelegate.h"
#include "sync/compare/PassTally.h"
#include "sync/progress/SyncFeedback.h"
#include "sync/progress/SyncProgress.h"

#include <functional>
#include <optional>
#include <string>

namespace vt {

class SyncReport {
  public:
    struct Services {
        SyncFeedback& log;
        SyncProgress& progress;
        const CancelMark& cancel;
        WorkerDelegate& delegate;
        std::string mountPoint;
        std::function<void()> notify;
        std::function<std::optional<int>()> connectionStatus; // of the wireless drive; null for any other
    };
    explicit SyncReport(Services services) : _services(std::move(services)) {}

    void syncThreadReportResults(bool success, bool continuousSync);
    // The last line of every sync, which begins "Sync summary" in every language: programs look for it.
    void logSummary(const PassTally& tally);

  private:
    void reportCancel(const std::string& drive);

    Services _services;
};

} // namespace vt

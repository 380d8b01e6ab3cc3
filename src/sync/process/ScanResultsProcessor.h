// Carries out what the comparison decided: copies to the drive's work folder, removals, removals with a marker; and
// when nothing went wrong moves the drive's last sync time. Thread: the drive's worker. Owns: nothing.
// Errors: yes or no, that of the last step carried out; each failure has gone to the reporter or the log before.
#pragma once

#include "platform/Clock.h"
#include "platform/DriveRoot.h"
#include "platform/FileService.h"
#include "sync/CancelMark.h"
#include "sync/LastSyncTime.h"
#include "sync/compare/PassFilter.h"
#include "sync/compare/PassTally.h"
#include "sync/compare/ScanResults.h"
#include "sync/keep/KeepAside.h"
#include "sync/process/DeletionMarkers.h"
#include "sync/report/MRLErrorReporter.h"
#include "sync/tree/TreeOperations.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace vt {

class ScanResultsProcessor {
  public:
    struct Services {
        FileService& files;
        TreeOperations& tree;
        DeletionMarkers& markers;
        const PassFilter& filter;
        KeepAside& keepAside;
        const CancelMark& cancel;
        const DriveRoot& drive;
        LastSyncTime& lastSyncTime;
        const Clock& clock;
        PassTally& tally;
        std::string hostUserId;
        std::function<std::shared_ptr<MRLErrorReporter>()> errorReporter;
        std::function<void(const std::string&)> logLine;
        std::function<bool(const std::string&)> knownToFail; // a path on the computer
        // Just before the last sync time moves: what is owed reaches the computer's disk. False: it must not move.
        std::function<bool()> beforeStamp;
        std::int64_t dateGranularity = 1; // of the drive, nanoseconds
    };
    explicit ScanResultsProcessor(Services services) : _services(std::move(services)) {}

    bool processScanResults(const ScanResults& results);

  private:
    [[nodiscard]] std::vector<ScanResults::Index> inOrder(const ScanResults& results) const;
    void carryOut(const ScanEntry& entry, bool& result);
    [[nodiscard]] bool completesPackage(const ScanEntry& entry) const;
    void copyToDrive(const ScanEntry& entry, bool& result);
    void removeNewer(const ScanEntry& entry, bool& result);
    void removeItem(const ScanEntry& entry, bool& result);

    Services _services;
};

} // namespace vt

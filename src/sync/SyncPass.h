// One sync after the other: prepares, compares, carries out, commits, records, reports. Every step of a drive's sync
// passes through here, on the drive's worker alone. Thread: the drive's worker; the flags on any.
// Owns: the scan results and what one pass finds. Errors: a pass that fails says so in the log and in its progress.
#pragma once

#include "config/VTConfigurationFile.h"
#include "platform/Clock.h"
#include "platform/DriveRoot.h"
#include "platform/FileService.h"
#include "sync/LastSyncTime.h"
#include "sync/StagingTools.h"
#include "sync/SyncPaths.h"
#include "sync/SyncReport.h"
#include "sync/compare/ItemChoice.h"
#include "sync/compare/PassTally.h"
#include "sync/compare/ScanResults.h"
#include "sync/owed/CopiedRecord.h"
#include "sync/owed/OwedBook.h"
#include "sync/owed/RecentCopies.h"
#include "sync/process/DeletionMarkers.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vt {

class ComputerSnapshot;

class SyncPass {
  public:
    struct Services {
        FileService& files;
        FileContents& contents;
        PropertyLists& propertyLists;
        VolumeService& volumes;
        const Clock& clock;
        const DriveRoot& drive;
        VTConfigurationFile& configuration;
        SyncPaths& paths;
        StagingTools& tools;
        DeletionMarkers& markers;
        LastSyncTime& lastSyncTime;
        SyncProgress& progress;
        SyncFeedback& log;
        CancelMark& cancel;
        WorkerDelegate& delegate;
        OwedBook& owed;
        CopiedRecord& copied;
        RecentCopies& recent;
        SyncReport report;
        std::string hostUserId;
        std::function<void()> notify;
        std::function<std::shared_ptr<VTFileValidator>()> validator;
        std::function<bool()> fsLimit4G;
        std::function<bool()> wantsKeepAside; // the user defaults, read anew
        std::function<bool()> wantsRememberContent;
        std::function<void(const std::vector<std::string>&)> requeue;
    };
    explicit SyncPass(Services services);

    void threadDoSync(const std::optional<std::vector<std::string>>& paths);
    [[nodiscard]] bool syncInProgress() const { return _bSyncInProgress.load(); }
    [[nodiscard]] bool doingContinuousSync() const { return _bDoingContinuousSync.load(); }
    // Any thread: when the last pass over the whole list began; null before the first.
    [[nodiscard]] std::optional<Date> lastFullPassBegan() const {
        const std::int64_t began = _fullPassBegan.load();
        return began == 0 ? std::nullopt : std::optional(Date::fromNanoseconds(began));
    }
    [[nodiscard]] ScanResults& scanResults() { return _scanResults; }
    // A staged item that stays where it is; and a path on the computer that was left out.
    void leftBehind(const std::string& staged);
    void leftOut(const std::string& source, OwedReason reason);
    void nameRefused(std::uint64_t bytes);
    [[nodiscard]] PassTally& tally() { return _tally; }
    // What the comparison saw at a final path of which a newer computer file takes the place.
    [[nodiscard]] std::optional<SeenOnDrive> seenOnDrive(const std::string& path) const;
    // An entry of the comparison stands at this final path or above it.
    [[nodiscard]] bool isOfAnItem(const std::string& path) const { return entryAtOrAbove(path).has_value(); }

  private:
    void syncThreadBasicSetup();
    bool syncThreadPrepareFolders();
    bool syncThreadSyncItems(const std::optional<std::vector<std::string>>& paths);
    [[nodiscard]] std::vector<ChosenItem> thoseThatAnswer(std::vector<ChosenItem> items);
    bool compareItems(const std::vector<ChosenItem>& items);
    // Takes the computer's side, all of it or nothing. Of each item its place in the snapshot; null: a cancel came.
    std::optional<std::vector<std::uint32_t>> look(ComputerSnapshot& snapshot, const std::vector<ChosenItem>& items);
    bool processScanResults();
    void syncThreadFinishSync();
    void settle();
    void syncThreadCleanupAfterSync();
    void determineTotalSync(const ComputerSnapshot& snapshot, const std::vector<std::uint32_t>& roots);
    [[nodiscard]] bool liesOnOwnDrive(const std::string& local);
    [[nodiscard]] std::string filterText() const;
    [[nodiscard]] std::optional<ScanEntry> entryAtOrAbove(const std::string& path) const;
    [[nodiscard]] std::string computerPathOf(const std::string& staged) const;

    Services _services;
    // Cleared with every sync and set nowhere: the queue keeps syncs apart.
    std::atomic<bool> _bSyncInProgress{false};
    std::atomic<bool> _bDoingContinuousSync{false};
    std::atomic<std::int64_t> _fullPassBegan{0}; // nanoseconds, as Date has them; 0: never
    ScanResults _scanResults;
    PassTally _tally;
    std::vector<std::string> _syncItems;
    std::vector<std::string> _finalPaths; // of the items compared, on the drive
    std::optional<Date> _previousSyncTime;
    Date _start;
    bool _walked = false;
    bool _stamped = false;
    bool _committed = false;
    bool _leftBehind = false;
};

} // namespace vt

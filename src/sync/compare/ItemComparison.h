// Compares the sync items of one pass with their copies on the drive and records what has to be done, as facts only:
// nothing is changed. Thread: the drive's worker. Owns: one frame per folder that it stands in, no deep stack.
// Errors: yes to go on with the sync, no to stop it; the path that caused a no is in the log.
#pragma once

#include "platform/FileService.h"
#include "sync/CancelMark.h"
#include "sync/RefusedNames.h"
#include "sync/SyncPaths.h"
#include "sync/compare/ComputerSnapshot.h"
#include "sync/compare/DateShift.h"
#include "sync/compare/DriveFolder.h"
#include "sync/compare/FileComparison.h"
#include "sync/compare/PassFilter.h"
#include "sync/compare/PassTally.h"
#include "sync/compare/ScanResults.h"
#include "sync/owed/CopiedRecord.h"
#include "sync/owed/CopyDoubts.h"
#include "sync/owed/OwedPass.h"
#include "sync/owed/RecentCopies.h"
#include "sync/progress/SyncFeedback.h"
#include "sync/progress/SyncProgress.h"

#include <optional>
#include <string>
#include <vector>

namespace vt {

class ItemComparison {
  public:
    struct Services {
        FileService& files;
        const SyncPaths& paths;
        const ComputerSnapshot& snapshot;
        const PassFilter& filter;
        const CancelMark& cancel;
        ScanResults& results;
        SyncProgress& progress;
        SyncFeedback& log;
        PassTally& tally;
        const OwedPass& owed;
        const CopyDoubts* doubts = nullptr; // copies of an earlier run that may be short
        CopiedRecord* copied = nullptr;     // what was copied earlier, where the person wants it remembered
        std::int64_t dateGranularity = 1;   // of the drive, nanoseconds
        RefusedNames* refusedNames = nullptr;
        const RecentCopies* recent = nullptr;
    };
    ItemComparison(Services services, NameRule rule, std::optional<Date> lastSync);

    // `local` is the item's place in the snapshot, or none.
    bool syncThreadSyncItem(const std::string& item, ComputerSnapshot::Index local);
    // The entries of files that the dates call present although the drive is owed them; after the walk.
    void addOwedEntries();
    // One line where the drive's dates all differ from the computer's by the same whole time; after the walk.
    void logDateShift();

  private:
    using Index = ComputerSnapshot::Index;
    struct Item {
        std::string item;  // as in the sync list
        std::string local; // on the computer
        std::string drive; // on the drive
    };
    struct Frame { // a folder on both sides
        Item folder;
        std::string childDrive; // the folder of the drive that its children are compared in
        DriveFolder own;
        std::optional<DriveFolder> children; // where that is another one
        Index next = 0;
        Index end = 0;
    };
    enum class Answer { yes, no, descend };

    Answer compare(const Item& item, Index local, const FileAttributes* drive);
    Answer compareFiles(const Item& item, Index local, const FileAttributes& drive);
    Answer onlyOnComputer(const Item& item, Index local);
    // The entry type with which a file goes to the drive that was replaced on the computer without a later date.
    [[nodiscard]] std::optional<unsigned> replacedType(const Item& item, const FileAttributes& local,
                                                       const FileAttributes& drive);
    // The same for a file that goes there because it may be short: what somebody may have changed on the drive is set
    // aside, as it is of files that are not in doubt.
    [[nodiscard]] unsigned doubtfulType(const Item& item, const FileDecision& decision, Date localDate,
                                        Date driveDate) const;
    // `type`, unless an earlier pass found both sides changed and its copy has not come through since.
    [[nodiscard]] unsigned orBothSides(const Item& item, unsigned type) const;
    Answer decide(const Item& item, Index local, const FileAttributes& drive, Date localDate, Date driveDate);
    bool walk(Frame first);
    Answer nextChild(Frame& frame, Item& child);
    Answer driveOnlyEntries(const Frame& frame);
    void skipFiltered(const Item& item, Index local, const FileAttributes* drive);
    // The drive cannot hold `names`, which end the item's path there: the item has been left out.
    bool nameIsRefused(const Item& item, Index local, std::string_view names);
    [[nodiscard]] Frame frameFor(const Item& folder, Index local);
    [[nodiscard]] Item childOf(const Frame& frame, Index child) const;
    [[nodiscard]] std::optional<FileAttributes> lookOnDrive(const std::string& path, bool& usable);
    [[nodiscard]] Date newestOnDrive(const std::string& package, const FileAttributes& attributes);
    [[nodiscard]] std::string workPath(const std::string& work, const std::string& drive) const;
    [[nodiscard]] ScanEntry entryFor(const Item& item, Index local, unsigned type, unsigned action) const;
    // What is in doubt at or below `path` stays so until it is copied again.
    void noteDoubt(const std::string& path, const FileAttributes& present);
    void noteNotLookedInto(const std::string& path); // where there are doubts at all
    bool add(const ScanEntry& entry);
    void closingLines(const Item& item, bool result) const;

    Services _services;
    NameRule _rule;
    std::optional<Date> _lastSync;
    std::string _driveWork;
    std::string _localWork;
    CompactEntries _owedEntries;
    DateShift _dateShift;
    bool _driveGone = false;
};

} // namespace vt

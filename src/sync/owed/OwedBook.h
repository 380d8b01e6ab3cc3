// Keeps the record of what a drive is owed right over one pass: reads it before the comparison, writes what may be
// lost before the last sync time moves, and settles it after the commit. Thread: the drive's worker. Owns: the record.
// Errors: a record that cannot be written keeps the last sync time from moving, and is logged.
#pragma once

#include "sync/compare/ItemChoice.h"
#include "sync/compare/PassTally.h"
#include "sync/compare/ScanResults.h"
#include "sync/owed/OwedRecord.h"

#include <functional>
#include <string>
#include <vector>

namespace vt {

class OwedBook {
  public:
    // `localPath`: how a sync item reads as a path on the computer.
    OwedBook(OwedRecord record, std::function<std::string(const std::string&)> localPath,
             std::function<void(const std::string&)> logLine)
        : _record(std::move(record)), _localPath(std::move(localPath)), _logLine(std::move(logLine)) {}

    [[nodiscard]] const OwedRecord& record() const { return _record; }
    // `filter` describes what the filter lets through: when it changed, nothing counts as covered any more.
    void beginPass(Date start, const std::vector<std::string>& syncItems, const std::string& filter);
    // What changed up to here has been looked at in every sync item, or is by this pass if it walks them to their end.
    [[nodiscard]] Date coveredThrough() const;
    // The paths that this pass compares.
    void setChosen(std::vector<ChosenItem> chosen) { _chosen = std::move(chosen); }
    // Every path that the pass may still lose is on the computer's disk afterwards.
    [[nodiscard]] bool writeMarks(const ScanResults& results, const PassTally& tally);
    // At the pass's end. `walked`: uncancelled, to its end. `committed`: what was staged has been moved and flushed;
    // otherwise every entry stays owed.
    void settle(const ScanResults& results, const PassTally& tally, bool walked, bool committed);
    void itemsLeftTheList(const std::vector<std::string>& items);

  private:
    void save();

    OwedRecord _record;
    std::function<std::string(const std::string&)> _localPath;
    std::function<void(const std::string&)> _logLine;
    Date _start;
    std::vector<std::string> _syncItems;
    std::vector<ChosenItem> _chosen;
};

} // namespace vt

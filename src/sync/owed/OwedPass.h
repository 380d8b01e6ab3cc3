// Finds the files that the dates on both sides would call present although the drive never got their newest content:
// edits made during the last sync, copies that failed, packages of which something was left out, items that were off
// the list for a while. Only ever asks for a copy to the drive. Thread: the drive's worker. Owns: nothing.
#pragma once

#include "base/Date.h"
#include "platform/FileService.h"
#include "sync/owed/OwedRecord.h"

#include <cstdint>
#include <optional>
#include <string>

namespace vt {

class OwedPass {
  public:
    // `granularity` is that of the drive's dates, in nanoseconds.
    OwedPass(const OwedRecord& record, Date now, std::int64_t granularity)
        : _record(record), _now(now), _granularity(granularity) {}

    // From here on files belong to this sync item.
    void beginItem(const std::string& item) { _coveredThrough = _record.coveredThrough(item); }
    // The drive is owed the file, although the comparison took it for present. `isItsCopy`: the drive's was made of the
    // file as it is now, and only the drive's coarse dates tell them apart.
    [[nodiscard]] bool wants(const std::string& path, const FileAttributes& local, Date driveModified,
                             bool isItsCopy) const;
    // An earlier pass found the file changed on both sides, and its copy has not come through since.
    [[nodiscard]] bool changedOnBothSides(const std::string& path) const { return _record.changedOnBothSides(path); }

  private:
    const OwedRecord& _record;
    Date _now;
    std::int64_t _granularity;
    std::optional<Date> _coveredThrough;
};

} // namespace vt

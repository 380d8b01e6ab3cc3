// Copies on the drive that an earlier run may have left short: what its journal still names, and after a restart of the
// computer whatever changed on the drive since then. Thread: the drive's worker. Owns: nothing; the leftovers outlive
// it.
#pragma once

#include "platform/FileService.h"
#include "sync/journal/CopyJournal.h"

#include <string>
#include <unordered_map>

namespace vt {

class CopyDoubts {
  public:
    explicit CopyDoubts(const CopyJournal::Leftovers& leftovers);
    [[nodiscard]] bool none() const { return _leftovers.files.empty() && _leftovers.groups.empty(); }
    // `path` is the final place on the drive, `present` what lies there.
    [[nodiscard]] bool mayBeShort(const std::string& path, const FileAttributes& present) const;

  private:
    const CopyJournal::Leftovers& _leftovers;
    std::unordered_map<std::string, Date> _since; // the groups' items with their earliest start
};

} // namespace vt

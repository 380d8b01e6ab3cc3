// What was copied of files that had changed just before, exactly: where a drive keeps coarse dates, its copy of such a
// file and one that was changed again a moment later look the same. Kept while the drive is there; what is not known
// here is copied once more. Thread: the drive's worker. Units: absolute raw-byte paths on the drive.
#pragma once

#include "platform/FileService.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <unordered_map>

namespace vt {

class RecentCopies {
  public:
    // Files changed after `since` are kept in mind from now on.
    void beginPass(Date since) { _since = since; }
    void wasCopied(const std::string& path, const FileAttributes& source);
    // The last copy made at `path` is one of this file as it is now.
    [[nodiscard]] bool isCopyOf(const std::string& path, const FileAttributes& local) const;

  private:
    struct Copied {
        std::uint64_t size = 0;
        Date modified;
        Date statusChanged;
    };
    static constexpr std::size_t most = 20'000;

    Date _since;
    std::unordered_map<std::string, Copied> _copies;
};

} // namespace vt

// Told of the items that a merging copy puts on the drive. Thread: the drive's worker.
// Units: absolute raw-byte paths of staged items, as they are before their commit.
#pragma once

#include "platform/FileService.h"

#include <cstdint>
#include <string>

namespace vt {

class StagingWatch {
  public:
    virtual ~StagingWatch() = default;
    virtual void itemWillBeCopied(const std::string& staged) = 0;
    // `source` as it was before; `incomplete`: something inside a package was left out.
    virtual void itemWasCopied(const std::string& staged, const FileAttributes& source, std::uint64_t bytes,
                               bool incomplete) = 0;
};

} // namespace vt

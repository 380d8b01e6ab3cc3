// One number for the state of a whole tree: names, kinds, sizes, dates and permissions. Two looks that differ mean that
// something changed. Reading changes nothing of it. Thread: any. Errors: what cannot be read counts as it stands.
#pragma once

#include "platform/linux/watch/WatchScope.h"

#include <atomic>
#include <cstdint>
#include <string>

namespace vt {

struct TreeDigest {
    std::uint64_t value = 0;
    std::uint64_t folders = 0;
    bool operator==(const TreeDigest&) const = default;
};

// `inodes`: inode numbers and status-change times mean something there, as on every local file system.
// Ends early, with a useless answer, once `stop` is set. `path` may be a folder, a file or nothing.
[[nodiscard]] TreeDigest digestTree(const std::string& path, const WatchScope& scope, bool inodes,
                                    const std::atomic<bool>& stop);

} // namespace vt

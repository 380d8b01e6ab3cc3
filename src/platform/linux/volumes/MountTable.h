// The kernel's mount table, names decoded. Thread: any. Errors: errno values.
#pragma once

#include "base/Result.h"
#include "platform/linux/volumes/DeviceNumber.h"

#include <cstdint>
#include <string>
#include <vector>

namespace vt {

struct MountEntry {
    std::uint64_t id = 0; // reused by the kernel once the mount has gone
    DeviceNumber device;  // as the file system tells it: anonymous (major 0) for btrfs, tmpfs, network and others
    std::string root;     // "/" unless a part of the file system is mounted (bind mount, subvolume)
    std::string target;   // the mount point
    std::string type;     // "ext4", "fuseblk", "fuse.gvfsd-fuse"
    std::string source;   // "/dev/loop0", "//host/share", "tmpfs"
    std::string superOptions;
    bool readOnly = false; // the mount or its file system

    bool operator==(const MountEntry&) const = default;
    // The value of "name=value" among the file system's options; empty when it is not there.
    [[nodiscard]] std::string option(std::string_view name) const;
};

using MountTable = std::vector<MountEntry>;

[[nodiscard]] Result<MountTable> readMountTable();
// Reads until two readings agree: one that runs into a change may miss a mount that is there all the time.
[[nodiscard]] Result<MountTable> readSettledMountTable();
// The mount on top at exactly `target`; null when nothing is mounted there.
[[nodiscard]] const MountEntry* mountAt(const MountTable& table, std::string_view target);
// The deepest mount at or above `path`, judged by names alone: no link is resolved and no disk touched.
[[nodiscard]] const MountEntry* mountAbove(const MountTable& table, std::string_view path);

} // namespace vt

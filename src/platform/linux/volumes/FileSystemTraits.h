// What is known about each type of file system: how it is called here, what lies behind it, and what it can hold.
// Thread: any.
#pragma once

#include "platform/VolumeService.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace vt {

enum class FileSystemNature : std::uint8_t {
    disk,    // on a block device
    memory,  // tmpfs and the like
    network, // a share
    user,    // a program's own file system (FUSE)
    system,  // proc, sysfs, overlays and what else no person would call a drive
};

struct FileSystemTraits {
    std::string_view type;     // as the mount table names it; fuseblk under its content's name, "fuseblk.exfat"
    std::string_view statName; // as statVolume() names it
    std::string_view kind;     // DAVolumeKind
    std::string_view content;  // DAMediaContent
    FileSystemNature nature = FileSystemNature::user;
    bool native = false;      // keeps everything that this computer's own file systems keep
    bool numberIsUuid = true; // false where the volume's number is too small to identify it
    DestinationCapabilities capabilities;
};

// The row of a mount table's type, or one that promises what POSIX does, under the type's own name.
// The views of an unknown type's row refer to `type`.
[[nodiscard]] FileSystemTraits fileSystemTraits(std::string_view type);
// The type of a fuseblk mount, which names no file system: from what the device holds ("exfat", "ntfs", "vfat").
[[nodiscard]] std::string fuseBlockType(std::string_view contentType);

} // namespace vt

// What a tree weighs. No link is followed. Thread: any. Units: bytes, each file rounded up to a multiple of 512.
#pragma once

#include "platform/FileService.h"

#include <cstdint>
#include <functional>
#include <string>

namespace vt {

// A folder that no walk enters: the root of a drive that is served.
using ClosedFolder = std::function<bool(const FileAttributes&)>;

[[nodiscard]] constexpr std::uint64_t roundedUpTo512(std::uint64_t bytes) {
    // A size near the end of the range comes from a hostile volume; it must not wrap to nothing.
    return bytes > ~0ULL - 511 ? ~511ULL : (bytes + 511) & ~511ULL;
}

// 0 for a link, a device and for what cannot be read.
[[nodiscard]] std::uint64_t fastPathSize(FileService& files, const std::string& path, const FileAttributes* known,
                                         const ClosedFolder& closed);
[[nodiscard]] std::uint64_t fastFolderSize(FileService& files, const std::string& path, const ClosedFolder& closed);
// The tree holds nothing but folders. Packages count as folders and are not entered; an error makes it false.
[[nodiscard]] bool isFolderEmpty(FileService& files, const std::string& path);

} // namespace vt

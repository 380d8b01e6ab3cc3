// Texts that the system answers about itself. Thread: any.
// Errors: null when the system has no answer.
#pragma once

#include "platform/FileService.h"
#include "platform/SystemIdentity.h"
#include "platform/VolumeService.h"

#include <optional>
#include <string>

namespace vt {

// "disk2s1" for a volume on a disk; null for a share.
[[nodiscard]] std::optional<std::string> stringWithDevNodeFromMountPoint(VolumeService& volumes,
                                                                         const std::string& mountPoint);
// `path` (absolute) with every link resolved; null when anything on the way is missing.
[[nodiscard]] std::optional<std::string> stringWithRealPath(FileService& files, const std::string& path);
// "0A:1B:2C:3D:4E:5F", or the twelve digits run together.
[[nodiscard]] std::optional<std::string> stringWithPrimaryMACAddressWithColons(const SystemIdentity& system,
                                                                               bool colons);
// "Macintosh" when the host has no name, deliberately.
[[nodiscard]] std::string stringWithHostname(const SystemIdentity& system);
[[nodiscard]] std::string stringWithMachineName(const SystemIdentity& system);
// The volume's label for a mount point, else the last component; an extension is never hidden.
[[nodiscard]] std::string displayNameAtPath(VolumeService& volumes, const std::string& path);

} // namespace vt

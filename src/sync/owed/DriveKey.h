// The name by which this computer knows a drive over mounts and restarts. Thread: any.
#pragma once

#include "platform/VolumeService.h"

#include <optional>
#include <string>

namespace vt {

// The platform's own volume identity where it has one, else a share's address, a folder drive's path, or `uuid`.
[[nodiscard]] std::string driveKey(VolumeService& volumes, const std::string& mountPoint,
                                   const std::optional<std::string>& uuid);

} // namespace vt

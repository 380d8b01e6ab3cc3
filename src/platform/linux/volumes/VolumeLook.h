// What a path tells about the volume that holds it. Thread: any.
// Errors: errno values from lookAtVolume(); it may block on a mount whose server or device hangs.
#pragma once

#include "base/Result.h"
#include "platform/linux/volumes/CurrentMounts.h"
#include "platform/linux/volumes/MountTable.h"

#include <cstdint>
#include <string>

namespace vt {

struct VolumeLook {
    MountEntry mount;
    std::string realPath; // links resolved
    std::uint64_t totalBytes = 0;
    std::uint64_t freeBytes = 0; // for the ordinary user
    bool readOnly = false;
    bool keepsBirthTimes = false;
    bool foldsCase = false; // a folder whose names differ in more than case
};

[[nodiscard]] Result<VolumeLook> lookAtVolume(const std::string& path, CurrentMounts& mounts);

} // namespace vt

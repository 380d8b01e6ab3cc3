// Disk descriptions: what the system is told about one volume. Thread: any; reads udev, sysfs and the device.
#pragma once

#include "base/Value.h"
#include "platform/linux/volumes/FolderDrives.h"
#include "platform/linux/volumes/MountTable.h"

#include <cstdint>
#include <optional>
#include <string>

namespace vt {

// Of a mounted block device. `device` is the real one where the mount tells an anonymous number.
[[nodiscard]] Value::Dictionary describeDisk(const MountEntry& mount, DeviceNumber device);
[[nodiscard]] Value::Dictionary describeFolder(const FolderDrive& drive);
// Of a share mounted at `mountPoint` from "//GUEST:@<address>/<share>".
[[nodiscard]] Value::Dictionary describeShare(const std::string& mountPoint, const std::string& mountedFrom);

// The block device behind a mount; null where there is none.
[[nodiscard]] std::optional<DeviceNumber> blockDeviceOf(const MountEntry& mount);
// The mount's type, a fuseblk mount's under its content's name.
[[nodiscard]] std::string resolvedType(const MountEntry& mount);
// A folder drive's stand-in for a volume UUID: the same for the same path on every run.
[[nodiscard]] std::string folderUuid(const std::string& path);

} // namespace vt

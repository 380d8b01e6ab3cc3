// What the computer knows about a block device: who made it, how large it is, what it holds. From udev's database,
// else sysfs and the device itself; every source may be missing. Thread: any. Units: bytes.
#pragma once

#include "platform/linux/volumes/DeviceNumber.h"

#include <cstdint>
#include <string>

namespace vt {

// Texts are empty when unknown.
struct DeviceFacts {
    std::string vendor;
    std::string model;
    std::string revision;
    std::string fileSystem; // libblkid's name: "ext4", "vfat", "exfat", "ntfs"
    std::string uuid;
    std::string label;
    std::string partitionType; // "0xb" or a GUID
    std::uint64_t size = 0;
    bool internal = true; // false: removable, on a plug, or a disk image
};

[[nodiscard]] DeviceFacts readDeviceFacts(DeviceNumber device);
// Only what the device holds, and only from the cheap source: for the type behind a fuseblk mount.
[[nodiscard]] std::string readContentType(DeviceNumber device);
// The device is there and has a medium.
[[nodiscard]] bool deviceIsPresent(DeviceNumber device);

} // namespace vt

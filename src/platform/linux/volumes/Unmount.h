// Unmounting, by whoever may do it. Thread: any; unmountVolume() blocks until everything is written out.
#pragma once

#include "base/Result.h"
#include "platform/linux/volumes/DeviceNumber.h"

#include <string>

namespace vt {

// EBUSY while anything is open on the volume, EPERM, EINVAL when nothing is mounted there.
[[nodiscard]] Result<void> unmountVolume(const std::string& mountPoint);
// Takes off what a device that was pulled left at `mountPoint`; whoever still has a file of it open keeps that. False:
// the device is there, or what is mounted there is not its own. EPERM: it is, and this user may not.
[[nodiscard]] Result<bool> detachGoneMount(const std::string& mountPoint, DeviceNumber device);

} // namespace vt

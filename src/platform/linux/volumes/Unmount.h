// Unmounting, by whoever may do it. Thread: any; it blocks until everything is written out.
// Errors: EBUSY while anything is open on the volume, EPERM, EINVAL when nothing is mounted there.
#pragma once

#include "base/Result.h"

#include <string>

namespace vt {

[[nodiscard]] Result<void> unmountVolume(const std::string& mountPoint);

} // namespace vt

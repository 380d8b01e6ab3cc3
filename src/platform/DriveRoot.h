// One mounted drive as a place to work in: who it is, a handle that keeps it from being unmounted, and whether it is
// gone. Thread: any; markGone() may come from the main thread while a worker works.
#pragma once

#include "base/Result.h"

#include <string>

namespace vt {

class DriveRoot {
  public:
    virtual ~DriveRoot() = default;
    [[nodiscard]] virtual const std::string& mountPoint() const = 0; // absolute, no trailing "/"
    // The directory handle that all work below the mount point is relative to; ENODEV when the drive is gone, is
    // another one than at the start, or no work is under way on it.
    [[nodiscard]] virtual Result<int> handle() const = 0;
    virtual void markGone() = 0;
    [[nodiscard]] virtual bool isGone() const = 0;
};

} // namespace vt

// Wall and steady time. Thread: any.
#pragma once

#include "base/Date.h"

#include <chrono>

namespace vt {

class Clock {
  public:
    virtual ~Clock() = default;
    [[nodiscard]] virtual Date now() const = 0;                        // wall clock, UTC
    [[nodiscard]] virtual std::chrono::nanoseconds steady() const = 0; // never goes back
};

} // namespace vt

// The kernel's clocks. Thread: any.
#pragma once

#include "platform/Clock.h"

namespace vt {

class LinuxClock : public Clock {
  public:
    [[nodiscard]] Date now() const override;
    [[nodiscard]] std::chrono::nanoseconds steady() const override; // goes on while the computer sleeps
};

} // namespace vt

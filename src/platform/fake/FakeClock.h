// A clock that stands still until it is moved. Thread: any.
#pragma once

#include "platform/Clock.h"

#include <mutex>

namespace vt {

class FakeClock : public Clock {
  public:
    explicit FakeClock(Date now = Date::fromSeconds(1'369'144'987)) : _now(now) {}

    [[nodiscard]] Date now() const override {
        const std::scoped_lock lock(_mutex);
        return _now;
    }
    [[nodiscard]] std::chrono::nanoseconds steady() const override {
        const std::scoped_lock lock(_mutex);
        return _steady;
    }
    // Both clocks go forward together.
    void advance(std::chrono::nanoseconds by) {
        const std::scoped_lock lock(_mutex);
        _now = Date::fromNanoseconds(_now.nanoseconds() + by.count());
        _steady += by;
    }
    // The wall clock is set, as a person or a time server does; the steady one goes on.
    void setNow(Date now) {
        const std::scoped_lock lock(_mutex);
        _now = now;
    }

  private:
    mutable std::mutex _mutex;
    Date _now;
    std::chrono::nanoseconds _steady{0};
};

} // namespace vt

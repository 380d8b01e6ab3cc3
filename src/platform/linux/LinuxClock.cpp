#include "platform/linux/LinuxClock.h"

#include <ctime>

namespace vt {

Date LinuxClock::now() const {
    timespec time{};
    clock_gettime(CLOCK_REALTIME, &time);
    return Date::fromSeconds(time.tv_sec, time.tv_nsec);
}

std::chrono::nanoseconds LinuxClock::steady() const {
    timespec time{};
    clock_gettime(CLOCK_BOOTTIME, &time);
    return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

} // namespace vt

#include "base/LocalTime.h"

#include <mutex>

namespace vt {

std::optional<std::tm> localTime(Date date) {
    const std::time_t seconds = date.wholeSeconds();
    std::tm local{};
    // localtime_r() alone keeps the zone that it found first. The zone is one for all threads.
    static std::mutex zone;
    const std::scoped_lock lock(zone);
    tzset();
    if (localtime_r(&seconds, &local) == nullptr) return std::nullopt;
    return local;
}

} // namespace vt

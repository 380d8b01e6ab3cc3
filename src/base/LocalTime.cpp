#include "base/LocalTime.h"

namespace vt {

std::optional<std::tm> localTime(Date date) {
    const std::time_t seconds = date.wholeSeconds();
    std::tm local{};
    // localtime_r() alone keeps the zone that it found first.
    tzset();
    if (localtime_r(&seconds, &local) == nullptr) return std::nullopt;
    return local;
}

} // namespace vt

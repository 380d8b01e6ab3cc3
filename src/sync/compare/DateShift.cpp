#include "sync/compare/DateShift.h"

#include <cstdlib>

namespace vt {

namespace {
constexpr std::int64_t second = 1'000'000'000;
constexpr std::int64_t quarter = 900 * second;
constexpr std::int64_t mostQuarters = 26 * 4; // from the date line's one side to its other
constexpr std::uint64_t fewestFiles = 3;
} // namespace

void DateShift::note(Date local, Date drive) {
    if (_granularity < second) return;
    ++_all;
    const std::int64_t difference = drive.nanoseconds() - local.nanoseconds();
    const std::int64_t quarters = (difference + (difference < 0 ? -quarter / 2 : quarter / 2)) / quarter;
    const bool whole = std::abs(difference - quarters * quarter) < _granularity;
    if (whole && quarters != 0 && std::abs(quarters) <= mostQuarters) ++_byQuarters[static_cast<int>(quarters)];
}

std::optional<int> DateShift::minutes() const {
    for (const auto& [quarters, count] : _byQuarters)
        if (count >= fewestFiles && count * 10 >= _all * 9) return quarters * 15;
    return std::nullopt;
}

} // namespace vt

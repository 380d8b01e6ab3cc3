// Notices a drive whose dates all differ from the computer's by the same quarters of an hour. A drive that keeps local
// time shows that when a clock or a time zone has changed. Thread: the drive's worker. Units: whole minutes.
#pragma once

#include "base/Date.h"

#include <cstdint>
#include <map>
#include <optional>

namespace vt {

class DateShift {
  public:
    // `granularity` of the drive's dates, nanoseconds. Only drives with dates as coarse as a second keep local time.
    explicit DateShift(std::int64_t granularity) : _granularity(granularity) {}

    // Two files that should be the same.
    void note(Date local, Date drive);
    // By how much the drive's dates are later (or, below zero, earlier); null: no common shift.
    [[nodiscard]] std::optional<int> minutes() const;

  private:
    std::int64_t _granularity;
    std::uint64_t _all = 0;
    std::map<int, std::uint64_t> _byQuarters; // of an hour; 0 and what is no multiple left out
};

} // namespace vt

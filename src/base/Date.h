// A point in time with nanoseconds, as file systems, property lists and the log need it.
// Units: nanoseconds since 1970-01-01 00:00:00 UTC; years 1678 to 2262, so the 1904 epoch is in range.
#pragma once

#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace vt {

class Date {
  public:
    constexpr Date() = default;
    [[nodiscard]] static constexpr Date fromNanoseconds(std::int64_t nanoseconds) { return Date(nanoseconds); }
    // Saturates at the ends of the range, so a hostile time stamp stays a date.
    [[nodiscard]] static Date fromSeconds(std::int64_t seconds, std::int64_t nanoseconds = 0);
    // The date that stands for "no modification date": 1904-01-01 00:00:00 +0000. It is older than every file.
    [[nodiscard]] static Date missing();

    [[nodiscard]] constexpr std::int64_t nanoseconds() const { return _nanoseconds; }
    [[nodiscard]] std::int64_t wholeSeconds() const;    // rounded down
    [[nodiscard]] std::int32_t nanosecondsPart() const; // 0 to 999,999,999
    [[nodiscard]] Date roundedDownToSecond() const;
    // this - other, in seconds.
    [[nodiscard]] double secondsSince(Date other) const;
    [[nodiscard]] Date plusSeconds(double seconds) const;

    // "2013-05-21 14:03:07 +0000"
    [[nodiscard]] std::string standardText() const;
    // "2013-05-21T14:03:07Z"
    [[nodiscard]] std::string iso8601() const;
    // Reads either of the two forms above, with any offset from UTC; null for anything else.
    [[nodiscard]] static std::optional<Date> parse(std::string_view text);

    constexpr auto operator<=>(const Date&) const = default;

  private:
    explicit constexpr Date(std::int64_t nanoseconds) : _nanoseconds(nanoseconds) {}
    std::int64_t _nanoseconds = 0;
};

} // namespace vt

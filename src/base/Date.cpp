#include "base/Date.h"

#include <charconv>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <limits>

namespace vt {
namespace {

constexpr std::int64_t billion = 1'000'000'000;
constexpr std::int64_t epoch1904 = -2'082'844'800; // seconds from 1970 back to 1904

struct Civil {
    int year = 0;
    unsigned month = 0;
    unsigned day = 0;
    unsigned hour = 0;
    unsigned minute = 0;
    unsigned second = 0;
};

Civil civilOf(std::int64_t wholeSeconds) {
    using namespace std::chrono;
    const sys_seconds time{seconds{wholeSeconds}};
    const auto day = floor<days>(time);
    const year_month_day date{day};
    const hh_mm_ss clock{time - day};
    return {static_cast<int>(date.year()),
            static_cast<unsigned>(date.month()),
            static_cast<unsigned>(date.day()),
            static_cast<unsigned>(clock.hours().count()),
            static_cast<unsigned>(clock.minutes().count()),
            static_cast<unsigned>(clock.seconds().count())};
}

std::string formatCivil(std::int64_t wholeSeconds, const char* format) {
    const Civil c = civilOf(wholeSeconds);
    char text[64];
    const int length = std::snprintf(text, sizeof text, "%04d-%02u-%02u%c%02u:%02u:%02u%s", c.year, c.month, c.day,
                                     format[0], c.hour, c.minute, c.second, format + 1);
    return {text, static_cast<std::size_t>(length)};
}

// Takes fields off the front of a date text; any mismatch spoils the whole reading.
class Fields {
  public:
    explicit Fields(std::string_view text) : _rest(text) {}

    int number(std::size_t digits) {
        if (_rest.size() < digits) return fail();
        int value = 0;
        for (std::size_t i = 0; i < digits; ++i) {
            if (_rest[i] < '0' || _rest[i] > '9') return fail();
            value = value * 10 + (_rest[i] - '0');
        }
        _rest.remove_prefix(digits);
        return value;
    }
    void literal(char expected) {
        if (!take(expected)) fail();
    }
    bool take(char wanted) {
        if (_rest.empty() || _rest.front() != wanted) return false;
        _rest.remove_prefix(1);
        return true;
    }
    int fail() {
        _good = false;
        return 0;
    }
    [[nodiscard]] bool good() const { return _good; }
    [[nodiscard]] bool atEnd() const { return _rest.empty(); }

  private:
    std::string_view _rest;
    bool _good = true;
};

// Seconds east of Greenwich: "Z", "+0200" or "+02:00".
int readOffset(Fields& fields) {
    if (fields.take('Z')) return 0;
    int sign = 1;
    if (fields.take('-'))
        sign = -1;
    else
        fields.literal('+');
    const int hours = fields.number(2);
    fields.take(':');
    const int minutes = fields.number(2);
    if (hours > 23 || minutes > 59) fields.fail();
    return sign * (hours * 3600 + minutes * 60);
}

} // namespace

Date Date::fromSeconds(std::int64_t seconds, std::int64_t nanoseconds) {
    std::int64_t total = 0;
    if (__builtin_mul_overflow(seconds, billion, &total) || __builtin_add_overflow(total, nanoseconds, &total))
        total = seconds < 0 ? std::numeric_limits<std::int64_t>::min() : std::numeric_limits<std::int64_t>::max();
    return Date(total);
}

Date Date::missing() {
    return fromSeconds(epoch1904);
}

std::int64_t Date::wholeSeconds() const {
    return _nanoseconds / billion - (_nanoseconds % billion < 0 ? 1 : 0);
}

std::int32_t Date::nanosecondsPart() const {
    const std::int64_t rest = _nanoseconds % billion;
    return static_cast<std::int32_t>(rest < 0 ? rest + billion : rest);
}

Date Date::roundedDownToSecond() const {
    return fromSeconds(wholeSeconds());
}

double Date::secondsSince(Date other) const {
    // Whole seconds and fractions apart: the difference of two far dates does not fit 64 bits of nanoseconds.
    return static_cast<double>(wholeSeconds() - other.wholeSeconds()) +
           static_cast<double>(nanosecondsPart() - other.nanosecondsPart()) / static_cast<double>(billion);
}

Date Date::plusSeconds(double seconds) const {
    if (std::isnan(seconds)) return *this;
    const double limit = static_cast<double>(std::numeric_limits<std::int64_t>::max()) / static_cast<double>(billion);
    if (seconds >= 2 * limit) return Date(std::numeric_limits<std::int64_t>::max());
    if (seconds <= -2 * limit) return Date(std::numeric_limits<std::int64_t>::min());
    const double whole = std::floor(seconds);
    const auto part = static_cast<std::int64_t>(std::llround((seconds - whole) * static_cast<double>(billion)));
    return fromSeconds(wholeSeconds() + static_cast<std::int64_t>(whole), part + nanosecondsPart());
}

std::string Date::standardText() const {
    return formatCivil(wholeSeconds(), "  +0000");
}

std::string Date::iso8601() const {
    return formatCivil(wholeSeconds(), "TZ");
}

std::optional<Date> Date::parse(std::string_view text) {
    Fields fields(text);
    const int year = fields.number(4);
    fields.literal('-');
    const int month = fields.number(2);
    fields.literal('-');
    const int day = fields.number(2);
    const bool standard = fields.take(' ');
    if (!standard) fields.literal('T');
    const int hour = fields.number(2);
    fields.literal(':');
    const int minute = fields.number(2);
    fields.literal(':');
    const int second = fields.number(2);
    if (standard) fields.literal(' ');
    const int offset = readOffset(fields);
    if (!fields.good() || !fields.atEnd() || hour > 23 || minute > 59 || second > 60) return std::nullopt;

    using namespace std::chrono;
    const year_month_day date{std::chrono::year{year}, std::chrono::month{static_cast<unsigned>(month)},
                              std::chrono::day{static_cast<unsigned>(day)}};
    if (!date.ok()) return std::nullopt;
    const std::int64_t days = sys_days{date}.time_since_epoch().count();
    return fromSeconds(days * 86400 + hour * 3600 + minute * 60 + second - offset);
}

} // namespace vt

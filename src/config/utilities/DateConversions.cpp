#include "config/utilities/DateConversions.h"

namespace vt {

Date NSDateForUTCDateTime(std::uint64_t dateTime) {
    return Date::fromSeconds(Date::missing().wholeSeconds() + static_cast<std::int64_t>(dateTime >> 16U));
}

std::uint64_t UTCDateForNSDate(std::optional<Date> date) {
    if (!date || *date <= Date::missing()) return 0;
    return static_cast<std::uint64_t>(date->secondsSince(Date::missing()) * 65536.0);
}

Date syncBackupDateFor(const std::string&) {
    return Date::missing();
}

void setSyncBackupDateTo(Date, const std::string&) {}

} // namespace vt

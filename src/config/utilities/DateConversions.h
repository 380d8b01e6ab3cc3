// The program's 64-bit date-time value and the backup-date hooks. Thread: any.
// Units: 1/65536 seconds since 1904-01-01 00:00:00 +0000, unsigned: 48 bits of seconds, 16 bits of fraction.
#pragma once

#include "base/Date.h"

#include <cstdint>
#include <optional>
#include <string>

namespace vt {

// The fraction is dropped.
[[nodiscard]] Date NSDateForUTCDateTime(std::uint64_t dateTime);
// The fraction is kept; no date and a date before 1904 are 0.
[[nodiscard]] std::uint64_t UTCDateForNSDate(std::optional<Date> date);

// No date of a backup is stored for any file: always the 1904 date, deliberately, so that every file reads as never
// backed up.
[[nodiscard]] Date syncBackupDateFor(const std::string& path);
// Stores nothing, deliberately: called after each item made on a drive.
void setSyncBackupDateTo(Date date, const std::string& path);

} // namespace vt

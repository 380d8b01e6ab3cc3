// Reads the size texts of the disk utility: a number, a blank and a unit. Thread: any. Units: bytes.
#pragma once

#include <cstdint>
#include <string_view>

namespace vt {

// "1.5 GB" is 1,610,612,736: powers of 1024, one decimal place kept; no unit is bytes, no number 0.
[[nodiscard]] std::int64_t parseDiskSize(std::string_view text);
// exFAT volumes are served from system version 10.6.5 on; only the first two or three numbers are looked at, so a
// version 11.0.1 is answered no.
[[nodiscard]] bool systemVersionAllowsExFat(std::string_view productVersion);

} // namespace vt

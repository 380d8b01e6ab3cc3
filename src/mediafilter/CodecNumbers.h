// The codec numbers that a characterisation holds, reduced from the four-character format codes of a container.
// Thread: any.
#pragma once

#include "base/FourCharCode.h"

#include <cstdint>

namespace vt {

namespace codecnumbers {
inline constexpr std::int32_t unknown = 0;
inline constexpr std::int32_t pngVideo = 20;
} // namespace codecnumbers

// `unknown` for a code that is not in the table.
[[nodiscard]] std::int32_t videoCodecNumber(FourCharCode code);
[[nodiscard]] std::int32_t audioCodecNumber(FourCharCode code);

// What people call a codec ("H.264"); null for a number that no format code has.
[[nodiscard]] const char* videoCodecName(std::int32_t number);
[[nodiscard]] const char* audioCodecName(std::int32_t number);

} // namespace vt

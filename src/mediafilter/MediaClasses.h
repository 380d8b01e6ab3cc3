// The media classes of players and the name lists of each. Built before main() runs, read-only afterwards. Thread: any.
#pragma once

#include "mediafilter/VTFileValidator.h"

#include <cstdint>

namespace vt {

enum class VTMediaClass : std::int32_t {
    unlimited = 0,
    appleLow = 1,
    appleHigh = 2,
    appleUnlimited = 3,
    androidIcs = 4,
    kindleFire = 5,
    kindleFireHd = 6,
    windowsRt = 7,
};

enum class MediaKind : std::uint8_t { movies, music, pictures, documents };
inline constexpr MediaKind mediaKinds[] = {MediaKind::movies, MediaKind::music, MediaKind::pictures,
                                           MediaKind::documents};

// For people: "Apple, high"; "movies".
[[nodiscard]] const char* mediaClassName(VTMediaClass mediaClass);
[[nodiscard]] const char* mediaKindName(MediaKind kind);

// The class of a drive's device filter; every value outside 1 to 8 is unlimited.
[[nodiscard]] VTMediaClass mediaClassForDeviceFilter(std::int32_t filter);
[[nodiscard]] const ContainerValidatorList& mediaList(VTMediaClass mediaClass, MediaKind kind);

} // namespace vt

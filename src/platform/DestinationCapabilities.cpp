#include "base/Paths.h"
#include "platform/VolumeService.h"

namespace vt {

bool DestinationCapabilities::holdsName(std::string_view name) const {
    if (name.find_first_of(reservedCharacters) != std::string_view::npos) return false;
    if (!holdsTrailingDots && name.ends_with('.')) return false;
    return holdsAnyBytes || paths::isValidUtf8(name);
}

} // namespace vt

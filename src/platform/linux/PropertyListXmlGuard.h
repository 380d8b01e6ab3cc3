// Looks an XML property list over before the library parses it, because the library takes malformed numbers, dates and
// base64 for something else, loses keys without a value, and cannot bear deep or entity-laden input. Thread: any.
#pragma once

#include "base/Result.h"

#include <string_view>

namespace vt::propertylist {

// Errors: EINVAL with what is wrong and in which line.
[[nodiscard]] Result<void> guardXml(std::string_view bytes);

} // namespace vt::propertylist

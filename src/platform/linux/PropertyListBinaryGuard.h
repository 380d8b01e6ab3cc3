// Looks a binary property list over before the library parses it: the table must fit, and what it describes must end,
// not nest too deeply and not unfold into far more than was read. Thread: any.
#pragma once

#include "base/Result.h"

#include <string_view>

namespace vt::propertylist {

// Errors: EINVAL with what is wrong.
[[nodiscard]] Result<void> guardBinary(std::string_view bytes);

} // namespace vt::propertylist

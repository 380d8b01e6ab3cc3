// Date and time of day where the computer is. Thread: any.
#pragma once

#include "base/Date.h"

#include <ctime>
#include <optional>

namespace vt {

// In the time zone of this moment: it is looked up anew, because a computer travels while the agent runs. Null for a
// date that no calendar of the system reaches.
[[nodiscard]] std::optional<std::tm> localTime(Date date);

} // namespace vt

// Starts programs without a shell, found by $PATH. Thread: any.
// Errors: errno values when the program cannot be started.
#pragma once

#include "base/Result.h"

#include <string>
#include <vector>

namespace vt {

// Starts it in a session of its own and does not wait; its standard streams are /dev/null.
[[nodiscard]] Result<void> startDetached(const std::vector<std::string>& command);
// Its exit code, 128 + the signal when a signal ended it.
[[nodiscard]] Result<int> runAndWait(const std::vector<std::string>& command);

} // namespace vt

// Names of bus errors for the errors of the system. Thread: any.
#pragma once

#include "base/Result.h"

#include <QString>

namespace vt::qtbus {

// "com.corvane.vantaro.Error.<name>"
[[nodiscard]] QString errorName(const char* name);
// By the error's code; "Failed" for every code that has no name of its own.
[[nodiscard]] QString errorNameFor(const Error& error);

} // namespace vt::qtbus

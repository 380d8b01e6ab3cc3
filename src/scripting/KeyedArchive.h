// A value as a keyed archive: the property list that archivers of object graphs write, with "$archiver", "$version",
// "$top" (its "root") and "$objects", linked by unique ids. Thread: any.
#pragma once

#include "base/Value.h"

namespace vt {

// Dictionaries, arrays, strings, numbers, booleans, dates and data; a null becomes "$null".
[[nodiscard]] Value::Dictionary keyedArchive(const Value& root);

} // namespace vt

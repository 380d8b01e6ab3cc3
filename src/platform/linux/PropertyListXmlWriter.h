// Writes a value as an XML property list: keys sorted, tabs for indents, one value a line. Thread: any.
// The library's own writer turns large numbers negative and cuts dates, so this one is used instead.
#pragma once

#include "base/Value.h"

#include <string>

namespace vt::propertylist {

// The value has passed checkWritable().
[[nodiscard]] std::string writeXml(const Value& value);

} // namespace vt::propertylist

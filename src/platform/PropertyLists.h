// Property lists as bytes. Thread: any.
// Errors: EINVAL with a text that says what is wrong and where; hostile input (size, depth, entities) is refused before
// it is parsed.
#pragma once

#include "base/Result.h"
#include "base/Value.h"

#include <string>
#include <string_view>

namespace vt {

class PropertyLists {
  public:
    virtual ~PropertyLists() = default;
    [[nodiscard]] virtual Result<Value> parse(std::string_view bytes) = 0; // XML or binary
    [[nodiscard]] virtual Result<std::string>
    xml(const Value& value) = 0; // EINVAL for text that is not UTF-8, null, Uid
    [[nodiscard]] virtual Result<std::string> binary(const Value& value) = 0;
};

} // namespace vt

// Reads dictionaries that came from a property list: the value of the named kind, else null. Nothing is converted.
// Thread: any. Owns: the pointers live as long as the dictionary is unchanged.
#pragma once

#include "base/Value.h"

#include <optional>
#include <string>
#include <string_view>

namespace vt {

[[nodiscard]] const Value::Array* arrayForKey(const Value::Dictionary& dictionary, std::string_view key);
[[nodiscard]] const Value::Data* dataForKey(const Value::Dictionary& dictionary, std::string_view key);
[[nodiscard]] std::optional<Date> dateForKey(const Value::Dictionary& dictionary, std::string_view key);
// A boolean is a number too.
[[nodiscard]] const Value* numberForKey(const Value::Dictionary& dictionary, std::string_view key);
[[nodiscard]] const std::string* stringForKey(const Value::Dictionary& dictionary, std::string_view key);
[[nodiscard]] const Value::Dictionary* dictionaryForKey(const Value::Dictionary& dictionary, std::string_view key);
// The one getter without a kind test, deliberately: a number or a text such as "YES" answers for itself.
[[nodiscard]] bool boolForKey(const Value::Dictionary& dictionary, std::string_view key);
void setBoolForKey(Value::Dictionary& dictionary, bool value, std::string_view key);

} // namespace vt

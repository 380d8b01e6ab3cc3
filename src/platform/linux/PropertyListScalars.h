// Whether the text of an XML scalar is one, as a whole. Thread: any.
#pragma once

#include <string_view>

namespace vt::propertylist {

[[nodiscard]] bool isInteger(std::string_view text); // -2^63 to 2^64-1, decimal or "0x"
[[nodiscard]] bool isReal(std::string_view text);    // "nan" and "infinity" too
[[nodiscard]] bool isDate(std::string_view text);    // "2013-05-21T14:03:07Z" and nothing else
[[nodiscard]] bool isBase64(std::string_view text);  // white space anywhere
// Every "&#…;" names a character that a text may hold.
[[nodiscard]] bool hasGoodReferences(std::string_view text);

} // namespace vt::propertylist

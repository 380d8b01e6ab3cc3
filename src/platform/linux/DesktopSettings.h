// Small text files of assignments that the desktop keeps: NAME=value or NAME="value", "#" begins a comment line.
// Thread: any.
#pragma once

#include <map>
#include <string>
#include <string_view>

namespace vt {

// The last assignment of a name wins; quotes are taken off and backslashes inside them resolved.
[[nodiscard]] std::map<std::string, std::string> readAssignments(std::string_view text);

} // namespace vt

// Finds other users of a drive whose copies would land in this user's folders. Thread: any; pure.
#pragma once

#include "base/Value.h"

#include <string>
#include <vector>

namespace vt {

// One line each: another host-user identifier with this computer's name, and an item outside the home folders that
// several list.
[[nodiscard]] std::vector<std::string> nameClashes(const Value::Dictionary& configuration,
                                                   const std::string& hostUserId, const std::string& machineName);

} // namespace vt

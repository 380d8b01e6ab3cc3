// Opens folders by paths of any length and tells what stands in them. Thread: any. Errors: errno values.
#pragma once

#include "platform/linux/UniqueFd.h"

#include <functional>
#include <string>
#include <string_view>

namespace vt {

// For reading; a link as the last component is refused with ELOOP or ENOTDIR unless `followLink`. Not open: errno says
// why.
[[nodiscard]] UniqueFd openFolder(const std::string& path, bool followLink);

enum class EntryKind : unsigned char { folder, other };
// Every name but "." and ".."; false from `entry` ends it. Only a file system that keeps no kinds costs a look at each.
// 0 or the errno that ended the reading.
[[nodiscard]] int forEachEntry(int folder, const std::function<bool(const char* name, EntryKind)>& entry);

} // namespace vt

// The trash folders of the freedesktop trash specification: which one an item belongs to, and the move into it.
// Thread: any. Errors: errno values with the path in question.
#pragma once

#include "base/Result.h"

#include <cstdint>
#include <string>

namespace vt {

struct TrashFolder {
    std::string path; // holds "files" and "info"
    std::string top;  // paths in its info files are relative to this; empty: absolute
};

// Made when it is missing, for this user alone. Never a link, never somebody else's folder.
[[nodiscard]] Result<TrashFolder> trashFolderFor(const std::string& item, const std::string& dataHome,
                                                 std::uint32_t userId);
// Writes the info file, then moves the item with one rename; a failure leaves the item where it is.
[[nodiscard]] Result<void> moveToTrash(const std::string& item, const TrashFolder& trash);

} // namespace vt

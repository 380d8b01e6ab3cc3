// The names in an open folder, in the file system's order. Thread: any. Errors: errno values, 0 for success.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace vt {

enum class NameKind : unsigned char { unknown, file, folder, link, other };

struct FolderName {
    std::string name; // raw bytes
    NameKind kind = NameKind::unknown;
    std::uint64_t inode = 0;
};

// Reads from where the handle stands; "." and ".." are left out.
[[nodiscard]] int readNames(int folder, std::vector<FolderName>& names);

} // namespace vt

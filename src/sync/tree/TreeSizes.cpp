#include "sync/tree/TreeSizes.h"

#include "base/Paths.h"
#include "config/utilities/Packages.h"

#include <optional>
#include <vector>

namespace vt {

std::uint64_t fastPathSize(FileService& files, const std::string& path, const FileAttributes* known,
                           const ClosedFolder& closed) {
    std::optional<FileAttributes> looked;
    if (known == nullptr) {
        const auto attributes = files.attributes(path);
        if (!attributes) return 0;
        looked = *attributes;
        known = &*looked;
    }
    if (known->isDirectory()) return fastFolderSize(files, path, closed);
    return known->isRegular() ? roundedUpTo512(known->size) : 0;
}

std::uint64_t fastFolderSize(FileService& files, const std::string& path, const ClosedFolder& closed) {
    std::uint64_t total = 0;
    std::vector<std::string> folders{path}; // a loop, because a tree may be deeper than the stack
    while (!folders.empty()) {
        const std::string folder = std::move(folders.back());
        folders.pop_back();
        const auto entries = files.list(folder);
        if (!entries) continue;
        for (const auto& entry : *entries) {
            if (entry.attributes.isRegular()) total += roundedUpTo512(entry.attributes.size);
            if (!entry.attributes.isDirectory() || (closed && closed(entry.attributes))) continue;
            folders.push_back(paths::join(folder, entry.name));
        }
    }
    return total;
}

bool isFolderEmpty(FileService& files, const std::string& path) {
    std::vector<std::string> folders{path};
    while (!folders.empty()) {
        const std::string folder = std::move(folders.back());
        folders.pop_back();
        const auto entries = files.list(folder);
        if (!entries) return false;
        for (const auto& entry : *entries) {
            if (!entry.attributes.isDirectory()) return false;
            if (!isPackageName(entry.name)) folders.push_back(paths::join(folder, entry.name));
        }
    }
    return true;
}

} // namespace vt

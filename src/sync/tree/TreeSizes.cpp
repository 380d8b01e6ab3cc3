#include "sync/tree/TreeSizes.h"

#include "config/utilities/Packages.h"
#include "config/utilities/TreeWalk.h"

#include <optional>

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
    walkTree(files, path, [&](const std::string&, const DirectoryEntry& entry) {
        if (entry.attributes.isRegular()) total += roundedUpTo512(entry.attributes.size);
        const bool isClosed = closed && entry.attributes.isDirectory() && closed(entry.attributes);
        return entry.attributes.isDirectory() && !isClosed ? TreeStep::enter : TreeStep::pass;
    });
    return total;
}

bool isFolderEmpty(FileService& files, const std::string& path) {
    return walkTree(files, path, [](const std::string&, const DirectoryEntry& entry) {
        if (!entry.attributes.isDirectory()) return TreeStep::stop;
        return isPackageName(entry.name) ? TreeStep::pass : TreeStep::enter;
    });
}

} // namespace vt

#include "platform/linux/watch/TreeDigest.h"

#include "base/Paths.h"
#include "platform/linux/watch/FolderAccess.h"

#include <cerrno>
#include <fcntl.h>
#include <functional>
#include <sys/stat.h>
#include <vector>

namespace vt {

namespace {

std::uint64_t mixed(std::uint64_t value, std::uint64_t more) {
    value = (value ^ more) * 0xbf58476d1ce4e5b9ULL;
    return value ^ (value >> 29U);
}

std::uint64_t digestOf(const struct stat& status, bool inodes) {
    std::uint64_t value = mixed(status.st_mode, status.st_uid);
    value = mixed(value, status.st_gid);
    // A folder's own dates and size follow from its entries, also from those that do not count.
    if (S_ISDIR(status.st_mode)) return value;
    value = mixed(value, static_cast<std::uint64_t>(status.st_size));
    value = mixed(value, static_cast<std::uint64_t>(status.st_mtim.tv_sec));
    value = mixed(value, static_cast<std::uint64_t>(status.st_mtim.tv_nsec));
    if (!inodes) return value;
    value = mixed(value, status.st_ino);
    value = mixed(value, static_cast<std::uint64_t>(status.st_ctim.tv_sec));
    return mixed(value, static_cast<std::uint64_t>(status.st_ctim.tv_nsec));
}

} // namespace

TreeDigest digestTree(const std::string& path, const WatchScope& scope, bool inodes, const std::atomic<bool>& stop) {
    TreeDigest digest;
    struct stat status {};
    if (::lstat(path.c_str(), &status) != 0 && errno != ENAMETOOLONG) {
        digest.value = static_cast<std::uint64_t>(errno);
        return digest;
    }
    digest.value = mixed(1, digestOf(status, inodes));
    std::vector<std::string> waiting;
    if (S_ISDIR(status.st_mode) || path.size() >= 4096) waiting.push_back(path);
    while (!waiting.empty() && !stop) {
        const std::string folder = std::move(waiting.back());
        waiting.pop_back();
        const UniqueFd opened = openFolder(folder, false);
        const std::uint64_t place = std::hash<std::string>()(folder);
        ++digest.folders;
        if (!opened.isOpen()) {
            digest.value += mixed(place, static_cast<std::uint64_t>(errno));
            continue;
        }
        const int ended = forEachEntry(opened.get(), [&](const char* name, EntryKind) {
            if (scope.leavesOut(name)) {
                const std::string full = paths::join(folder, name);
                if (scope.isIgnored(full) || scope.isLeftOut(full)) return true;
            }
            struct stat found {};
            if (::fstatat(opened.get(), name, &found, AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT) != 0) return !stop;
            // A sum: the order in which a file system lists its entries does not count.
            digest.value += mixed(mixed(place, std::hash<std::string_view>()(name)), digestOf(found, inodes));
            if (S_ISDIR(found.st_mode)) waiting.push_back(paths::join(folder, name));
            return !stop;
        });
        digest.value += mixed(place, static_cast<std::uint64_t>(ended));
    }
    return digest;
}

} // namespace vt

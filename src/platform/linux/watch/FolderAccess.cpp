#include "platform/linux/watch/FolderAccess.h"

#include <cerrno>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>

namespace vt {

namespace {

constexpr std::size_t longestStep = 4000; // bytes; the kernel takes 4,095 at a time

// Steps down in pieces that the kernel accepts.
UniqueFd openInSteps(const std::string& path, int lastFlags) {
    UniqueFd folder(::open("/", O_PATH | O_DIRECTORY | O_CLOEXEC));
    std::size_t at = 1;
    while (folder.isOpen() && at < path.size()) {
        std::size_t end = path.size();
        if (end - at > longestStep) {
            end = path.rfind('/', at + longestStep);
            if (end == std::string::npos || end < at) return errno = ENAMETOOLONG, UniqueFd();
        }
        const bool last = end == path.size();
        folder = UniqueFd(::openat(folder.get(), path.substr(at, end - at).c_str(),
                                   last ? lastFlags : O_PATH | O_DIRECTORY | O_CLOEXEC));
        at = end + 1;
    }
    return folder;
}

} // namespace

UniqueFd openFolder(const std::string& path, bool followLink) {
    const int flags = O_RDONLY | O_DIRECTORY | O_CLOEXEC | O_NONBLOCK | (followLink ? 0 : O_NOFOLLOW);
    if (path.size() > longestStep) return openInSteps(path, flags);
    return UniqueFd(::open(path.c_str(), flags));
}

int forEachEntry(int folder, const std::function<bool(const char* name, EntryKind)>& entry) {
    const int own = ::openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (own < 0) return errno;
    DIR* const opened = ::fdopendir(own);
    if (opened == nullptr) {
        const int why = errno;
        ::close(own);
        return why;
    }
    const std::unique_ptr<DIR, int (*)(DIR*)> directory(opened, ::closedir);
    for (;;) {
        errno = 0;
        const dirent* const found = ::readdir(directory.get());
        if (found == nullptr) return errno;
        const std::string_view name = found->d_name;
        if (name == "." || name == "..") continue;
        EntryKind kind = found->d_type == DT_DIR ? EntryKind::folder : EntryKind::other;
        if (found->d_type == DT_UNKNOWN) {
            struct stat status {};
            if (::fstatat(folder, found->d_name, &status, AT_SYMLINK_NOFOLLOW) == 0 && S_ISDIR(status.st_mode))
                kind = EntryKind::folder;
        }
        if (!entry(found->d_name, kind)) return 0;
    }
}

} // namespace vt

#include "platform/linux/FolderStack.h"

#include <cassert>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>

namespace vt {

namespace {
constexpr std::size_t openLevels = 32;
} // namespace

FolderStack::FolderStack(UniqueFd top, beneath::Mounts mounts) : _mounts(mounts) {
    _levels.push_back({std::move(top), 0, 0});
}

int FolderStack::enter(const char* name) {
    Level next;
    if (const int code = beneath::openFolder(current(), name, _mounts, next.folder); code != 0) return code;
    if (_levels.size() >= openLevels) {
        Level& oldest = _levels[_levels.size() - openLevels];
        if (oldest.folder.isOpen()) {
            struct stat status {};
            if (::fstat(oldest.folder.get(), &status) != 0) return errno;
            oldest.device = status.st_dev;
            oldest.inode = status.st_ino;
            oldest.folder.reset();
        }
    }
    _levels.push_back(std::move(next));
    return 0;
}

int FolderStack::leave() {
    assert(_levels.size() > 1);
    const Level left = std::move(_levels.back());
    _levels.pop_back();
    Level& above = _levels.back();
    if (above.folder.isOpen()) return 0;
    UniqueFd folder;
    const int code = beneath::openAt(left.folder.get(), "..", O_RDONLY | O_DIRECTORY, 0, folder);
    if (code != 0) return code;
    struct stat status {};
    if (::fstat(folder.get(), &status) != 0) return errno;
    if (status.st_dev != above.device || status.st_ino != above.inode) return ESTALE;
    above.folder = std::move(folder);
    return 0;
}

} // namespace vt

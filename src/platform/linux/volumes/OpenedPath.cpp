#include "platform/linux/volumes/OpenedPath.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>
#include <vector>

namespace vt {

Result<OpenedPath> OpenedPath::open(const std::string& path) {
    OpenedPath opened;
    opened._descriptor = UniqueFd(::open(path.c_str(), O_PATH | O_CLOEXEC));
    if (!opened._descriptor.isOpen()) return Error::fromErrno(errno, path);
    struct statx status = {};
    const unsigned wanted = STATX_TYPE | STATX_INO | STATX_BTIME | STATX_MNT_ID;
    if (::statx(opened.descriptor(), "", AT_EMPTY_PATH, wanted, &status) != 0) return Error::fromErrno(errno, path);
    opened._isDirectory = S_ISDIR(status.stx_mode);
    opened._hasBirthTime = (status.stx_mask & STATX_BTIME) != 0;
    opened._inode = status.stx_ino;
    opened._device = gnu_dev_makedev(status.stx_dev_major, status.stx_dev_minor);
    if ((status.stx_mask & STATX_MNT_ID) != 0) opened._mountId = status.stx_mnt_id;
    return opened;
}

std::string OpenedPath::realPath() const {
    const std::string link = "/proc/self/fd/" + std::to_string(descriptor());
    std::vector<char> buffer(4096);
    for (;;) {
        const ssize_t size = ::readlink(link.c_str(), buffer.data(), buffer.size());
        if (size < 0) return {};
        if (static_cast<std::size_t>(size) < buffer.size()) return {buffer.data(), static_cast<std::size_t>(size)};
        if (buffer.size() > 65536) return {};
        buffer.resize(buffer.size() * 2);
    }
}

const MountEntry* OpenedPath::mount(const MountTable& table) const {
    if (_mountId == 0) return mountAbove(table, realPath());
    for (const MountEntry& entry : table)
        if (entry.id == _mountId) return &entry;
    return nullptr;
}

} // namespace vt

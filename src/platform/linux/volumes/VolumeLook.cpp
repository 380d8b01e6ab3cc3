#include "platform/linux/volumes/VolumeLook.h"

#include "base/Paths.h"
#include "platform/linux/volumes/OpenedPath.h"

#include <cerrno>
#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/statvfs.h>
#include <sys/vfs.h>
#include <utility>

namespace vt {

namespace {

// ext4 and f2fs fold case per folder.
bool foldsCase(const OpenedPath& opened) {
    if (!opened.isDirectory()) return false;
    const std::string self = "/proc/self/fd/" + std::to_string(opened.descriptor());
    const UniqueFd folder(::open(self.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC | O_NONBLOCK));
    int flags = 0;
    return folder.isOpen() && ::ioctl(folder.get(), FS_IOC_GETFLAGS, &flags) == 0 && (flags & FS_CASEFOLD_FL) != 0;
}

// The mount that holds an opened item, which therefore stands in any table that is read later.
Result<MountEntry> mountOf(const OpenedPath& opened, const std::string& path, CurrentMounts& mounts) {
    const auto look = [&]() -> Result<MountEntry> {
        const auto table = mounts.get();
        if (!table) return table.error();
        if (const MountEntry* const mount = opened.mount(**table)) return *mount;
        return Error{ENODEV, Disposition::driveGone, path, "no mount holds it any more"};
    };
    auto mount = look();
    if (!mount || paths::isAtOrBelow(opened.realPath(), mount->target)) return mount;
    mounts.forget();
    return look();
}

} // namespace

Result<VolumeLook> lookAtVolume(const std::string& path, CurrentMounts& mounts) {
    const auto opened = OpenedPath::open(path);
    if (!opened) return opened.error();
    auto mount = mountOf(*opened, path, mounts);
    if (!mount) return mount.error();
    struct statvfs space = {};
    if (::fstatvfs(opened->descriptor(), &space) != 0) return Error::fromErrno(errno, path);
    VolumeLook look;
    look.mount = std::move(*mount);
    look.realPath = opened->realPath();
    look.totalBytes = std::uint64_t{space.f_blocks} * space.f_frsize;
    look.freeBytes = std::uint64_t{space.f_bavail} * space.f_frsize;
    look.readOnly = (space.f_flag & ST_RDONLY) != 0; // the mount's and the file system's
    look.keepsBirthTimes = opened->hasBirthTime();
    look.foldsCase = foldsCase(*opened);
    return look;
}

} // namespace vt

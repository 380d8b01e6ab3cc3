#include "platform/linux/volumes/VolumeLook.h"

#include "platform/linux/volumes/OpenedPath.h"

#include <cerrno>
#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/statvfs.h>
#include <sys/vfs.h>

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

} // namespace

Result<VolumeLook> lookAtVolume(const std::string& path, CurrentMounts& mounts) {
    const auto opened = OpenedPath::open(path);
    if (!opened) return opened.error();
    const auto table = mounts.get(); // asked last, so that it knows the mount that the opened item is held by
    if (!table) return table.error();
    const MountEntry* const mount = opened->mount(**table);
    if (mount == nullptr) return Error{ENODEV, Disposition::driveGone, path, "no mount holds it any more"};
    struct statvfs space = {};
    if (::fstatvfs(opened->descriptor(), &space) != 0) return Error::fromErrno(errno, path);
    VolumeLook look;
    look.mount = *mount;
    look.realPath = opened->realPath();
    look.totalBytes = std::uint64_t{space.f_blocks} * space.f_frsize;
    look.freeBytes = std::uint64_t{space.f_bavail} * space.f_frsize;
    look.readOnly = (space.f_flag & ST_RDONLY) != 0; // the mount's and the file system's
    look.keepsBirthTimes = opened->hasBirthTime();
    look.foldsCase = foldsCase(*opened);
    return look;
}

} // namespace vt

#include "platform/linux/volumes/Unmount.h"

#include "base/Paths.h"
#include "platform/linux/Spawn.h"
#include "platform/linux/volumes/MountTable.h"
#include "platform/linux/volumes/NetworkShares.h"

#include <cerrno>
#include <sys/mount.h>

namespace vt {

namespace {

// The desktop's share mounts are entries of one mount: its own program takes them off.
bool isDesktopShare(const std::string& path) {
    const auto table = readMountTable();
    const MountEntry* mount = table ? mountAbove(*table, path) : nullptr;
    return mount && mount->type == "fuse.gvfsd-fuse" && desktopShareFolder(path, mount->target) == path;
}

Result<void> withProgram(const std::vector<std::string>& command, const std::string& path, int failure) {
    const auto status = runAndWait(command);
    if (!status) return status.error();
    if (*status == 0) return {};
    return Error::fromErrno(failure, path);
}

} // namespace

Result<void> unmountVolume(const std::string& mountPoint) {
    if (isDesktopShare(mountPoint)) return withProgram({"gio", "mount", "-u", mountPoint}, mountPoint, EBUSY);
    if (::umount2(mountPoint.c_str(), UMOUNT_NOFOLLOW) == 0) return {};
    const int code = errno;
    if (code != EPERM) return Error::fromErrno(code, mountPoint);
    // What the user or the desktop mounted, the system's own program may unmount on the user's behalf.
    return withProgram({"umount", "--", mountPoint}, mountPoint, EPERM);
}

} // namespace vt

#include "platform/linux/volumes/Unmount.h"

#include "base/Paths.h"
#include "platform/linux/Spawn.h"
#include "platform/linux/UniqueFd.h"
#include "platform/linux/volumes/DeviceFacts.h"
#include "platform/linux/volumes/MountTable.h"
#include "platform/linux/volumes/NetworkShares.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

namespace vt {

namespace {

// The desktop's share mounts are entries of one mount: its own program takes them off.
bool isDesktopShare(const std::string& path) {
    const auto table = readMountTable();
    const MountEntry* mount = table ? mountAbove(*table, path) : nullptr;
    return mount && mount->type == "fuse.gvfsd-fuse" && desktopShareFolder(path, mount->target) == path;
}

// The root of the device's mount at exactly `mountPoint`, held by a descriptor, so that nothing else can take its place
// before it is unmounted. The device itself is not asked: it may be gone.
UniqueFd openMountOf(const std::string& mountPoint, DeviceNumber device) {
    UniqueFd root(::open(mountPoint.c_str(), O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    struct statx status = {};
    const int flags = AT_EMPTY_PATH | AT_STATX_DONT_SYNC;
    if (!root.isOpen() || ::statx(root.get(), "", flags, STATX_MNT_ID, &status) != 0) return UniqueFd();
    const bool tellsMount = (status.stx_mask & STATX_MNT_ID) != 0;
    if (!tellsMount || status.stx_dev_major != device.major || status.stx_dev_minor != device.minor) return UniqueFd();
    const auto table = readMountTable();
    const MountEntry* mount = table ? mountAt(*table, mountPoint) : nullptr;
    return mount && mount->id == status.stx_mnt_id && mount->device == device ? std::move(root) : UniqueFd();
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

Result<bool> detachGoneMount(const std::string& mountPoint, DeviceNumber device) {
    if (deviceIsPresent(device)) return false;
    const UniqueFd root = openMountOf(mountPoint, device);
    if (!root.isOpen()) return false;
    const std::string held = "/proc/self/fd/" + std::to_string(root.get());
    if (::umount2(held.c_str(), MNT_DETACH) == 0) return true;
    const int code = errno;
    if (code != EPERM) return Error::fromErrno(code, mountPoint);
    const auto done = withProgram({"umount", "-l", "--", mountPoint}, mountPoint, EPERM);
    if (!done) return done.error();
    return true;
}

} // namespace vt

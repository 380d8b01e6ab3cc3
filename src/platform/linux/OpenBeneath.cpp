#include "platform/linux/OpenBeneath.h"

#include <cerrno>
#include <fcntl.h>
#include <linux/openat2.h>
#include <string>
#include <sys/stat.h>
#include <sys/syscall.h>

namespace vt::beneath {

namespace {

int openResolved(int directory, const char* relative, int flags, mode_t mode, std::uint64_t resolve, UniqueFd& opened) {
    open_how how{};
    how.flags = static_cast<std::uint64_t>(static_cast<unsigned>(flags | O_CLOEXEC));
    how.mode = (flags & (O_CREAT | O_TMPFILE)) != 0 ? mode : 0;
    how.resolve = resolve;
    // EAGAIN: something was renamed during the look-up of "..", so the kernel could not be sure. It passes.
    for (int attempt = 0; attempt < 64; ++attempt) {
        const long descriptor = ::syscall(SYS_openat2, directory, relative, &how, sizeof how);
        if (descriptor >= 0) {
            opened = UniqueFd(static_cast<int>(descriptor));
            return 0;
        }
        if (errno != EAGAIN && errno != EINTR) return errno;
    }
    return EAGAIN;
}

bool isLink(int directory, const char* name) {
    struct stat status {};
    return ::fstatat(directory, name, &status, AT_SYMLINK_NOFOLLOW) == 0 && S_ISLNK(status.st_mode);
}

} // namespace

int openAt(int directory, const char* name, int flags, mode_t mode, UniqueFd& opened) {
    int descriptor = -1;
    do descriptor = ::openat(directory, name, flags | O_CLOEXEC, mode);
    while (descriptor < 0 && errno == EINTR);
    if (descriptor < 0) return errno;
    opened = UniqueFd(descriptor);
    return 0;
}

bool kernelResolves() {
    static const bool able = [] {
        UniqueFd probe;
        return openResolved(AT_FDCWD, "/", O_PATH | O_DIRECTORY, 0, RESOLVE_NO_MAGICLINKS, probe) == 0;
    }();
    return able;
}

int open(int directory, const char* relative, int flags, mode_t mode, UniqueFd& opened) {
    const std::uint64_t within = RESOLVE_BENEATH | RESOLVE_NO_MAGICLINKS;
    const int code = openResolved(directory, relative, flags, mode, within | RESOLVE_NO_XDEV, opened);
    if (code != EXDEV) return code;
    // EXDEV stands for both ways out; without the mount rule only the link's remains.
    UniqueFd probe;
    const int again = openResolved(directory, relative, O_PATH | (flags & O_NOFOLLOW), 0, within, probe);
    return again == EXDEV ? ELOOP : EXDEV;
}

int walk(int directory, const char* relative, int flags, mode_t mode, UniqueFd& opened) {
    UniqueFd held;
    std::string rest = relative;
    for (std::size_t at = 0;;) {
        const std::size_t start = rest.find_first_not_of('/', at);
        if (start == std::string::npos) return openAt(held.isOpen() ? held.get() : directory, ".", flags, mode, opened);
        const std::size_t end = rest.find('/', start);
        const std::string name = rest.substr(start, end == std::string::npos ? end : end - start);
        const int from = held.isOpen() ? held.get() : directory;
        const bool last = end == std::string::npos || rest.find_first_not_of('/', end) == std::string::npos;
        if (last && (flags & O_NOFOLLOW) == 0 && isLink(from, name.c_str())) return ELOOP;
        UniqueFd next;
        const int wanted = last ? flags | O_NOFOLLOW : O_PATH | O_DIRECTORY | O_NOFOLLOW;
        const int code = openAt(from, name.c_str(), wanted, mode, next);
        if (code == ENOTDIR && !last && isLink(from, name.c_str())) return ELOOP;
        if (code != 0) return code;
        if (last) {
            opened = std::move(next);
            return 0;
        }
        held = std::move(next);
        at = end;
    }
}

int openFolder(int directory, const char* name, Mounts mounts, UniqueFd& opened) {
    const int flags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW;
    if (mounts == Mounts::cross) return openAt(directory, name, flags, 0, opened);
    if (kernelResolves()) {
        const std::uint64_t resolve = RESOLVE_BENEATH | RESOLVE_NO_SYMLINKS | RESOLVE_NO_XDEV;
        return openResolved(directory, name, flags, 0, resolve, opened);
    }
    UniqueFd folder;
    if (const int code = openAt(directory, name, flags, 0, folder); code != 0) return code;
    struct stat above {
    }, below{};
    if (::fstat(directory, &above) != 0 || ::fstat(folder.get(), &below) != 0) return errno;
    if (above.st_dev != below.st_dev) return EXDEV;
    opened = std::move(folder);
    return 0;
}

} // namespace vt::beneath

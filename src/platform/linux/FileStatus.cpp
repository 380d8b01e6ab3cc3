#include "platform/linux/FileStatus.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/sysmacros.h>

namespace vt {

namespace {

FileKind kindOf(std::uint16_t mode) {
    switch (mode & S_IFMT) {
    case S_IFREG:
        return FileKind::regular;
    case S_IFDIR:
        return FileKind::directory;
    case S_IFLNK:
        return FileKind::link;
    default:
        return FileKind::other;
    }
}

Date dateOf(const statx_timestamp& stamp) {
    return Date::fromSeconds(stamp.tv_sec, stamp.tv_nsec);
}

} // namespace

int readStatus(int directory, const char* name, struct statx& status) {
    const int flags = AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT | (*name == '\0' ? AT_EMPTY_PATH : 0);
    return ::statx(directory, name, flags, STATX_BASIC_STATS | STATX_BTIME, &status) == 0 ? 0 : errno;
}

FileAttributes attributesOf(const struct statx& status) {
    FileAttributes attributes;
    attributes.kind = kindOf(status.stx_mode);
    attributes.immutable = (status.stx_attributes & STATX_ATTR_IMMUTABLE) != 0;
    attributes.mode = status.stx_mode & 07777U;
    attributes.owner = status.stx_uid;
    attributes.group = status.stx_gid;
    attributes.size = status.stx_size;
    attributes.device = makedev(status.stx_dev_major, status.stx_dev_minor);
    attributes.inode = status.stx_ino;
    attributes.modified = dateOf(status.stx_mtime);
    attributes.statusChanged = dateOf(status.stx_ctime);
    attributes.born = (status.stx_mask & STATX_BTIME) != 0 ? dateOf(status.stx_btime) : Date::missing();
    return attributes;
}

timespec timespecOf(Date date) {
    return {.tv_sec = date.wholeSeconds(), .tv_nsec = date.nanosecondsPart()};
}

} // namespace vt

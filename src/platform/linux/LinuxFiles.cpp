#include "platform/linux/LinuxFiles.h"

#include "platform/linux/DirectoryReader.h"
#include "platform/linux/FileStatus.h"
#include "platform/linux/OpenBeneath.h"
#include "platform/linux/TreeRemoval.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <fcntl.h>
#include <linux/fs.h>
#include <numeric>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vt {

namespace {

// What file systems answer that keep no such thing at all.
bool meansUnsupported(int code) {
    return code == EOPNOTSUPP || code == ENOTTY || code == ENOSYS || code == EINVAL;
}

// Disks that turn find the items quickly in the order in which they keep them, and slowly in that of the names.
std::vector<std::size_t> orderOnDisk(const std::vector<FolderName>& names) {
    std::vector<std::size_t> order(names.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::sort(order.begin(), order.end(),
              [&](std::size_t one, std::size_t other) { return names[one].inode < names[other].inode; });
    return order;
}

unsigned renameFlags(Replace replace) {
    switch (replace) {
    case Replace::never:
        return RENAME_NOREPLACE;
    case Replace::exchange:
        return RENAME_EXCHANGE;
    case Replace::always:
        break;
    }
    return 0;
}

int renameBetween(const Place& from, const Place& to, Replace replace) {
    const auto attempt = [&](unsigned flags) {
        return ::renameat2(from.directory(), from.name(), to.directory(), to.name(), flags) == 0 ? 0 : errno;
    };
    const int code = attempt(renameFlags(replace));
    if (replace != Replace::never || (code != EINVAL && code != ENOSYS)) return code;
    // A file system without the flag: look first, then rename.
    struct statx status {};
    const int there = readStatus(to.directory(), to.name(), status);
    if (there == 0) return EEXIST;
    return there == ENOENT ? attempt(0) : there;
}

// A folder that its owner closed to writing cannot change its parent: opened here while this lives.
class OpenedFolder {
  public:
    explicit OpenedFolder(const Place& place) {
        if (beneath::openAt(place.directory(), place.name(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW, 0, _folder) != 0)
            return;
        struct stat status {};
        if (::fstat(_folder.get(), &status) != 0 || (status.st_mode & S_IWUSR) != 0) return;
        _mode = status.st_mode & 07777U;
        _opened = ::fchmod(_folder.get(), _mode | S_IWUSR) == 0;
    }
    OpenedFolder(const OpenedFolder&) = delete;
    OpenedFolder& operator=(const OpenedFolder&) = delete;
    ~OpenedFolder() {
        if (_opened) (void)::fchmod(_folder.get(), _mode);
    }
    [[nodiscard]] bool isOpened() const { return _opened; }

  private:
    UniqueFd _folder;
    mode_t _mode = 0;
    bool _opened = false;
};

int renameOpening(const Place& from, const Place& to, Replace replace) {
    const int code = renameBetween(from, to, replace);
    if (code != EACCES) return code;
    const OpenedFolder source(from);
    const OpenedFolder target(to);
    return source.isOpened() || target.isOpened() ? renameBetween(from, to, replace) : code;
}

} // namespace

LinuxFiles::LinuxFiles(const DriveRoot* drive, PathLocator::Resolver resolver) : _locator(drive, resolver) {}

Result<FileAttributes> LinuxFiles::attributes(const std::string& path) {
    Result<Place> place = _locator.place(path);
    if (!place) return place.error();
    struct statx status {};
    const int code = readStatus(place->directory(), place->name(), status);
    if (code != 0) return _locator.error(code, path);
    return attributesOf(status);
}

Result<FileAttributes> LinuxFiles::attributesFollowing(const std::string& path) {
    Result<UniqueFd> item = _locator.open(path, O_PATH);
    if (!item) return item.error();
    struct statx status {};
    const int code = readStatus(item->get(), "", status);
    if (code != 0) return _locator.error(code, path);
    return attributesOf(status);
}

Result<std::vector<DirectoryEntry>> LinuxFiles::list(const std::string& path) {
    Result<UniqueFd> folder = _locator.open(path, O_RDONLY | O_DIRECTORY | O_NOFOLLOW);
    if (!folder) return folder.error();
    std::vector<FolderName> names;
    if (const int code = readNames(folder->get(), names); code != 0) return _locator.error(code, path);
    std::vector<DirectoryEntry> entries(names.size());
    for (const std::size_t i : orderOnDisk(names)) {
        struct statx status {};
        const int code = readStatus(folder->get(), names[i].name.c_str(), status);
        if (code == ENOENT) continue;
        if (code != 0) return _locator.error(code, path + "/" + names[i].name);
        entries[i] = {std::move(names[i].name), attributesOf(status)};
    }
    std::erase_if(entries, [](const DirectoryEntry& entry) { return entry.name.empty(); });
    return entries;
}

Result<std::vector<std::string>> LinuxFiles::listNames(const std::string& path) {
    Result<UniqueFd> folder = _locator.open(path, O_RDONLY | O_DIRECTORY | O_NOFOLLOW);
    if (!folder) return folder.error();
    std::vector<FolderName> found;
    if (const int code = readNames(folder->get(), found); code != 0) return _locator.error(code, path);
    std::vector<std::string> names;
    names.reserve(found.size());
    for (FolderName& name : found) names.push_back(std::move(name.name));
    return names;
}

Result<void> LinuxFiles::makeDirectory(const std::string& path, std::uint32_t mode) {
    Result<Place> place = _locator.place(path);
    if (!place) return place.error();
    if (::mkdirat(place->directory(), place->name(), mode) != 0) return _locator.error(errno, path);
    struct statx status {};
    const int code = readStatus(place->directory(), place->name(), status);
    if (code != 0) return _locator.error(code, path);
    // The process's mask or the parent's rules took or added something; a file system without modes keeps its own.
    if ((status.stx_mode & 07777U) != mode)
        (void)::fchmodat(place->directory(), place->name(), mode, AT_SYMLINK_NOFOLLOW);
    return {};
}

Result<void> LinuxFiles::move(const std::string& from, const std::string& to, Replace replace) {
    Result<Place> source = _locator.place(from);
    if (!source) return source.error();
    Result<Place> target = _locator.place(to);
    if (!target) return target.error();
    const int code = renameOpening(*source, *target, replace);
    if (code == 0) return {};
    return _locator.isOnDrive(from) ? _locator.error(code, from) : _locator.error(code, to);
}

Result<void> LinuxFiles::remove(const std::string& path, const RemovalQuestion& question) {
    return TreeRemoval(_locator, question).remove(path);
}

Result<void> LinuxFiles::checkWritable(const std::string& folder) {
    const Result<UniqueFd> opened = _locator.open(folder, O_PATH | O_DIRECTORY);
    if (!opened) return opened.error();
    if (::faccessat(opened->get(), ".", W_OK | X_OK, AT_EACCESS) != 0) return _locator.error(errno, folder);
    return {};
}

Result<std::string> LinuxFiles::readLink(const std::string& path) {
    Result<Place> place = _locator.place(path);
    if (!place) return place.error();
    std::array<char, 4096> target{};
    const ssize_t length = ::readlinkat(place->directory(), place->name(), target.data(), target.size());
    if (length < 0) return _locator.error(errno, path);
    return std::string(target.data(), static_cast<std::size_t>(length));
}

Result<void> LinuxFiles::makeLink(const std::string& path, const std::string& target) {
    if (target.find('\0') != std::string::npos) return _locator.error(EINVAL, path);
    Result<Place> place = _locator.place(path);
    if (!place) return place.error();
    if (::symlinkat(target.c_str(), place->directory(), place->name()) != 0) return _locator.error(errno, path);
    return {};
}

Result<void> LinuxFiles::setImmutable(const std::string& path, bool immutable) {
    const Result<FileAttributes> present = attributes(path);
    if (!present) return present.error();
    if (present->immutable == immutable) return {};
    if (!present->isRegular() && !present->isDirectory()) return _locator.error(EOPNOTSUPP, path);
    Result<UniqueFd> item = _locator.open(path, O_RDONLY | O_NONBLOCK | O_NOFOLLOW);
    if (!item) return item.error();
    int flags = 0;
    int code = ::ioctl(item->get(), FS_IOC_GETFLAGS, &flags) == 0 ? 0 : errno;
    if (code == 0) {
        flags = immutable ? flags | FS_IMMUTABLE_FL : flags & ~FS_IMMUTABLE_FL;
        code = ::ioctl(item->get(), FS_IOC_SETFLAGS, &flags) == 0 ? 0 : errno;
    }
    if (code == 0) return {};
    return _locator.error(meansUnsupported(code) ? EOPNOTSUPP : code, path);
}

Result<void> LinuxFiles::setMode(const std::string& path, std::uint32_t mode) {
    Result<Place> place = _locator.place(path);
    if (!place) return place.error();
    if (::fchmodat(place->directory(), place->name(), mode & 07777U, AT_SYMLINK_NOFOLLOW) != 0)
        return _locator.error(errno, path);
    return {};
}

Result<void> LinuxFiles::setModified(const std::string& path, Date modified) {
    Result<Place> place = _locator.place(path);
    if (!place) return place.error();
    const std::array<timespec, 2> times{timespec{.tv_sec = 0, .tv_nsec = UTIME_OMIT}, timespecOf(modified)};
    if (::utimensat(place->directory(), place->name(), times.data(), AT_SYMLINK_NOFOLLOW) != 0)
        return _locator.error(errno, path);
    return {};
}

} // namespace vt

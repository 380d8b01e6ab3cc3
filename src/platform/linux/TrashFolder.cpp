#include "platform/linux/TrashFolder.h"

#include "base/LocalTime.h"
#include "base/Paths.h"
#include "platform/linux/UniqueFd.h"

#include <cerrno>
#include <ctime>
#include <fcntl.h>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

namespace vt {

namespace {

constexpr std::size_t longestName = 255;
constexpr std::string_view infoSuffix = ".trashinfo";
constexpr int mostNames = 10000; // tries for a free name in the trash

struct Place {
    std::uint64_t device = 0;
    std::uint64_t mount = 0;
    bool operator==(const Place&) const = default;
};

Result<Place> placeOf(const std::string& path) {
    struct statx status = {};
    if (::statx(AT_FDCWD, path.c_str(), AT_SYMLINK_NOFOLLOW, STATX_MNT_ID, &status) != 0)
        return Error::fromErrno(errno, path);
    return Place{(std::uint64_t{status.stx_dev_major} << 32U) | status.stx_dev_minor, status.stx_mnt_id};
}

// The place of the deepest folder at or above `path` that exists.
Result<Place> placeAtOrAbove(std::string path) {
    for (;; path = paths::parent(path)) {
        auto place = placeOf(path);
        if (place || place.code() != ENOENT || path == "/") return place;
    }
}

// The highest folder above `folder` on the same mount: the volume's top.
std::string topOf(std::string folder, const Place& place) {
    while (folder != "/") {
        const std::string parent = paths::parent(folder);
        const auto above = placeOf(parent);
        if (!above || !(*above == place)) break;
        folder = parent;
    }
    return folder;
}

// One level, for this user alone; an existing one must be this user's own folder, unless the volume keeps no owners.
Result<void> makePrivateFolder(const std::string& path, std::uint32_t userId) {
    if (::mkdir(path.c_str(), 0700) == 0) return {};
    if (errno != EEXIST) return Error::fromErrno(errno, path);
    struct stat status = {};
    if (::lstat(path.c_str(), &status) != 0) return Error::fromErrno(errno, path);
    if (!S_ISDIR(status.st_mode)) return Error::fromErrno(ENOTDIR, path);
    if (status.st_uid != userId && ::access(path.c_str(), W_OK) != 0) return Error::fromErrno(EACCES, path);
    return {};
}

Result<void> makeFolders(const std::string& trash, std::uint32_t userId) {
    for (const std::string& folder : {trash, trash + "/files", trash + "/info"})
        if (auto made = makePrivateFolder(folder, userId); !made) return made;
    return {};
}

// A shared ".Trash" that an administrator prepared: a real folder with the sticky bit, or it does not count.
bool isSharedTrash(const std::string& path) {
    struct stat status = {};
    return ::lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode) && (status.st_mode & S_ISVTX) != 0;
}

std::string urlEscaped(std::string_view path) {
    constexpr std::string_view plain = "-_.~/";
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string result;
    for (const char byte : path) {
        const auto value = static_cast<unsigned char>(byte);
        const bool letter =
            (value >= '0' && value <= '9') || (value >= 'A' && value <= 'Z') || (value >= 'a' && value <= 'z');
        if (letter || plain.find(byte) != std::string_view::npos)
            result.push_back(byte);
        else
            result.append({'%', digits[value >> 4U], digits[value & 15U]});
    }
    return result;
}

std::string infoText(const std::string& item, const TrashFolder& trash) {
    std::string path = item;
    if (!trash.top.empty()) path = trash.top == "/" ? item.substr(1) : item.substr(trash.top.size() + 1);
    const std::tm local = localTime(Date::fromSeconds(std::time(nullptr))).value_or(std::tm{});
    char date[32];
    std::strftime(date, sizeof date, "%Y-%m-%dT%H:%M:%S", &local);
    return "[Trash Info]\nPath=" + urlEscaped(path) + "\nDeletionDate=" + date + "\n";
}

// "name", then "name.2", "name.3": short enough that the info file's name fits too.
std::string candidate(const std::string& name, int number) {
    const std::string suffix = number == 1 ? "" : "." + std::to_string(number);
    return name.substr(0, longestName - infoSuffix.size() - suffix.size()) + suffix;
}

// The new info file's descriptor; EEXIST when the name is taken.
Result<void> writeInfo(const std::string& path, const std::string& text) {
    const UniqueFd info(::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0600));
    if (!info.isOpen()) return Error::fromErrno(errno, path);
    const ssize_t written = ::write(info.get(), text.data(), text.size());
    if (written == static_cast<ssize_t>(text.size())) return {};
    const int code = written < 0 ? errno : ENOSPC;
    ::unlink(path.c_str());
    return Error::fromErrno(code, path);
}

int renameWithoutReplacing(const std::string& from, const std::string& to) {
    if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return 0;
    if (errno != EINVAL && errno != ENOSYS) return errno;
    // The file system cannot promise it; the name belongs to us through its info file.
    struct stat status = {};
    if (::lstat(to.c_str(), &status) == 0) return EEXIST;
    return ::rename(from.c_str(), to.c_str()) == 0 ? 0 : errno;
}

} // namespace

Result<TrashFolder> trashFolderFor(const std::string& item, const std::string& dataHome, std::uint32_t userId) {
    struct stat status = {};
    if (::lstat(item.c_str(), &status) != 0) return Error::fromErrno(errno, item);
    const std::string folder = paths::parent(item);
    const auto place = placeOf(folder);
    if (!place) return place.error();
    const auto home = placeAtOrAbove(dataHome);
    if (home && *home == *place) {
        const TrashFolder trash{dataHome + "/Trash", {}};
        ::mkdir(dataHome.c_str(), 0700); // a fresh account has none; a failure shows below
        if (const auto made = makeFolders(trash.path, userId); !made) return made.error();
        return trash;
    }
    const std::string top = topOf(folder, *place);
    const std::string user = std::to_string(userId);
    if (const std::string shared = paths::join(top, ".Trash"); isSharedTrash(shared)) {
        const TrashFolder trash{paths::join(shared, user), top};
        if (makeFolders(trash.path, userId)) return trash;
    }
    const TrashFolder trash{paths::join(top, ".Trash-" + user), top};
    if (const auto made = makeFolders(trash.path, userId); !made) return made.error();
    return trash;
}

Result<void> moveToTrash(const std::string& item, const TrashFolder& trash) {
    const std::string name = paths::lastComponent(item);
    const std::string text = infoText(item, trash);
    for (int number = 1; number <= mostNames; ++number) {
        const std::string taken = candidate(name, number);
        const std::string info = trash.path + "/info/" + taken + std::string(infoSuffix);
        auto written = writeInfo(info, text);
        if (!written && written.code() == EEXIST) continue;
        if (!written) return written;
        const int code = renameWithoutReplacing(item, trash.path + "/files/" + taken);
        if (code == 0) return {};
        ::unlink(info.c_str());
        if (code != EEXIST) return Error::fromErrno(code, item);
    }
    return Error::fromErrno(EEXIST, trash.path);
}

} // namespace vt

#include "platform/linux/PathLocator.h"

#include "platform/linux/OpenBeneath.h"

#include <cerrno>
#include <climits>

namespace vt {

namespace {

// The system's limit counts the closing NUL.
constexpr std::size_t longestPath = PATH_MAX - 1;

int checkPath(const std::string& path) {
    if (path.empty()) return ENOENT;
    if (path.front() != '/') return EINVAL;
    return path.find('\0') != std::string::npos ? EINVAL : 0;
}

bool holdsDotDot(const std::string& rest) {
    for (std::size_t at = rest.find(".."); at != std::string::npos; at = rest.find("..", at + 1)) {
        const bool starts = at == 0 || rest[at - 1] == '/';
        const bool ends = at + 2 == rest.size() || rest[at + 2] == '/';
        if (starts && ends) return true;
    }
    return false;
}

std::size_t lengthWithoutSlashes(const std::string& path) {
    std::size_t length = path.size();
    while (length > 1 && path[length - 1] == '/') --length;
    return length;
}

} // namespace

Place::Place(int directory, const char* name, UniqueFd owner)
    : _directory(directory), _name(name), _owner(std::move(owner)) {}

Place::Place(int directory, std::string name, UniqueFd owner)
    : _directory(directory), _owner(std::move(owner)), _kept(std::move(name)) {}

PathLocator::PathLocator(const DriveRoot* drive, Resolver resolver)
    : _drive(drive), _kernelResolves(resolver == Resolver::best && beneath::kernelResolves()) {}

bool PathLocator::isOnDrive(const std::string& path) const {
    if (_drive == nullptr) return false;
    const std::string& mountPoint = _drive->mountPoint();
    if (mountPoint == "/") return true;
    return path.compare(0, mountPoint.size(), mountPoint) == 0 &&
           (path.size() == mountPoint.size() || path[mountPoint.size()] == '/');
}

Error PathLocator::error(int code, const std::string& path) const {
    if (isOnDrive(path) && _drive->isGone()) return Error::fromErrno(ENODEV, path);
    return Error::fromErrno(code, path);
}

Result<PathLocator::Split> PathLocator::onDrive(const std::string& path) const {
    Result<int> handle = _drive->handle();
    if (!handle) {
        Error gone = Error::fromErrno(handle.error().code, path);
        gone.disposition = Disposition::driveGone;
        return gone;
    }
    Split split;
    split.start = *handle;
    const std::size_t first = path.find_first_not_of('/', _drive->mountPoint().size());
    if (first == std::string::npos)
        split.rest = ".";
    else
        split.rest = path.substr(first, lengthWithoutSlashes(path) - first);
    if (holdsDotDot(split.rest)) return error(EINVAL, path);
    return split;
}

int PathLocator::openBelow(int start, const std::string& rest, int flags, mode_t mode, UniqueFd& opened) const {
    if (rest.size() > longestPath) return openLong(start, rest, true, flags, mode, opened);
    return _kernelResolves ? beneath::open(start, rest.c_str(), flags, mode, opened)
                           : beneath::walk(start, rest.c_str(), flags, mode, opened);
}

int PathLocator::openLong(int start, const std::string& rest, bool beneath, int flags, mode_t mode,
                          UniqueFd& opened) const {
    UniqueFd held;
    std::size_t at = 0;
    for (;;) {
        const int from = held.isOpen() ? held.get() : start;
        at = rest.find_first_not_of('/', at);
        if (at == std::string::npos) return beneath::openAt(from, ".", flags, mode, opened);
        const bool whole = rest.size() - at <= longestPath;
        const std::size_t end = whole ? rest.size() : rest.rfind('/', at + longestPath);
        if (end == std::string::npos || end <= at) return ENAMETOOLONG;
        const std::string piece = rest.substr(at, end - at);
        const int wanted = whole ? flags : O_PATH | O_DIRECTORY;
        UniqueFd next;
        const mode_t given = whole ? mode : 0; // the kernel refuses a mode where nothing is made
        const int code = beneath ? openBelow(from, piece, wanted, given, next)
                                 : beneath::openAt(from, piece.c_str(), wanted, given, next);
        if (code != 0) return code;
        if (whole) {
            opened = std::move(next);
            return 0;
        }
        held = std::move(next);
        at = end;
    }
}

Result<Place> PathLocator::placeOnDrive(const std::string& path) const {
    Result<Split> split = onDrive(path);
    if (!split) return split.error();
    const std::size_t slash = split->rest.rfind('/');
    UniqueFd folder;
    int directory = split->start;
    if (slash != std::string::npos) {
        const int code = openBelow(split->start, split->rest.substr(0, slash), O_PATH | O_DIRECTORY, 0, folder);
        if (code != 0) return error(code, path);
        directory = folder.get();
    }
    if (split->rest == ".") return Place(directory, ".");
    const std::size_t length = split->rest.size() - (slash == std::string::npos ? 0 : slash + 1);
    const std::size_t end = lengthWithoutSlashes(path);
    if (end == path.size()) return Place(directory, path.c_str() + (end - length), std::move(folder));
    return Place(directory, path.substr(end - length, length), std::move(folder));
}

Result<Place> PathLocator::place(const std::string& path) const {
    if (const int code = checkPath(path); code != 0) return error(code, path);
    if (isOnDrive(path)) return placeOnDrive(path);
    if (path.size() > longestPath) return placeInFolder(path);
    // A trailing slash would follow a link.
    if (path.back() == '/') return Place(AT_FDCWD, path.substr(0, lengthWithoutSlashes(path)));
    return Place(AT_FDCWD, path.c_str());
}

Result<Place> PathLocator::placeInFolder(const std::string& path) const {
    if (const int code = checkPath(path); code != 0) return error(code, path);
    if (isOnDrive(path)) return placeOnDrive(path);
    const std::size_t end = lengthWithoutSlashes(path);
    if (end == 1) return Place(AT_FDCWD, "/");
    const std::size_t slash = path.rfind('/', end - 1);
    const std::string parent = slash == 0 ? "/" : path.substr(0, slash);
    UniqueFd folder;
    UniqueFd root;
    int code = 0;
    if (parent.size() > longestPath) {
        code = beneath::openAt(AT_FDCWD, "/", O_PATH | O_DIRECTORY, 0, root);
        if (code == 0) code = openLong(root.get(), parent.substr(1), false, O_PATH | O_DIRECTORY, 0, folder);
    } else {
        code = beneath::openAt(AT_FDCWD, parent.c_str(), O_PATH | O_DIRECTORY, 0, folder);
    }
    if (code != 0) return error(code, path);
    const int directory = folder.get();
    if (end == path.size()) return Place(directory, path.c_str() + slash + 1, std::move(folder));
    return Place(directory, path.substr(slash + 1, end - slash - 1), std::move(folder));
}

Result<UniqueFd> PathLocator::open(const std::string& path, int flags, mode_t mode) const {
    if (const int code = checkPath(path); code != 0) return error(code, path);
    UniqueFd opened;
    int code = 0;
    if (isOnDrive(path)) {
        Result<Split> split = onDrive(path);
        if (!split) return split.error();
        code = openBelow(split->start, split->rest, flags, mode, opened);
    } else if (path.size() > longestPath) {
        UniqueFd root;
        code = beneath::openAt(AT_FDCWD, "/", O_PATH | O_DIRECTORY, 0, root);
        if (code == 0) code = openLong(root.get(), path.substr(1), false, flags, mode, opened);
    } else {
        code = beneath::openAt(AT_FDCWD, path.c_str(), flags, mode, opened);
    }
    if (code != 0) return error(code, path);
    return opened;
}

} // namespace vt

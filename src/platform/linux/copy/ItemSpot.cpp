#include "platform/linux/copy/ItemSpot.h"

#include "platform/linux/OpenBeneath.h"
#include "platform/linux/TreeRemoval.h"

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace vt {

Result<Place> ItemSpot::place() const {
    if (_name != nullptr) return Place(_folder, _name);
    return _locator.place(_path);
}

Result<UniqueFd> ItemSpot::open(int flags, mode_t mode) const {
    if (_name == nullptr) return _locator.open(_path, flags | O_NOFOLLOW, mode);
    UniqueFd opened;
    const int code = beneath::openAt(_folder, _name, flags | O_NOFOLLOW, mode, opened);
    if (code != 0) return error(code);
    return opened;
}

Result<struct stat> ItemSpot::status() const {
    Result<Place> where = place();
    if (!where) return where.error();
    struct stat status {};
    if (::fstatat(where->directory(), where->name(), &status, AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT) != 0)
        return error(errno);
    return status;
}

Result<std::string> ItemSpot::readLink() const {
    Result<Place> where = place();
    if (!where) return where.error();
    std::array<char, 4096> target{};
    const ssize_t length = ::readlinkat(where->directory(), where->name(), target.data(), target.size());
    if (length < 0) return error(errno);
    return std::string(target.data(), static_cast<std::size_t>(length));
}

Result<void> ItemSpot::makeLink(const std::string& target) const {
    Result<Place> where = place();
    if (!where) return where.error();
    if (::symlinkat(target.c_str(), where->directory(), where->name()) != 0) return error(errno);
    return {};
}

Result<void> ItemSpot::makeFolder(mode_t mode) const {
    Result<Place> where = place();
    if (!where) return where.error();
    if (::mkdirat(where->directory(), where->name(), mode) != 0) return error(errno);
    return {};
}

Result<void> ItemSpot::setTimes(const std::array<timespec, 2>& times) const {
    Result<Place> where = place();
    if (!where) return where.error();
    if (::utimensat(where->directory(), where->name(), times.data(), AT_SYMLINK_NOFOLLOW) != 0) return error(errno);
    return {};
}

Result<void> ItemSpot::setOwner(uid_t owner, gid_t group) const {
    Result<Place> where = place();
    if (!where) return where.error();
    if (::fchownat(where->directory(), where->name(), owner, group, AT_SYMLINK_NOFOLLOW) != 0) return error(errno);
    return {};
}

void ItemSpot::removeFile() const {
    if (Result<Place> where = place(); where.ok()) (void)::unlinkat(where->directory(), where->name(), 0);
}

void ItemSpot::removeTree() const {
    const RemovalQuestion goOn = [](const Error&) { return true; };
    TreeRemoval removal(_locator, goOn);
    if (_name != nullptr)
        removal.remove(_folder, _name, _path).ignore();
    else
        removal.remove(_path).ignore();
}

} // namespace vt

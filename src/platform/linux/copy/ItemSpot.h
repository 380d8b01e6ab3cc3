// One end of a copy: an item named in an open folder, or by its whole path where no folder is open.
// Thread: one; lives no longer than what it was made of. Errors: with the item's path.
#pragma once

#include "platform/linux/PathLocator.h"

#include <array>
#include <string>
#include <sys/stat.h>

namespace vt {

class ItemSpot {
  public:
    ItemSpot(const PathLocator& locator, const std::string& path) : _locator(locator), _path(path) {}
    ItemSpot(const PathLocator& locator, int folder, const char* name, const std::string& path)
        : _locator(locator), _path(path), _folder(folder), _name(name) {}

    [[nodiscard]] const std::string& path() const { return _path; }
    [[nodiscard]] const PathLocator& locator() const { return _locator; }
    [[nodiscard]] Error error(int code) const { return _locator.error(code, _path); }

    // Never through a link at the item itself.
    [[nodiscard]] Result<UniqueFd> open(int flags, mode_t mode = 0) const;
    [[nodiscard]] Result<struct stat> status() const;
    [[nodiscard]] Result<std::string> readLink() const;
    [[nodiscard]] Result<void> makeLink(const std::string& target) const;
    [[nodiscard]] Result<void> makeFolder(mode_t mode) const;
    [[nodiscard]] Result<void> setTimes(const std::array<timespec, 2>& times) const;
    [[nodiscard]] Result<void> setOwner(uid_t owner, gid_t group) const;
    void removeFile() const;
    void removeTree() const;

  private:
    [[nodiscard]] Result<Place> place() const;

    const PathLocator& _locator;
    const std::string& _path;
    int _folder = -1;
    const char* _name = nullptr;
};

} // namespace vt

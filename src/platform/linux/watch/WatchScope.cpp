#include "platform/linux/watch/WatchScope.h"

#include "base/Paths.h"
#include "platform/linux/LinkPlace.h"

#include <algorithm>
#include <array>

namespace vt {

void WatchScope::setIgnored(std::vector<std::string> paths) {
    _ignored = std::move(paths);
    for (std::string& path : _ignored) path = paths::clean(path);
    collectNames();
}

void WatchScope::setLeftOut(const std::vector<std::string>& folders) {
    _leftOut.clear();
    for (const std::string& folder : folders) {
        const std::string path = paths::clean(folder);
        _leftOut.insert(path);
        _leftOut.insert(placeBehindLinks(path)); // a drive may have been chosen by a link to it
    }
    collectNames();
}

void WatchScope::setMounts(const MountTable& table) {
    _mounts = table;
    _silentMounts.clear();
    for (const MountEntry& mount : _mounts) {
        const MountEntry* const onTop = mountAt(_mounts, mount.target);
        if (onTop != nullptr && typeLacksEvents(onTop->type)) _silentMounts.insert(mount.target);
    }
}

void WatchScope::collectNames() {
    _names.clear();
    for (const std::string& path : _ignored) _names.insert(paths::lastComponent(path));
    for (const std::string& path : _leftOut) _names.insert(paths::lastComponent(path));
}

bool WatchScope::isIgnored(std::string_view path) const {
    return std::any_of(_ignored.begin(), _ignored.end(),
                       [&](const std::string& own) { return paths::isAtOrBelow(path, own); });
}

bool WatchScope::lacksEvents(std::string_view path) const {
    const MountEntry* const mount = mountAbove(_mounts, path);
    return mount != nullptr && typeLacksEvents(mount->type);
}

std::string WatchScope::placeBehindLinks(const std::string& path) const {
    return vt::placeBehindLinks(path, [this](const std::string& place) { return lacksEvents(place); });
}

std::string WatchScope::mountPointOf(std::string_view path) const {
    const MountEntry* const mount = mountAbove(_mounts, path);
    return mount == nullptr ? "/" : mount->target;
}

bool WatchScope::typeLacksEvents(std::string_view type) {
    // "fuseblk" is a local drive behind a driver process: all its changes pass through this kernel.
    constexpr std::array<std::string_view, 14> silent{"smbfs", "cifs", "smb3",   "nfs",    "nfs4",     "9p",    "afs",
                                                      "ceph",  "coda", "davfs2", "vboxsf", "virtiofs", "ncpfs", "fuse"};
    return type.substr(0, 5) == "fuse." || std::find(silent.begin(), silent.end(), type) != silent.end();
}

} // namespace vt

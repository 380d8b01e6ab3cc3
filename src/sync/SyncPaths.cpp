#include "sync/SyncPaths.h"

#include <algorithm>
#include <utility>

namespace vt {

namespace {

constexpr const char* workFolderName = ".Z_VT_W";
constexpr const char* missingUuid = "1-1-1";

// The drive's own name for itself comes from the drive: it may not point anywhere else.
std::string safeComponent(const std::optional<std::string>& uuid) {
    if (!uuid || uuid->empty() || *uuid == "." || uuid->find('/') != std::string::npos ||
        uuid->find("..") != std::string::npos)
        return missingUuid;
    return *uuid;
}

} // namespace

SyncPaths::SyncPaths(std::string mountPoint, const std::optional<std::string>& uuid, std::string hostUserId,
                     const SystemIdentity& system)
    : _mountPoint(std::move(mountPoint)), _workName(safeComponent(uuid)), _hostUserId(std::move(hostUserId)),
      _userName(system.userName()), _machineName(system.machineName()), _userId(system.userId()), _home(system.home()) {
}

std::string SyncPaths::driveWork() const {
    return paths::join(paths::join(paths::join(_mountPoint, segment("~/")), workFolderName), _hostUserId);
}

std::string SyncPaths::localWork() const {
    return paths::join(paths::join(_home.home(), workFolderName), _workName);
}

std::string SyncPaths::scanResults() const {
    return paths::join(localWork(), std::to_string(_userId) + "_syncscan");
}

std::string SyncPaths::segment(const std::string& item) const {
    if (item.starts_with("~/")) {
        auto components = paths::components(item);
        components.front() = _userName + "_" + _machineName;
        return paths::joinComponents(components);
    }
    const auto roots = _volumeRoots.load();
    std::string form = roots ? volumesForm(item, *roots) : item;
    if (form.starts_with("/Volumes/")) {
        auto components = paths::components(form);
        if (components.size() < 3) return form;
        components.erase(components.begin() + 1);
        components[1] += "_" + _machineName;
        return paths::joinComponents(components);
    }
    return item;
}

std::string SyncPaths::local(const std::string& item) const {
    if (item.starts_with("~")) {
        std::string expanded = _home.expandTilde(item);
        while (expanded.size() > 1 && expanded.back() == '/') expanded.pop_back();
        return expanded;
    }
    return item.starts_with("/") ? item : paths::join("/", item);
}

std::string SyncPaths::drive(const std::string& item) const {
    return paths::join(_mountPoint, segment(item));
}

std::string SyncPaths::volumesForm(const std::string& item, const std::vector<std::string>& volumeRoots) {
    // The deepest root wins where one volume is mounted inside another.
    const std::string* best = nullptr;
    for (const std::string& root : volumeRoots)
        if (paths::isAtOrBelow(item, root) && (best == nullptr || root.size() > best->size())) best = &root;
    if (best == nullptr) return item;
    const std::string name = paths::lastComponent(*best);
    // Of two volumes of one name only the first goes by it: their files must not meet in one folder.
    if (std::any_of(volumeRoots.begin(), volumeRoots.end(),
                    [&](const std::string& root) { return root < *best && paths::lastComponent(root) == name; }))
        return item;
    return paths::join("/Volumes", name) + item.substr(best->size());
}

std::vector<std::string> SyncPaths::removableRoots(VolumeService& volumes, const std::string& drive) {
    std::vector<std::string> roots;
    for (std::string& root : volumes.mountedVolumes()) {
        if (root == drive || root.starts_with("/Volumes/")) continue;
        const auto stat = volumes.statVolume(root);
        if (stat && !stat->mountedFrom.starts_with("/dev/diskf")) roots.push_back(std::move(root));
    }
    return roots;
}

} // namespace vt

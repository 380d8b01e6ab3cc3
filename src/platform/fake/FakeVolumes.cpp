#include "platform/fake/FakeVolumes.h"

#include "base/Paths.h"

#include <algorithm>
#include <cerrno>
#include <utility>

namespace vt {

namespace key = diskdescription;

Value::Dictionary FakeVolumes::description(const std::string& name, const Disk& disk) const {
    Value::Dictionary result;
    const auto add = [&result](const char* field, const std::string& text) {
        if (!text.empty()) result.insert_or_assign(field, Value(text));
    };
    const FakeMount& volume = disk.volume;
    add(key::volumePath, disk.mountPoint);
    const std::string unnamed = disk.mountPoint.empty() ? name : paths::lastComponent(disk.mountPoint);
    add(key::volumeName, volume.label.empty() ? unnamed : volume.label);
    add(key::volumeKind, volume.fileSystem);
    result.insert_or_assign(key::volumeNetwork, volume.network);
    if (volume.network) return result;
    add(key::volumeUuid, volume.uuid);
    add(key::volumeIdentity, volume.uuid.empty() ? volume.number : volume.uuid);
    add(key::mediaBsdName, name);
    add(key::mediaContent, volume.content);
    result.insert_or_assign(key::mediaSize, volume.totalBytes);
    result.insert_or_assign(key::mediaWritable, !volume.readOnly);
    result.insert_or_assign(key::deviceInternal, volume.internal);
    add(key::deviceVendor, volume.vendor);
    add(key::deviceModel, volume.model);
    add(key::deviceRevision, volume.revision);
    return result;
}

void FakeVolumes::report(Report what, Value::Dictionary description) {
    if (!_inbox->observer) return;
    _runLoop.performLater([inbox = _inbox, what, description = std::move(description)] {
        if (inbox->observer) (inbox->observer->*what)(description);
    });
}

void FakeVolumes::plug(const std::string& name, const FakeMount& volume) {
    const Disk disk{volume, {}, false};
    {
        const std::lock_guard guard(_lock);
        _disks.insert_or_assign(name, disk);
    }
    if (!volume.network) report(&VolumeObserver::diskAppeared, description(name, disk));
}

void FakeVolumes::mount(const std::string& name, const std::string& mountPoint, const FakeMount& volume) {
    if (!_disks.contains(name)) plug(name, volume);
    setMountPoint(name, mountPoint);
    const Disk& disk = _disks.at(name);
    report(disk.volume.network ? &VolumeObserver::diskAppeared : &VolumeObserver::diskDescriptionChanged,
           description(name, disk));
}

void FakeVolumes::setMountPoint(const std::string& name, const std::string& mountPoint) {
    const std::lock_guard guard(_lock);
    _disks.at(name).mountPoint = paths::clean(mountPoint.empty() ? "/" : mountPoint);
    if (mountPoint.empty()) _disks.at(name).mountPoint.clear();
}

void FakeVolumes::unmountKey(const std::string& name) {
    if (_disks.at(name).volume.network) return unplug(name);
    setMountPoint(name, {});
    report(&VolumeObserver::diskDescriptionChanged, description(name, _disks.at(name)));
}

void FakeVolumes::unplug(const std::string& name) {
    Disk disk = _disks.at(name);
    if (!disk.volume.network) disk.mountPoint.clear(); // a share's path tells which one it was
    {
        const std::lock_guard guard(_lock);
        _disks.erase(name);
    }
    report(&VolumeObserver::diskDisappeared, description(name, disk));
}

void FakeVolumes::pull(const std::string& name) {
    leftMounts[_disks.at(name).mountPoint] = name;
    setMountPoint(name, {});
    report(&VolumeObserver::diskDescriptionChanged, description(name, _disks.at(name)));
    unplug(name);
}

void FakeVolumes::move(const std::string& name, const std::string& mountPoint) {
    unmountKey(name);
    mount(name, mountPoint);
}

void FakeVolumes::folderCame(const std::string& path, bool plugged) {
    const std::string name = "diskf" + std::to_string(_nextFolder++);
    Disk disk;
    disk.folder = true;
    disk.volume.uuid = "folder-" + name;
    disk.mountPoint = path;
    if (const auto* below = holding(path)) { // a folder drive takes after the volume that it lies on
        disk.volume.fileSystem = below->second.volume.fileSystem;
        disk.volume.capabilities = below->second.volume.capabilities;
    }
    {
        const std::lock_guard guard(_lock);
        _folderKeys[path] = name;
        _disks.insert_or_assign(name, disk);
    }
    if (plugged) {
        Disk unmounted = disk;
        unmounted.mountPoint.clear();
        report(&VolumeObserver::diskAppeared, description(name, unmounted));
    }
    report(&VolumeObserver::diskDescriptionChanged, description(name, disk));
}

void FakeVolumes::folderGone(const std::string& path) {
    const std::string name = _folderKeys.at(path);
    setMountPoint(name, {});
    report(&VolumeObserver::diskDescriptionChanged, description(name, _disks.at(name)));
    unplug(name);
    _folderKeys[path].clear();
}

void FakeVolumes::folderReturned(const std::string& path) {
    folderErrors.erase(path);
    if (_folderKeys.contains(path)) folderCame(path, true);
}

const std::pair<const std::string, FakeVolumes::Disk>* FakeVolumes::holding(const std::string& path) const {
    const std::pair<const std::string, Disk>* deepest = nullptr;
    for (const auto& entry : _disks) {
        const std::string& mountPoint = entry.second.mountPoint;
        if (mountPoint.empty() || !paths::isAtOrBelow(path, mountPoint)) continue;
        if (!deepest || mountPoint.size() > deepest->second.mountPoint.size()) deepest = &entry;
    }
    return deepest;
}

std::string FakeVolumes::keyOf(const std::string& mountPoint) const {
    const std::string path = paths::clean(mountPoint);
    const auto found =
        std::find_if(_disks.begin(), _disks.end(), [&](const auto& disk) { return disk.second.mountPoint == path; });
    return found == _disks.end() ? std::string() : found->first;
}

Result<VolumeStat> FakeVolumes::statVolume(const std::string& path) {
    const std::string clean = paths::clean(path);
    if (beforeStat) beforeStat(clean);
    const std::lock_guard guard(_lock);
    const auto error = statErrors.find(clean);
    if (error != statErrors.end()) return error->second;
    const auto* entry = holding(clean);
    if (!entry) return VolumeStat{"/", "/dev/disk0s1", "ext4", 1ULL << 40U, 1ULL << 39U, false};
    const auto& [name, disk] = *entry;
    const std::string from = disk.volume.mountedFrom.empty() ? "/dev/" + name : disk.volume.mountedFrom;
    return VolumeStat{disk.mountPoint,     from, disk.volume.fileSystem, disk.volume.totalBytes, disk.volume.freeBytes,
                      disk.volume.readOnly};
}

DestinationCapabilities FakeVolumes::capabilities(const std::string& path) {
    const std::lock_guard guard(_lock);
    const auto* entry = holding(paths::clean(path));
    return entry ? entry->second.volume.capabilities : DestinationCapabilities{};
}

std::vector<std::string> FakeVolumes::mountedVolumes() {
    const std::lock_guard guard(_lock);
    std::vector<std::string> volumes;
    for (const auto& [name, disk] : _disks)
        if (!disk.mountPoint.empty()) volumes.push_back(disk.mountPoint);
    std::sort(volumes.begin(), volumes.end());
    return volumes;
}

std::optional<Value::Dictionary> FakeVolumes::describe(const std::string& mountPoint) {
    const std::lock_guard guard(_lock);
    const std::string name = keyOf(mountPoint);
    if (name.empty()) return std::nullopt;
    return description(name, _disks.at(name));
}

void FakeVolumes::startObserving(VolumeObserver& observer) {
    _inbox->observer = &observer;
    for (const auto& [name, disk] : _disks)
        if (!disk.mountPoint.empty()) report(&VolumeObserver::diskAppeared, description(name, disk));
}

void FakeVolumes::stopObserving() {
    if (_inbox->observer && observingEnds) observingEnds();
    _inbox->observer = nullptr;
}

Result<void> FakeVolumes::addFolderDrive(const std::string& path) {
    const std::string clean = paths::clean(path);
    const auto error = folderErrors.find(clean);
    if (error != folderErrors.end()) {
        if (error->second == ENOENT) _folderKeys[clean].clear();
        return Error::fromErrno(error->second, clean);
    }
    const auto known = _folderKeys.find(clean);
    if (known == _folderKeys.end() || known->second.empty()) folderCame(clean, known != _folderKeys.end());
    return {};
}

void FakeVolumes::removeFolderDrive(const std::string& path) {
    const auto found = _folderKeys.find(paths::clean(path));
    if (found == _folderKeys.end()) return;
    const std::string name = found->second;
    _folderKeys.erase(found);
    if (name.empty()) return;
    setMountPoint(name, {});
    report(&VolumeObserver::diskDescriptionChanged, description(name, _disks.at(name)));
    const std::lock_guard guard(_lock);
    _disks.erase(name);
}

Result<void> FakeVolumes::unmountNow(const std::string& mountPoint) {
    const std::string path = paths::clean(mountPoint);
    const auto error = unmountErrors.find(path);
    if (error != unmountErrors.end()) return error->second;
    const std::string name = keyOf(path);
    if (name.empty()) return Error::fromErrno(EINVAL, path);
    if (_disks.at(name).folder)
        removeFolderDrive(path);
    else
        unmountKey(name);
    return {};
}

void FakeVolumes::unmount(const std::string& mountPoint, UnmountDone done) {
    auto work = [this, mountPoint, done = std::move(done)] {
        _runLoop.performLater([done, result = unmountNow(mountPoint)] { done(result); });
    };
    if (unmountsWait)
        _waitingUnmounts.emplace_back(std::move(work));
    else
        work();
}

void FakeVolumes::completeUnmounts() {
    for (const auto& work : std::exchange(_waitingUnmounts, {})) work();
}

void FakeVolumes::detachGone(const std::string& mediaBsdName, const std::string& mountPoint, DetachDone done) {
    const auto left = leftMounts.find(paths::clean(mountPoint));
    const bool isItsOwn = left != leftMounts.end() && left->second == mediaBsdName;
    const auto error = unmountErrors.find(paths::clean(mountPoint));
    const bool refused = isItsOwn && error != unmountErrors.end();
    if (isItsOwn && !refused) leftMounts.erase(left);
    _runLoop.performLater([done = std::move(done),
                           result = refused ? Result<bool>(error->second) : Result<bool>(isItsOwn)] { done(result); });
}

} // namespace vt

#include "platform/linux/volumes/VolumeSurvey.h"

#include "base/Paths.h"
#include "platform/VolumeService.h"
#include "platform/linux/volumes/DeviceFacts.h"
#include "platform/linux/volumes/DiskDescriptions.h"
#include "platform/linux/volumes/FileSystemTraits.h"
#include "platform/linux/volumes/MountPlaces.h"
#include "platform/linux/volumes/NetworkShares.h"

#include <algorithm>
#include <dirent.h>
#include <memory>
#include <set>
#include <sys/stat.h>

namespace vt {

namespace {

constexpr std::string_view desktopMount = "fuse.gvfsd-fuse";

// A part of a file system mounted onto a file (as containers do) is no volume.
bool isFolder(const std::string& path) {
    struct stat status = {};
    return ::stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

Result<std::vector<std::string>> namesIn(const std::string& folder) {
    struct Close {
        void operator()(DIR* directory) const { ::closedir(directory); }
    };
    const std::unique_ptr<DIR, Close> directory(::opendir(folder.c_str()));
    if (!directory) return Error::fromErrno(errno, folder);
    std::vector<std::string> names;
    while (const dirent* entry = ::readdir(directory.get())) names.emplace_back(entry->d_name);
    return names;
}

} // namespace

std::map<std::string, MountEntry> VolumeSurvey::disks(const MountTable& table, const VolumeSnapshot& before) {
    std::map<std::string, MountEntry> disks;
    std::set<std::string> systemDevices;
    const auto isWhereItWas = [&before](const std::string& key, const std::string& mountPoint) {
        const auto known = before.find(key);
        return known != before.end() && known->second.mountPoint == mountPoint;
    };
    for (const MountEntry& entry : table) {
        const MountPlace place = mountPlace(entry.target);
        if (place == MountPlace::program) continue;
        const auto device = blockDeviceOf(entry);
        if (!device) continue;
        const std::string key = device->bsdName();
        if (place == MountPlace::system) {
            systemDevices.insert(key);
            continue;
        }
        const auto found = disks.find(key);
        const bool isWholeAtLast = found != disks.end() && found->second.root != "/" && entry.root == "/";
        const bool better = found == disks.end() || isWhereItWas(key, entry.target) ||
                            (isWholeAtLast && !isWhereItWas(key, found->second.target));
        if (!better || (entry.root != "/" && !isFolder(entry.target))) continue;
        disks.insert_or_assign(key, entry);
    }
    // Another mount of a known drive is no departure, wherever it is.
    std::erase_if(disks, [&](const auto& disk) {
        return systemDevices.contains(disk.first) && !isWhereItWas(disk.first, disk.second.target);
    });
    return disks;
}

ShareLook VolumeSurvey::shares(const MountTable& table, TimedCalls& calls) {
    ShareLook look;
    for (const MountEntry& entry : table) {
        if (entry.type == desktopMount) {
            const auto names =
                calls.run<std::vector<std::string>>(entry.target, [target = entry.target] { return namesIn(target); });
            if (!names) look.silent.push_back(entry.target);
            if (!names) continue;
            for (const std::string& name : *names)
                if (const auto from = shareOfDesktopEntry(name))
                    look.shares.push_back({paths::join(entry.target, name), *from});
        } else if (fileSystemTraits(entry.type).statName == "smbfs" && mountPlace(entry.target) == MountPlace::drive) {
            look.shares.push_back({entry.target, shareOfKernelMount(entry)});
        }
    }
    return look;
}

void VolumeSurvey::addDisks(const MountTable& table, VolumeSnapshot& next) {
    std::map<std::string, MountEntry> mounted = disks(table, _last);
    for (const auto& [key, mount] : mounted) {
        const auto device = DeviceNumber::fromBsdName(key);
        // A mount whose device was pulled stays in the table: for us it is gone.
        if (!device || !deviceIsPresent(*device)) continue;
        const auto old = _mounts.find(key);
        if (old != _mounts.end() && old->second == mount && _last.contains(key)) {
            next.emplace(key, _last.at(key));
            continue;
        }
        VolumeState state;
        state.mountPoint = mount.target;
        state.description = describeDisk(mount, *device);
        const auto number = state.description.find(diskdescription::volumeIdentity);
        if (number != state.description.end()) state.identity = *number->second.asString();
        next.emplace(key, std::move(state));
    }
    for (const auto& [key, state] : _last) {
        const auto device = state.kind == VolumeKind::disk ? DeviceNumber::fromBsdName(key) : std::nullopt;
        if (!device || next.contains(key) || mounted.contains(key) || !deviceIsPresent(*device)) continue;
        VolumeState unmounted = state;
        unmounted.mountPoint.clear();
        unmounted.description.erase(diskdescription::volumePath);
        next.emplace(key, std::move(unmounted));
    }
    _mounts = std::move(mounted);
}

void VolumeSurvey::addShares(const MountTable& table, VolumeSnapshot& next) {
    const ShareLook found = shares(table, _calls);
    for (const ShareMount& share : found.shares)
        next.emplace(share.mountPoint, VolumeState{VolumeKind::network, share.mountPoint, share.mountedFrom, false,
                                                   describeShare(share.mountPoint, share.mountedFrom)});
    for (const std::string& folder : found.silent) // a server that hangs is no departure
        for (const auto& [key, state] : _last)
            if (state.kind == VolumeKind::network && paths::isAtOrBelow(key, folder)) next.emplace(key, state);
}

void VolumeSurvey::addFolders(const MountTable& table, VolumeSnapshot& next) {
    for (const FolderDrive& drive : _folders.refresh(table)) {
        const auto old = _last.find(drive.bsdName);
        if (old != _last.end() && old->second.mountPoint == drive.path)
            next.emplace(drive.bsdName, old->second);
        else
            next.emplace(drive.bsdName, VolumeState{VolumeKind::folder, drive.path, drive.path, drive.returned,
                                                    describeFolder(drive)});
    }
}

const VolumeSnapshot& VolumeSurvey::look(bool sameMounts) {
    if (!sameMounts || _table.empty()) {
        auto table = readSettledMountTable();
        if (!table) {
            _table.clear(); // the next look tries again
            return _last;
        }
        _table = std::move(*table);
        _mustPoll =
            std::any_of(_table.begin(), _table.end(), [](const MountEntry& e) { return e.type == desktopMount; });
    }
    VolumeSnapshot next;
    addDisks(_table, next);
    addShares(_table, next);
    addFolders(_table, next);
    _last = std::move(next);
    return _last;
}

} // namespace vt

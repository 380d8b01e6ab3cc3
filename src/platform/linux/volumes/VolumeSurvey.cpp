#include "platform/linux/volumes/VolumeSurvey.h"

#include "base/Paths.h"
#include "platform/VolumeService.h"
#include "platform/linux/volumes/DeviceFacts.h"
#include "platform/linux/volumes/DiskDescriptions.h"
#include "platform/linux/volumes/FileSystemTraits.h"
#include "platform/linux/volumes/NetworkShares.h"

#include <algorithm>
#include <array>
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

bool isSystemMountPoint(std::string_view path) {
    if (paths::isAtOrBelow(path, "/run/media") && path != "/run/media") return false;
    // At the folder itself only: people mount below them.
    static constexpr std::array<std::string_view, 8> folders = {"/",    "/home",  "/root", "/tmp",
                                                                "/mnt", "/media", "/srv",  "/opt"};
    static constexpr std::array<std::string_view, 14> trees = {"/proc", "/sys", "/dev",  "/run", "/boot",
                                                               "/efi",  "/usr", "/etc",  "/bin", "/sbin",
                                                               "/lib",  "/nix", "/snap", "/var"};
    const auto below = [&](std::string_view tree) { return paths::isAtOrBelow(path, tree); };
    return std::find(folders.begin(), folders.end(), path) != folders.end() ||
           std::any_of(trees.begin(), trees.end(), below);
}

std::map<std::string, MountEntry> VolumeSurvey::disks(const MountTable& table, const VolumeSnapshot& before) {
    std::map<std::string, MountEntry> disks;
    std::set<std::string> systemDevices;
    for (const MountEntry& entry : table) {
        const auto device = blockDeviceOf(entry);
        if (!device) continue;
        const std::string key = device->bsdName();
        if (isSystemMountPoint(entry.target)) {
            systemDevices.insert(key);
            continue;
        }
        const auto known = before.find(key);
        const bool servedHere = known != before.end() && known->second.mountPoint == entry.target;
        const auto found = disks.find(key);
        const bool better = found == disks.end() || servedHere || (found->second.root != "/" && entry.root == "/");
        const bool keptHere =
            found != disks.end() && known != before.end() && known->second.mountPoint == found->second.target;
        if (!better || (keptHere && !servedHere)) continue;
        if (entry.root != "/" && !isFolder(entry.target)) continue;
        disks.insert_or_assign(key, entry);
    }
    for (const std::string& key : systemDevices) disks.erase(key);
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
        } else if (fileSystemTraits(entry.type).statName == "smbfs" && !isSystemMountPoint(entry.target)) {
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

const VolumeSnapshot& VolumeSurvey::look() {
    const auto table = readSettledMountTable();
    if (!table) return _last;
    VolumeSnapshot next;
    addDisks(*table, next);
    addShares(*table, next);
    addFolders(*table, next);
    _mustPoll = std::any_of(table->begin(), table->end(), [](const MountEntry& e) { return e.type == desktopMount; });
    _last = std::move(next);
    return _last;
}

} // namespace vt

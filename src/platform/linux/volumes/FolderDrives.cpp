#include "platform/linux/volumes/FolderDrives.h"

#include "base/Paths.h"
#include "platform/linux/UniqueFd.h"
#include "platform/linux/volumes/DeviceFacts.h"
#include "platform/linux/volumes/DiskDescriptions.h"
#include "platform/linux/volumes/OpenedPath.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace vt {

struct FolderDrives::Look {
    std::string realPath;
    std::string holder;
    std::string fileSystem;
    std::uint64_t inode = 0;
    std::uint64_t device = 0;
};

std::optional<FolderDrives::Look> FolderDrives::lookAt(const std::string& path, const MountTable& table) {
    const auto opened = OpenedPath::open(path);
    if (!opened || !opened->isDirectory()) return std::nullopt;
    Look look;
    look.realPath = opened->realPath();
    look.inode = opened->inode();
    look.device = opened->device();
    if (const MountEntry* mount = opened->mount(table)) {
        // On a disk that was pulled the folder can still be opened, but nothing can be kept there any more.
        const auto device = blockDeviceOf(*mount);
        if (device && !deviceIsPresent(*device)) return std::nullopt;
        look.holder = mount->target;
        look.fileSystem = mount->type;
    }
    return look;
}

Result<void> FolderDrives::add(const std::string& path) {
    const std::string clean = paths::clean(path);
    const auto opened = OpenedPath::open(clean);
    if (!opened && opened.code() != ENOENT) return opened.error();
    if (opened) {
        if (!opened->isDirectory()) return Error::fromErrno(ENOTDIR, clean);
        if (::faccessat(AT_FDCWD, clean.c_str(), R_OK | W_OK | X_OK, AT_EACCESS) != 0)
            return Error::fromErrno(errno, clean);
    }
    const auto table = readMountTable();
    if (!table) return table.error();
    const auto look = lookAt(clean, *table);
    const std::lock_guard guard(_lock);
    update(clean, _entries[clean], look);
    if (!opened) return opened.error();
    return {};
}

void FolderDrives::remove(const std::string& path) {
    const std::lock_guard guard(_lock);
    const auto found = _entries.find(paths::clean(path));
    if (found == _entries.end()) return;
    if (found->second.drive) _forgotten.insert(found->second.drive->bsdName);
    _entries.erase(found);
}

bool FolderDrives::empty() const {
    const std::lock_guard guard(_lock);
    return _entries.empty();
}

std::vector<FolderDrive> FolderDrives::refresh(const MountTable& table) {
    std::vector<std::string> adopted;
    {
        const std::lock_guard guard(_lock);
        for (const auto& [path, entry] : _entries) adopted.push_back(path);
    }
    std::map<std::string, std::optional<Look>> looks;
    for (const std::string& path : adopted) looks.emplace(path, lookAt(path, table));
    {
        const std::lock_guard guard(_lock);
        for (auto& [path, entry] : _entries) {
            const auto look = looks.find(path);
            if (look != looks.end()) update(path, entry, look->second);
        }
    }
    return present();
}

// Under the lock.
void FolderDrives::update(const std::string& path, Entry& entry, const std::optional<Look>& look) {
    const bool elsewhere = look && !entry.holder.empty() && look->holder != entry.holder;
    if (!look || elsewhere) {
        entry.drive.reset();
        entry.wasAway = true;
        return;
    }
    if (entry.drive && entry.inode == look->inode && entry.device == look->device) {
        entry.drive->realPath = look->realPath;
        return;
    }
    if (entry.drive) entry.wasAway = true; // another folder took the place between two looks
    entry.drive.reset();
    entry.holder = look->holder;
    entry.inode = look->inode;
    entry.device = look->device;
    entry.drive =
        FolderDrive{path, look->realPath, freeName(look->inode), look->holder, look->fileSystem, entry.wasAway};
}

std::string FolderDrives::freeName(std::uint64_t inode) const {
    const std::string base = "diskf" + std::to_string(inode);
    const auto taken = [this](const std::string& name) {
        return std::any_of(_entries.begin(), _entries.end(), [&](const auto& entry) {
            return entry.second.drive && entry.second.drive->bsdName == name;
        });
    };
    std::string name = base;
    for (int number = 1; taken(name); ++number) name = base + "s" + std::to_string(number);
    return name;
}

std::vector<FolderDrive> FolderDrives::present() const {
    const std::lock_guard guard(_lock);
    std::vector<FolderDrive> drives;
    for (const auto& [path, entry] : _entries)
        if (entry.drive) drives.push_back(*entry.drive);
    return drives;
}

std::optional<FolderDrive> FolderDrives::owner(std::string_view realPath) const {
    const std::lock_guard guard(_lock);
    std::optional<FolderDrive> deepest;
    for (const auto& [path, entry] : _entries) {
        if (!entry.drive || !paths::isAtOrBelow(realPath, entry.drive->realPath)) continue;
        if (!deepest || entry.drive->realPath.size() > deepest->realPath.size()) deepest = entry.drive;
    }
    return deepest;
}

std::optional<FolderDrive> FolderDrives::at(std::string_view path) const {
    const std::lock_guard guard(_lock);
    const auto found = _entries.find(std::string(path));
    return found == _entries.end() ? std::nullopt : found->second.drive;
}

std::set<std::string> FolderDrives::takeForgotten() {
    const std::lock_guard guard(_lock);
    return std::exchange(_forgotten, {});
}

} // namespace vt

#include "platform/linux/LinuxFileSystemTable.h"

#include "base/Paths.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string_view>
#include <unistd.h>
#include <utility>

namespace vt {
namespace {

struct Row {
    const char* personality;
    const char* name;
    const char* contentHint; // null: none of its own
    std::array<const char*, 3> makers;
};

// Personalities and hints are the kinds and contents that disk descriptions carry.
constexpr Row rows[] = {
    // clang-format off
    {"msdos",        "MS-DOS (FAT)",         "Windows_FAT_32", {"mkfs.vfat", "mkfs.fat", "mkfs.msdos"}},
    {"MS-DOS FAT32", "MS-DOS (FAT32)",       "DOS_FAT_32",     {"mkfs.vfat", "mkfs.fat", "mkfs.msdos"}},
    {"exfat",        "ExFAT",                "Windows_exFAT",  {"mkfs.exfat", "mkexfatfs", nullptr}},
    {"NTFS",         "Windows NT Filesystem", "Windows_NTFS",  {"mkfs.ntfs", "mkntfs", nullptr}},
    {"hfs",          "Mac OS Extended",      "Apple_HFS",      {"mkfs.hfsplus", "newfs_hfs", nullptr}},
    {"udf",          "Universal Disk Format", "UDF",           {"mkfs.udf", "mkudffs", nullptr}},
    {"ext4",         "ext4",                 "Linux",          {"mkfs.ext4", nullptr, nullptr}},
    {"ext3",         "ext3",                 nullptr,          {"mkfs.ext3", nullptr, nullptr}},
    {"ext2",         "ext2",                 nullptr,          {"mkfs.ext2", nullptr, nullptr}},
    {"xfs",          "XFS",                  nullptr,          {"mkfs.xfs", nullptr, nullptr}},
    {"btrfs",        "Btrfs",                nullptr,          {"mkfs.btrfs", nullptr, nullptr}},
    {"f2fs",         "F2FS",                 nullptr,          {"mkfs.f2fs", nullptr, nullptr}},
    // clang-format on
};

bool isKnown(std::string_view type) {
    // The kernel's names of rows that are called otherwise here.
    static constexpr std::array<std::string_view, 6> others{"vfat", "ntfs", "ntfs3", "hfsplus", "fuse", "fuseblk"};
    return std::find(others.begin(), others.end(), type) != others.end() ||
           std::any_of(std::begin(rows), std::end(rows), [&](const Row& row) { return type == row.personality; });
}

std::vector<std::string> usualFolders() {
    std::vector<std::string> folders;
    const char* path = std::getenv("PATH");
    std::istringstream list(path != nullptr ? path : "");
    for (std::string folder; std::getline(list, folder, ':');)
        if (paths::isAbsolute(folder)) folders.push_back(folder);
    // An ordinary user's search path often lacks these.
    for (const char* folder : {"/usr/sbin", "/sbin", "/usr/local/sbin"}) folders.emplace_back(folder);
    return folders;
}

} // namespace

LinuxFileSystemTable::LinuxFileSystemTable() : LinuxFileSystemTable(usualFolders(), "/proc/filesystems") {}

LinuxFileSystemTable::LinuxFileSystemTable(std::vector<std::string> programFolders, std::string kernelList)
    : _programFolders(std::move(programFolders)), _kernelList(std::move(kernelList)) {}

bool LinuxFileSystemTable::hasProgram(const std::string& name) const {
    return std::any_of(_programFolders.begin(), _programFolders.end(),
                       [&](const std::string& folder) { return access(paths::join(folder, name).c_str(), X_OK) == 0; });
}

// Lines are "nodev<tab>proc" or "<tab>ext4".
std::vector<std::string> LinuxFileSystemTable::kernelTypes() const {
    std::vector<std::string> types;
    std::ifstream list(_kernelList);
    for (std::string line; std::getline(list, line);) {
        const auto tab = line.find('\t');
        if (tab != std::string::npos && tab + 1 < line.size()) types.push_back(line.substr(tab + 1));
    }
    return types;
}

std::vector<FileSystemBundle> LinuxFileSystemTable::bundles() {
    std::vector<FileSystemPersonality> usual;
    for (const auto& row : rows) {
        FileSystemPersonality one{row.personality, row.name, std::nullopt, false};
        if (row.contentHint != nullptr) one.contentHint = row.contentHint;
        one.canFormat = std::any_of(row.makers.begin(), row.makers.end(),
                                    [&](const char* maker) { return maker != nullptr && hasProgram(maker); });
        usual.push_back(std::move(one));
    }
    if (hasProgram("ntfs-3g") || hasProgram("mount.ntfs-3g"))
        usual.push_back({"NTFS-3G", "NTFS-3G", std::nullopt, hasProgram("mkfs.ntfs")});
    std::vector<FileSystemBundle> result;
    result.push_back({"/usr/sbin", "/usr/sbin", std::move(usual)});

    std::vector<FileSystemPersonality> offered;
    for (const auto& type : kernelTypes())
        if (!isKnown(type)) offered.push_back({type, type, std::nullopt, hasProgram("mkfs." + type)});
    if (!offered.empty()) result.push_back({_kernelList, _kernelList, std::move(offered)});
    return result;
}

// The driver has no such setting here: it is used or not by what mounts the drive.
std::optional<Value> LinuxFileSystemTable::ntfsDriverDisabled() {
    return std::nullopt;
}

} // namespace vt

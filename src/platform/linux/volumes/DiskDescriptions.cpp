#include "platform/linux/volumes/DiskDescriptions.h"

#include "base/Paths.h"
#include "platform/VolumeService.h"
#include "platform/linux/volumes/DeviceFacts.h"
#include "platform/linux/volumes/FileSystemTraits.h"
#include "platform/linux/volumes/NetworkShares.h"

#include <charconv>
#include <cstdio>
#include <sys/stat.h>
#include <sys/statvfs.h>

namespace vt {

namespace {

namespace key = diskdescription;

void addText(Value::Dictionary& description, const char* name, const std::string& text) {
    if (!text.empty()) description.insert_or_assign(name, Value(text));
}

// The content hint of a FAT volume tells whether its partition is the one for long block addresses.
std::string contentOf(const FileSystemTraits& traits, const DeviceFacts& facts) {
    unsigned type = 0;
    const std::string& text = facts.partitionType;
    const bool numbered = text.starts_with("0x");
    if (numbered) std::from_chars(text.data() + 2, text.data() + text.size(), type, 16);
    constexpr unsigned fat32 = 0x0B;
    if (traits.statName == "msdos" && numbered && type == fat32) return "DOS_FAT_32";
    return std::string(traits.content);
}

// FNV-1a: names a folder, protects nothing.
std::uint64_t hashOf(std::string_view text, std::uint64_t hash) {
    for (const char byte : text) {
        hash ^= static_cast<unsigned char>(byte);
        hash *= 0x0000'0100'0000'01B3;
    }
    return hash;
}

} // namespace

std::optional<DeviceNumber> blockDeviceOf(const MountEntry& mount) {
    if (mount.device.major != 0) return mount.device;
    if (!mount.source.starts_with("/dev/")) return std::nullopt;
    struct stat status = {};
    if (::stat(mount.source.c_str(), &status) != 0 || !S_ISBLK(status.st_mode)) return std::nullopt;
    return DeviceNumber::fromKernel(status.st_rdev);
}

std::string resolvedType(const MountEntry& mount) {
    if (mount.type != "fuseblk") return mount.type;
    const auto device = blockDeviceOf(mount);
    return fuseBlockType(device ? readContentType(*device) : "");
}

Value::Dictionary describeDisk(const MountEntry& mount, DeviceNumber device) {
    const DeviceFacts facts = readDeviceFacts(device);
    const std::string type = mount.type == "fuseblk" ? fuseBlockType(facts.fileSystem) : mount.type;
    const FileSystemTraits traits = fileSystemTraits(type);
    Value::Dictionary description;
    addText(description, key::volumePath, mount.target);
    addText(description, key::volumeName, facts.label.empty() ? paths::lastComponent(mount.target) : facts.label);
    addText(description, key::volumeKind, std::string(traits.kind));
    if (traits.numberIsUuid) addText(description, key::volumeUuid, facts.uuid);
    addText(description, key::volumeIdentity, facts.uuid);
    description.insert_or_assign(key::volumeNetwork, false);
    addText(description, key::mediaBsdName, device.bsdName());
    addText(description, key::mediaContent, contentOf(traits, facts));
    description.insert_or_assign(key::mediaSize, facts.size);
    description.insert_or_assign(key::mediaWritable, !mount.readOnly);
    description.insert_or_assign(key::deviceInternal, facts.internal);
    addText(description, key::deviceVendor, facts.vendor);
    addText(description, key::deviceModel, facts.model);
    addText(description, key::deviceRevision, facts.revision);
    return description;
}

Value::Dictionary describeFolder(const FolderDrive& drive) {
    const FileSystemTraits traits = fileSystemTraits(drive.fileSystem);
    Value::Dictionary description;
    addText(description, key::volumePath, drive.path);
    addText(description, key::volumeName, paths::lastComponent(drive.path));
    addText(description, key::volumeKind, std::string(traits.kind));
    addText(description, key::volumeUuid, folderUuid(drive.path));
    description.insert_or_assign(key::volumeNetwork, false);
    addText(description, key::mediaBsdName, drive.bsdName);
    addText(description, key::mediaContent, std::string(traits.content));
    struct statvfs space = {};
    const bool known = ::statvfs(drive.path.c_str(), &space) == 0;
    description.insert_or_assign(key::mediaSize, std::uint64_t{known ? space.f_blocks * space.f_frsize : 0});
    description.insert_or_assign(key::mediaWritable, known && (space.f_flag & ST_RDONLY) == 0);
    description.insert_or_assign(key::deviceInternal, false);
    return description;
}

Value::Dictionary describeShare(const std::string& mountPoint, const std::string& mountedFrom) {
    Value::Dictionary description;
    addText(description, key::volumePath, mountPoint);
    addText(description, key::volumeName, paths::lastComponent(mountedFrom));
    addText(description, key::volumeKind, "smbfs");
    description.insert_or_assign(key::volumeNetwork, true);
    return description;
}

std::string folderUuid(const std::string& path) {
    const std::uint64_t high = hashOf(path, 0xCBF2'9CE4'8422'2325);
    const std::uint64_t low = hashOf(path, high);
    char text[37];
    // Version 8 (made by a rule of one's own) and the usual variant.
    std::snprintf(text, sizeof text, "%08x-%04x-8%03x-%04x-%012llx", static_cast<unsigned>(high >> 32U),
                  static_cast<unsigned>((high >> 16U) & 0xFFFFU), static_cast<unsigned>(high & 0xFFFU),
                  static_cast<unsigned>(((low >> 48U) & 0x3FFFU) | 0x8000U),
                  static_cast<unsigned long long>(low & 0xFFFF'FFFF'FFFFU));
    return text;
}

} // namespace vt

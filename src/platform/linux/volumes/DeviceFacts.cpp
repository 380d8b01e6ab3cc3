#include "platform/linux/volumes/DeviceFacts.h"

#include "platform/linux/UniqueFd.h"

#include <blkid/blkid.h>
#include <cctype>
#include <charconv>
#include <fcntl.h>
#include <libudev.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

namespace vt {

namespace {

struct UdevRelease {
    void operator()(udev* context) const { udev_unref(context); }
    void operator()(udev_device* device) const { udev_device_unref(device); }
};
using Udev = std::unique_ptr<udev, UdevRelease>;
using UdevDevice = std::unique_ptr<udev_device, UdevRelease>;

std::string trimmed(std::string text) {
    const auto blank = [](char c) { return std::isspace(static_cast<unsigned char>(c)) != 0; };
    while (!text.empty() && blank(text.back())) text.pop_back();
    std::size_t start = 0;
    while (start < text.size() && blank(text[start])) ++start;
    return text.substr(start);
}

// udev writes bytes that it finds unsafe as "\x20".
std::string decoded(const char* encoded) {
    if (!encoded) return {};
    const std::string_view text(encoded);
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        unsigned value = 0;
        const char* digits = text.data() + i + 2;
        if (text[i] == '\\' && i + 4 <= text.size() && text[i + 1] == 'x' &&
            std::from_chars(digits, digits + 2, value, 16).ptr == digits + 2) {
            result.push_back(static_cast<char>(value));
            i += 3;
        } else {
            result.push_back(text[i]);
        }
    }
    return trimmed(result);
}

std::string property(udev_device* device, const char* encodedName, const char* plainName) {
    if (encodedName) {
        std::string value = decoded(udev_device_get_property_value(device, encodedName));
        if (!value.empty()) return value;
    }
    const char* value = udev_device_get_property_value(device, plainName);
    return value ? trimmed(value) : "";
}

std::string attribute(udev_device* device, const char* name) {
    const char* value = device ? udev_device_get_sysattr_value(device, name) : nullptr;
    return value ? trimmed(value) : "";
}

void fillEmpty(std::string& field, const std::string& value) {
    if (field.empty()) field = value;
}

// Whole disk of a partition, else the device itself.
udev_device* diskOf(udev_device* device) {
    udev_device* parent = udev_device_get_parent_with_subsystem_devtype(device, "block", "disk");
    return parent ? parent : device;
}

void readIdentity(udev_device* device, DeviceFacts& facts) {
    facts.vendor = property(device, "ID_VENDOR_ENC", "ID_VENDOR");
    facts.model = property(device, "ID_MODEL_ENC", "ID_MODEL");
    facts.revision = property(device, nullptr, "ID_REVISION");
    facts.fileSystem = property(device, nullptr, "ID_FS_TYPE");
    facts.uuid = property(device, nullptr, "ID_FS_UUID");
    facts.label = property(device, "ID_FS_LABEL_ENC", "ID_FS_LABEL");
    facts.partitionType = property(device, nullptr, "ID_PART_ENTRY_TYPE");

    udev_device* scsi = udev_device_get_parent_with_subsystem_devtype(device, "scsi", "scsi_device");
    fillEmpty(facts.vendor, attribute(scsi, "vendor"));
    fillEmpty(facts.model, attribute(scsi, "model"));
    fillEmpty(facts.revision, attribute(scsi, "rev"));
    udev_device* usb = udev_device_get_parent_with_subsystem_devtype(device, "usb", "usb_device");
    fillEmpty(facts.vendor, attribute(usb, "manufacturer"));
    fillEmpty(facts.model, attribute(usb, "product"));
    fillEmpty(facts.model, attribute(diskOf(device), "device/model")); // NVMe and others
    fillEmpty(facts.model, attribute(diskOf(device), "device/name"));  // memory cards
    fillEmpty(facts.revision, attribute(diskOf(device), "device/firmware_rev"));
}

bool isInternal(udev_device* device, DeviceNumber number) {
    const std::string bus = property(device, nullptr, "ID_BUS");
    if (bus == "usb" || bus == "ieee1394") return false;
    udev_device* disk = diskOf(device);
    if (attribute(disk, "removable") == "1" || attribute(disk, "device/type") == "SD") return false;
    if (udev_device_get_parent_with_subsystem_devtype(device, "usb", "usb_device")) return false;
    constexpr std::uint32_t loopMajor = 7; // a disk image is attached by hand, like a stick
    return number.major != loopMajor;
}

std::string probeValue(blkid_probe probe, const char* name) {
    const char* value = nullptr;
    return blkid_probe_lookup_value(probe, name, &value, nullptr) == 0 && value ? trimmed(value) : "";
}

// Reads the device itself, which ordinary users may not.
void probeContent(const char* node, DeviceFacts& facts) {
    // Non-blocking: an empty card reader must not make us wait for a medium.
    const UniqueFd descriptor(::open(node, O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    struct stat status = {};
    if (!descriptor.isOpen() || ::fstat(descriptor.get(), &status) != 0 || !S_ISBLK(status.st_mode)) return;
    const auto release = [](blkid_probe probe) { blkid_free_probe(probe); };
    const std::unique_ptr<std::remove_pointer_t<blkid_probe>, decltype(release)> probe(blkid_new_probe(), release);
    if (!probe || blkid_probe_set_device(probe.get(), descriptor.get(), 0, 0) != 0) return;
    blkid_probe_enable_superblocks(probe.get(), 1);
    blkid_probe_set_superblocks_flags(probe.get(), BLKID_SUBLKS_TYPE | BLKID_SUBLKS_UUID | BLKID_SUBLKS_LABEL);
    blkid_probe_enable_partitions(probe.get(), 1);
    blkid_probe_set_partitions_flags(probe.get(), BLKID_PARTS_ENTRY_DETAILS);
    if (blkid_do_safeprobe(probe.get()) != 0) return;
    fillEmpty(facts.fileSystem, probeValue(probe.get(), "TYPE"));
    fillEmpty(facts.uuid, probeValue(probe.get(), "UUID"));
    fillEmpty(facts.label, probeValue(probe.get(), "LABEL"));
    fillEmpty(facts.partitionType, probeValue(probe.get(), "PART_ENTRY_TYPE"));
}

UdevDevice openDevice(const Udev& context, DeviceNumber number) {
    return UdevDevice(context ? udev_device_new_from_devnum(context.get(), 'b', number.kernel()) : nullptr);
}

} // namespace

DeviceFacts readDeviceFacts(DeviceNumber number) {
    DeviceFacts facts;
    const Udev context(udev_new());
    const UdevDevice device = openDevice(context, number);
    if (!device) return facts;
    readIdentity(device.get(), facts);
    facts.internal = isInternal(device.get(), number);
    constexpr std::uint64_t sectorSize = 512; // the unit of sysfs, whatever the device's own
    const std::string sectors = attribute(device.get(), "size");
    std::uint64_t count = 0;
    std::from_chars(sectors.data(), sectors.data() + sectors.size(), count);
    facts.size = count * sectorSize;
    const char* node = udev_device_get_devnode(device.get());
    if (node && (facts.fileSystem.empty() || facts.uuid.empty())) probeContent(node, facts);
    return facts;
}

std::string readContentType(DeviceNumber number) {
    const Udev context(udev_new());
    const UdevDevice device = openDevice(context, number);
    if (!device) return {};
    DeviceFacts facts;
    facts.fileSystem = property(device.get(), nullptr, "ID_FS_TYPE");
    const char* node = udev_device_get_devnode(device.get());
    if (node && facts.fileSystem.empty()) probeContent(node, facts);
    return facts.fileSystem;
}

bool deviceIsPresent(DeviceNumber number) {
    const UniqueFd size(::open((number.sysPath() + "/size").c_str(), O_RDONLY | O_CLOEXEC));
    // Where the system tells nothing of any device (no sysfs), that is no word about this one.
    if (!size.isOpen()) return ::access("/sys/dev/block", F_OK) != 0;
    char first = '0';
    return ::read(size.get(), &first, 1) == 1 && first != '0';
}

} // namespace vt

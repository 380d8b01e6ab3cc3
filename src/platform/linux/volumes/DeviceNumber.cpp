#include "platform/linux/volumes/DeviceNumber.h"

#include <charconv>
#include <sys/sysmacros.h>

namespace vt {

namespace {

// The whole of `digits` as a number without sign or leading zeros.
std::optional<std::uint32_t> number(std::string_view digits) {
    std::uint32_t value = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    if (digits.empty() || error != std::errc() || end != digits.data() + digits.size()) return std::nullopt;
    if (digits.size() > 1 && digits.front() == '0') return std::nullopt;
    return value;
}

} // namespace

DeviceNumber DeviceNumber::fromKernel(std::uint64_t device) {
    return {gnu_dev_major(device), gnu_dev_minor(device)};
}

std::uint64_t DeviceNumber::kernel() const {
    return gnu_dev_makedev(major, minor);
}

std::string DeviceNumber::bsdName() const {
    return "disk" + std::to_string(major) + "s" + std::to_string(minor);
}

std::optional<DeviceNumber> DeviceNumber::fromBsdName(std::string_view name) {
    if (name.starts_with("/dev/")) name.remove_prefix(5);
    if (!name.starts_with("disk")) return std::nullopt;
    name.remove_prefix(4);
    const auto separator = name.find('s');
    if (separator == std::string_view::npos) return std::nullopt;
    const auto major = number(name.substr(0, separator));
    const auto minor = number(name.substr(separator + 1));
    if (!major || !minor) return std::nullopt;
    return DeviceNumber{*major, *minor};
}

std::string DeviceNumber::sysPath() const {
    return "/sys/dev/block/" + std::to_string(major) + ":" + std::to_string(minor);
}

std::string DeviceNumber::nodePath() const {
    return "/dev/block/" + std::to_string(major) + ":" + std::to_string(minor);
}

} // namespace vt

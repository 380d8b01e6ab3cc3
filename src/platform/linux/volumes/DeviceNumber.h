// Block devices under the names that the system gives them: "disk<major>s<minor>", with "/dev/" in front as a node.
// Thread: any.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace vt {

struct DeviceNumber {
    std::uint32_t major = 0;
    std::uint32_t minor = 0;
    bool operator==(const DeviceNumber&) const = default;

    [[nodiscard]] static DeviceNumber fromKernel(std::uint64_t device); // a dev_t
    [[nodiscard]] std::uint64_t kernel() const;
    // "disk7s0"
    [[nodiscard]] std::string bsdName() const;
    // Reads "disk7s0" and "/dev/disk7s0"; null for everything else, folder drives included.
    [[nodiscard]] static std::optional<DeviceNumber> fromBsdName(std::string_view name);
    // "/sys/dev/block/7:0"
    [[nodiscard]] std::string sysPath() const;
    // "/dev/block/7:0"; kept by udev, absent without it.
    [[nodiscard]] std::string nodePath() const;
};

} // namespace vt

// Which network address stands for this computer. Thread: any.
#pragma once

#include <functional>
#include <optional>
#include <string>

namespace vt {

// The address burnt into an interface, as 12 upper-case hexadecimal digits; null where the kernel does not know it.
using PermanentAddress = std::function<std::optional<std::string>(const std::string& interface)>;
[[nodiscard]] std::optional<std::string> askKernelForAddress(const std::string& interface);

// The permanent address of the physical Ethernet port with the lowest index below `folder` (as "/sys/class/net"), else
// of a Wi-Fi card; null without either.
[[nodiscard]] std::optional<std::string> primaryNetworkAddress(const std::string& folder,
                                                               const PermanentAddress& permanent);
// An address of the locally administered range, always the same for one machine id.
[[nodiscard]] std::string addressFromMachineId(const std::string& machineId);
// Twelve upper-case hexadecimal digits.
[[nodiscard]] bool isNetworkAddress(const std::string& text);

} // namespace vt

// The applications of this session, by their bundle identifiers ("com.Talmont.PushkeyManager"). Thread: main.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace vt {

using LaunchOptions = std::uint32_t;
inline constexpr LaunchOptions launchAsync = 0x10000; // the call does not wait for the end of the launch

class Applications {
  public:
    virtual ~Applications() = default;
    [[nodiscard]] virtual std::vector<std::string> runningApplications() = 0;
    // False: the application is not known, or cannot be started.
    [[nodiscard]] virtual bool launch(const std::string& bundleIdentifier, LaunchOptions options) = 0;
};

} // namespace vt

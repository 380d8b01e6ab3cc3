// Who and where this process is: user, computer, home and the folders that belong to the agent. Thread: any.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace vt {

class SystemIdentity {
  public:
    virtual ~SystemIdentity() = default;
    [[nodiscard]] virtual std::string home() const = 0; // $HOME when absolute, else the user database; no trailing "/"
    [[nodiscard]] virtual std::uint32_t userId() const = 0;
    [[nodiscard]] virtual std::string userName() const = 0;    // short name; "/" reads as "-"
    [[nodiscard]] virtual std::string machineName() const = 0; // pretty host name, else host name; "/" reads as "-"
    [[nodiscard]] virtual std::optional<std::string> hostName() const = 0; // gethostname; null when it fails
    // The primary network interface's permanent address as 12 upper-case hexadecimal digits; null when there is none.
    [[nodiscard]] virtual std::optional<std::string> ethernetAddress() const = 0;
    enum class UserFolder : std::uint8_t { movies, music, pictures };
    [[nodiscard]] virtual std::optional<std::string>
    userFolder(UserFolder folder) const = 0; // absolute; null when not there
    // The version that chooses between older and newer roads of the platform: 0x1080, "10.8". Null: the query failed.
    [[nodiscard]] virtual std::optional<std::int32_t> systemVersion() const { return 0x1080; }
    [[nodiscard]] virtual std::string productVersion() const { return "10.8"; }
    // The same text exactly until the computer starts again; "" where that is unknown.
    [[nodiscard]] virtual std::string bootId() const { return {}; }
    [[nodiscard]] virtual std::string configHome() const = 0; // $XDG_CONFIG_HOME or its default
    [[nodiscard]] virtual std::string dataHome() const = 0;
    [[nodiscard]] virtual std::string stateHome() const = 0;
};

} // namespace vt

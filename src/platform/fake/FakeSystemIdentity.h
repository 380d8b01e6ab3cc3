// A user and a computer as a test wants them. Thread: any; the fields are set before other threads ask.
#pragma once

#include "platform/SystemIdentity.h"

#include <map>

namespace vt {

class FakeSystemIdentity : public SystemIdentity {
  public:
    std::string homePath = "/home/ada";
    std::uint32_t user = 501;
    std::string name = "ada";
    std::string machine = "Workbench";
    std::optional<std::string> host = "workbench.local";
    std::optional<std::string> address = "0A1B2C3D4E5F";
    std::map<UserFolder, std::string> folders; // absolute; the ones that are not there are left out
    std::string configFolder;                  // "": ~/.config
    std::string dataFolder;                    // "": ~/.local/share
    std::string boot;                          // of this start of the computer
    std::string stateFolder;                   // "": ~/.local/state

    [[nodiscard]] std::string home() const override { return homePath; }
    [[nodiscard]] std::uint32_t userId() const override { return user; }
    [[nodiscard]] std::string userName() const override { return name; }
    [[nodiscard]] std::string machineName() const override { return machine; }
    [[nodiscard]] std::optional<std::string> hostName() const override { return host; }
    [[nodiscard]] std::optional<std::string> ethernetAddress() const override { return address; }
    [[nodiscard]] std::optional<std::string> userFolder(UserFolder folder) const override {
        const auto found = folders.find(folder);
        return found == folders.end() ? std::nullopt : std::optional<std::string>(found->second);
    }
    [[nodiscard]] std::string configHome() const override { return orHome(configFolder, "/.config"); }
    [[nodiscard]] std::string dataHome() const override { return orHome(dataFolder, "/.local/share"); }
    [[nodiscard]] std::string bootId() const override { return boot; }
    [[nodiscard]] std::string stateHome() const override { return orHome(stateFolder, "/.local/state"); }

  private:
    [[nodiscard]] std::string orHome(const std::string& folder, const char* below) const {
        return folder.empty() ? homePath + below : folder;
    }
};

} // namespace vt

// User, computer and folders from the user database, the environment, the kernel and the desktop's settings.
// Thread: any. Owns: the network address once it is known, under a lock; it is remembered in the file
// "vantaro/host-identity" of the state folder, so that another dock or card does not make another computer of this one.
#pragma once

#include "platform/FileService.h"
#include "platform/SystemIdentity.h"
#include "platform/linux/NetworkAddress.h"

#include <functional>
#include <mutex>

namespace vt {

class LinuxSystemIdentity : public SystemIdentity {
  public:
    // Where the system is looked at; a test brings its own.
    struct Sources {
        std::function<std::optional<std::string>(const char* variable)> environment; // unset: the process's own
        std::string machineInfo = "/etc/machine-info";
        std::string machineId = "/etc/machine-id";
        std::string bootId = "/proc/sys/kernel/random/boot_id";
        std::string networkInterfaces = "/sys/class/net";
        PermanentAddress permanentAddress; // unset: asks the kernel
    };
    LinuxSystemIdentity(FileService& files, FileContents& contents);
    LinuxSystemIdentity(FileService& files, FileContents& contents, Sources sources);

    [[nodiscard]] std::string home() const override;
    [[nodiscard]] std::uint32_t userId() const override;
    [[nodiscard]] std::string userName() const override;
    [[nodiscard]] std::string machineName() const override;
    [[nodiscard]] std::optional<std::string> hostName() const override;
    [[nodiscard]] std::optional<std::string> ethernetAddress() const override;
    [[nodiscard]] std::optional<std::string> userFolder(UserFolder folder) const override;
    [[nodiscard]] std::string configHome() const override;
    [[nodiscard]] std::string dataHome() const override;
    [[nodiscard]] std::string stateHome() const override;
    [[nodiscard]] std::string bootId() const override;

    // The computer's own 32 hexadecimal digits; "local" where it has none.
    [[nodiscard]] std::string machineId() const;

  private:
    [[nodiscard]] std::optional<std::string> readLine(const std::string& path) const;
    [[nodiscard]] std::string folderOf(const char* variable, const char* below) const;
    [[nodiscard]] std::optional<std::string> findAddress() const;
    void remember(const std::string& address) const;

    FileService& _files;
    FileContents& _contents;
    Sources _sources;
    mutable std::mutex _lock; // guards _address
    mutable std::optional<std::string> _address;
};

} // namespace vt

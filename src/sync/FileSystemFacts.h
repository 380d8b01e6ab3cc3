// What is known about the drive's file system: its kind, whether it can be written and synced to, its sizes. Filled on
// first demand and never refreshed afterwards. Thread: main; fsLimit4G() on any once the facts are filled.
// Errors: what cannot be found out stays unset, and such a drive is not compatible. Units: bytes.
#pragma once

#include "platform/VolumeService.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

namespace vt {

class FileSystemFacts {
  public:
    struct Services {
        VolumeService& volumes;
        std::function<std::string(const std::string& personality)> userFSNameForPersonality;
        std::function<bool(const std::string& personality)> personalityIsFormattable;
        std::function<bool(const std::string& hint)> contentHintIsFormattable;
        // The command's status and output, for systems that answer through a command only.
        std::function<int(const std::string& command, std::string& output)> execShellCommand;
        std::function<bool()> runningOnLeopardOrLater;
        std::function<bool(const std::string& path)> writableForUser;
        std::string productVersion;
    };
    FileSystemFacts(std::string mountPoint, Services services);

    void initFSVars();
    void initFSVars10_4();
    void initFSVars10_5();
    [[nodiscard]] bool fsIsCompatible();
    [[nodiscard]] bool fsIsNTFS();
    [[nodiscard]] bool fsLimit4G();
    [[nodiscard]] bool fsIsWritable() const { return _fsIsWritable; }
    [[nodiscard]] std::string fsName();
    [[nodiscard]] std::string contentTag() const { return _contentTag; }
    [[nodiscard]] std::optional<std::uint64_t> totalBytes();
    [[nodiscard]] std::optional<std::uint64_t> freeBytes();

    [[nodiscard]] const std::string& diskSlice() const { return _diskSlice; }
    void setDiskSlice(std::string slice) { _diskSlice = std::move(slice); }
    [[nodiscard]] const std::string& fileSystemType() const { return _fileSystemType; }
    void setFileSystemType(std::string type) { _fileSystemType = std::move(type); }
    // A volume's reference is its place among the mounted volumes, from 1 on; null where there is none.
    [[nodiscard]] static std::optional<std::string> nameOfVolume(VolumeService& volumes, std::int16_t reference);
    [[nodiscard]] static std::optional<std::string> deviceOfVolume(VolumeService& volumes, std::int16_t reference);
    // The name of the first mounted volume whose device is the drive's.
    [[nodiscard]] std::optional<std::string> volumeName() const;

  private:
    void fillIfEmpty();
    void decideLocal(const std::string& kind);
    [[nodiscard]] bool decideNtfs(const std::string& kind);
    void readCommandLine(std::string_view line, std::string& personality);

    std::string _mountPoint;
    Services _services;
    std::recursive_mutex _mutex; // the worker asks for the limit while the main thread may fill
    std::string _contentTag;
    std::string _fsName;
    std::string _diskSlice;
    std::string _fileSystemType;
    std::optional<std::uint64_t> _totalBytes;
    std::optional<std::uint64_t> _freeBytes;
    bool _fsIsWritable = false;
    bool _fsIsCompatible = false;
    bool _fsIsNTFS = false;
    bool _fsLimit4G = false;
};

} // namespace vt

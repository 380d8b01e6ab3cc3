// The volumes of this computer: mount table, udev, sysfs and the devices themselves, and folder drives.
// Thread: as VolumeService; events reach the observer from the run loop.
// Owns: a helper thread while observed, and one for each unmount that is under way.
// Errors: ETIMEDOUT from statVolume() when a share or a program's file system does not answer.
#pragma once

#include "platform/RunLoop.h"
#include "platform/VolumeService.h"

#include <chrono>
#include <memory>

namespace vt {

class BackgroundCalls;

struct LinuxVolumesSettings {
    // How long a share or a program's file system may take to answer.
    std::chrono::milliseconds answerLimit{5000};
    // How long an unmount may write out what is still in memory.
    std::chrono::milliseconds unmountLimit{120000};
    // Between two looks at what raises no event: folder drives and the desktop's shares.
    std::chrono::milliseconds lookInterval{1000};
};

class LinuxVolumes final : public VolumeService {
  public:
    explicit LinuxVolumes(RunLoop& runLoop, LinuxVolumesSettings settings = {});
    ~LinuxVolumes() override;

    [[nodiscard]] Result<VolumeStat> statVolume(const std::string& path) override;
    [[nodiscard]] DestinationCapabilities capabilities(const std::string& path) override;
    [[nodiscard]] std::vector<std::string> mountedVolumes() override;
    // Null for what is on no device and no share and was not adopted as a folder.
    [[nodiscard]] std::optional<Value::Dictionary> describe(const std::string& mountPoint) override;
    void startObserving(VolumeObserver& observer) override;
    void stopObserving() override;
    [[nodiscard]] Result<void> addFolderDrive(const std::string& path) override;
    void removeFolderDrive(const std::string& path) override;
    void unmount(const std::string& mountPoint, UnmountDone done) override;
    void detachGone(const std::string& mediaBsdName, const std::string& mountPoint, DetachDone done) override;

  private:
    struct Core;
    class Watch;
    RunLoop& _runLoop;
    std::shared_ptr<Core> _core; // shared with calls that still hang
    std::shared_ptr<BackgroundCalls> _background;
    std::unique_ptr<Watch> _watch;
};

} // namespace vt

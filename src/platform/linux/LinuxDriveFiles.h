// Hands out the file services of this computer, and tells one mounted volume from another. Thread: any.
// Errors: errno values with the path.
#pragma once

#include "platform/DriveFiles.h"
#include "platform/VolumeService.h"

namespace vt {

class LinuxDriveFilesFactory final : public DriveFilesFactory {
  public:
    // `volumes` tells what a drive can hold; it outlives this.
    explicit LinuxDriveFilesFactory(VolumeService& volumes) : _volumes(volumes) {}

    [[nodiscard]] std::unique_ptr<DriveFiles> bind(const DriveRoot* root) override;
    [[nodiscard]] Result<std::unique_ptr<DirectoryHandle>> open(const std::string& directory) override;

  private:
    VolumeService& _volumes;
};

} // namespace vt

#include "platform/linux/LinuxDriveFiles.h"

#include "platform/linux/LinuxFiles.h"
#include "platform/linux/LinuxItemCopy.h"
#include "platform/linux/VolumeIdentity.h"

#include <fcntl.h>

namespace vt {

namespace {

class LinuxDriveFiles final : public DriveFiles {
  public:
    LinuxDriveFiles(const DriveRoot* root, const DestinationCapabilities& capabilities)
        : _files(root), _copier(root, capabilities) {}
    [[nodiscard]] FileService& files() override { return _files; }
    [[nodiscard]] FileContents& contents() override { return _files; }
    [[nodiscard]] ItemCopyService& copier() override { return _copier; }

  private:
    LinuxFiles _files;
    LinuxItemCopy _copier;
};

class LinuxDirectoryHandle final : public DirectoryHandle {
  public:
    LinuxDirectoryHandle(UniqueFd folder, std::string path) : _folder(std::move(folder)), _path(std::move(path)) {}
    [[nodiscard]] int descriptor() const override { return _folder.get(); }
    [[nodiscard]] Result<std::string> identity() const override { return volumeIdentity(_folder.get(), _path); }

  private:
    UniqueFd _folder;
    std::string _path;
};

} // namespace

std::unique_ptr<DriveFiles> LinuxDriveFilesFactory::bind(const DriveRoot* root) {
    const DestinationCapabilities capabilities =
        root != nullptr ? _volumes.capabilities(root->mountPoint()) : DestinationCapabilities{};
    return std::make_unique<LinuxDriveFiles>(root, capabilities);
}

Result<std::unique_ptr<DirectoryHandle>> LinuxDriveFilesFactory::open(const std::string& directory) {
    Result<UniqueFd> folder = PathLocator(nullptr).open(directory, O_RDONLY | O_DIRECTORY);
    if (!folder) return folder.error();
    std::unique_ptr<DirectoryHandle> handle =
        std::make_unique<LinuxDirectoryHandle>(std::move(folder).value(), directory);
    return handle;
}

} // namespace vt

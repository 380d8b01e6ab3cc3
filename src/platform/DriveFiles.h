// The file services that one drive's worker uses, and how a drive is recognised.
// Thread: bind() and open() on any; what they answer belongs to its holder.
#pragma once

#include "base/Result.h"
#include "platform/DriveRoot.h"
#include "platform/FileService.h"
#include "platform/ItemCopyService.h"

#include <memory>
#include <string>

namespace vt {

// Below the root's mount point everything works relative to its handle, everywhere else by absolute path.
class DriveFiles {
  public:
    virtual ~DriveFiles() = default;
    [[nodiscard]] virtual FileService& files() = 0;
    [[nodiscard]] virtual FileContents& contents() = 0;
    [[nodiscard]] virtual ItemCopyService& copier() = 0;
};

// An open directory; closing it lets the drive be unmounted.
class DirectoryHandle {
  public:
    virtual ~DirectoryHandle() = default;
    [[nodiscard]] virtual int descriptor() const = 0;
    // Device number, mounted-from name, file system id and the root's file handle (birth time where there is none), as
    // one text that is equal exactly when it is the same mounted volume.
    [[nodiscard]] virtual Result<std::string> identity() const = 0;
};

class DriveFilesFactory {
  public:
    virtual ~DriveFilesFactory() = default;
    // `root` may be null: everything by absolute path. Otherwise it outlives the answer.
    [[nodiscard]] virtual std::unique_ptr<DriveFiles> bind(const DriveRoot* root) = 0;
    [[nodiscard]] virtual Result<std::unique_ptr<DirectoryHandle>> open(const std::string& directory) = 0;
};

} // namespace vt

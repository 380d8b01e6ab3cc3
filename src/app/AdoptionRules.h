// What can never be a drive: the places of the system, of the agent and of the home folder, what cannot be written, and
// the folders that copies are made of. Thread: main. Errors: EINVAL, ENOENT, ENOTDIR, EACCES, EROFS, each with a text.
#pragma once

#include "app/ApplicationServices.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vt {

class AdoptionRules {
  public:
    struct SyncedFolder {
        std::string path;       // absolute, cleaned
        std::string mountPoint; // of the drive that it is copied to
    };
    // `syncedFolders` answers the items of all sync lists.
    AdoptionRules(ApplicationServices& services, std::function<std::vector<SyncedFolder>()> syncedFolders);

    // A folder that may be a drive as far as its place and its file system go.
    struct Folder {
        std::string realPath; // links resolved
        std::uint64_t device = 0;
        std::uint64_t inode = 0;
    };
    // `path` is cleaned.
    [[nodiscard]] Result<Folder> folderAt(const std::string& path);
    // A folder that is copied to drives would, as a drive itself, be left out of every copy.
    [[nodiscard]] Result<void> checkIsNoSource(const std::string& path, const Folder& folder) const;

  private:
    [[nodiscard]] bool isHomeOrAbove(const FileAttributes& folder) const;
    [[nodiscard]] bool isTheAgents(const std::string& path) const;

    ApplicationServices& _services;
    std::function<std::vector<SyncedFolder>()> _syncedFolders;
    std::unique_ptr<DriveFiles> _files;
};

} // namespace vt

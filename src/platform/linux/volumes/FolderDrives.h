// The plain folders that serve as drives: each a volume of its own, named "diskf<inode>", remembered by path.
// A folder that is removed, replaced by something under another mount, or unmounted with its volume is away; it comes
// back when a folder stands at the path again, held by a mount at the same place.
// Thread: any; one lock, never held while the disk is touched.
// Errors: ENOENT, ENOTDIR, EACCES from add(); a folder that is not there (ENOENT) is remembered all the same.
#pragma once

#include "base/Result.h"
#include "platform/linux/volumes/MountTable.h"

#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace vt {

struct FolderDrive {
    std::string path;       // as adopted, cleaned
    std::string realPath;   // links resolved
    std::string bsdName;    // "diskf1234"; with "s1" and so on behind where another folder has that name
    std::string holder;     // mount point of the file system that the folder lies on
    std::string fileSystem; // its type, as in the mount table
    bool returned = false;  // was away since it was adopted
};

class FolderDrives {
  public:
    // Adopting a folder twice does no harm.
    [[nodiscard]] Result<void> add(const std::string& path);
    void remove(const std::string& path);
    [[nodiscard]] bool empty() const;

    // Looks at every folder again; those that are there.
    std::vector<FolderDrive> refresh(const MountTable& table);
    // The drives as the last look found them.
    [[nodiscard]] std::vector<FolderDrive> present() const;
    // The deepest present drive at or above `realPath`, a path without links.
    [[nodiscard]] std::optional<FolderDrive> owner(std::string_view realPath) const;
    // The present drive adopted as `path`.
    [[nodiscard]] std::optional<FolderDrive> at(std::string_view path) const;
    // BSD names of drives that were let go since the last call.
    [[nodiscard]] std::set<std::string> takeForgotten();

  private:
    struct Entry {
        std::optional<FolderDrive> drive; // null while away
        std::string holder;               // known once it was there
        std::uint64_t inode = 0;
        std::uint64_t device = 0;
        bool wasAway = false;
    };
    struct Look;
    static std::optional<Look> lookAt(const std::string& path, const MountTable& table);
    void update(const std::string& path, Entry& entry, const std::optional<Look>& look);
    std::string freeName(std::uint64_t inode) const;

    mutable std::mutex _lock;
    std::map<std::string, Entry> _entries; // by adopted path
    std::set<std::string> _forgotten;
};

} // namespace vt

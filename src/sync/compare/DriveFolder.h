// One folder of the drive as a pass sees it: listed once, asked by name, and at the end for what only the drive has.
// Thread: the drive's worker. Owns: the listing. Errors: a folder that cannot be listed is empty, and says so.
#pragma once

#include "platform/FileService.h"
#include "sync/compare/NameRule.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace vt {

class DriveFolder {
  public:
    DriveFolder(FileService& files, std::string path, NameRule rule);

    // The entry that the drive takes `name` for, or null. It is marked as one that the computer has too.
    // `secondName` is set when another name of the computer was taken for the same entry before.
    [[nodiscard]] const DirectoryEntry* find(std::string_view name, bool& secondName);
    [[nodiscard]] bool listed() const { return _listed; }
    [[nodiscard]] bool missing() const { return _missing; } // the drive has no such folder
    // Calls `visit` for every entry that was never found, in the order of the listing, until it answers false.
    template <typename Visit> bool visitDriveOnly(Visit visit) const {
        for (std::size_t i = 0; i < _entries.size(); ++i)
            if (!_found[i] && !visit(_entries[i])) return false;
        return true;
    }

  private:
    [[nodiscard]] std::size_t positionOf(std::string_view name);
    [[nodiscard]] std::size_t askTheDrive(std::string_view name);
    [[nodiscard]] std::uint64_t inodeOf(std::uint32_t position) const { return _entries[position].attributes.inode; }

    FileService& _files;
    std::string _path;
    NameRule _rule;
    bool _listed = false;
    bool _missing = false;
    std::vector<DirectoryEntry> _entries;
    std::vector<bool> _found;
    std::vector<std::uint32_t> _byName;                        // positions, sorted by name
    std::vector<std::pair<std::string, std::uint32_t>> _byKey; // sorted; only where the drive does not tell case apart
    std::vector<std::uint32_t> _byInode;                       // the same; sorted with the first question to the drive
};

} // namespace vt

// Scan entries, kept small: the paths of an entry nearly always follow from two folders, which many entries share, and
// one name. About 70 bytes an entry of an ordinary name; one whose paths do not follow is kept in full.
// Thread: the drive's worker. Owns: the entries.
#pragma once

#include "sync/compare/NameArena.h"
#include "sync/compare/ScanEntry.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace vt {

// The folders from which the work paths of an entry follow.
struct ScanRoots {
    std::string target;    // the drive's root
    std::string driveWork; // the drive-side work folder
    std::string localWork; // the computer-side work folder
};

class CompactEntries {
  public:
    using Index = std::uint32_t;

    // Before the first entry; without roots every entry is kept in full.
    void setRoots(ScanRoots roots) { _roots = std::move(roots); }
    void add(const ScanEntry& entry);
    void replace(Index index, const ScanEntry& entry);
    void disable(Index index); // its action is not carried out
    void clear();

    [[nodiscard]] std::size_t size() const { return _records.size(); }
    [[nodiscard]] ScanEntry at(Index index) const;
    [[nodiscard]] std::string drivePath(Index index) const;
    // The folder of the entry's place on the drive is one that no entry before it had.
    [[nodiscard]] bool lastBeganFolder() const { return _beganFolder; }

  private:
    struct Record {
        std::int64_t localModified = 0;
        std::int64_t driveModified = 0;
        std::int64_t localSize = 0;
        std::int64_t driveSize = 0;
        std::uint32_t folder = 0; // or inFull
        std::uint32_t name = 0;   // its place in the arena; in full, the entry's index there
        std::uint16_t nameLength = 0;
        std::uint8_t type = 0;
        std::uint8_t action = 0;
        std::uint8_t flags = 0;
    };
    static_assert(sizeof(Record) <= 48);
    static constexpr std::uint32_t inFull = ~std::uint32_t{0};
    struct Folder {
        std::string computer;
        std::string drive;
    };
    [[nodiscard]] bool packed(const ScanEntry& entry, Record& record);
    [[nodiscard]] std::uint32_t folderFor(const std::string& computer, const std::string& drive);
    void setWorkPaths(ScanEntry& entry) const;

    ScanRoots _roots;
    std::deque<Record> _records; // grows without moving
    NameArena _names;
    std::vector<Folder> _folders;
    std::unordered_map<std::string, std::uint32_t> _folderNumbers; // by both paths
    std::uint32_t _lastFolder = 0;
    bool _beganFolder = false;
    std::vector<ScanEntry> _full;
};

} // namespace vt

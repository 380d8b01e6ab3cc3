// The computer's side of one pass: every file and folder below the sync items, looked at once. Serves the size
// estimate, the filter, the comparison and the totals. Made for a million files: 40 bytes an entry, names in an arena.
// Thread: the drive's worker. Owns: everything it took. Errors: a folder that cannot be listed is marked and counts as
// empty. Units: bytes; sizes of the estimate are rounded up to multiples of 512, folders and links count nothing.
#pragma once

#include "platform/FileService.h"
#include "sync/compare/NameArena.h"
#include "sync/tree/TreeSizes.h"

#include <cstdint>
#include <deque>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace vt {

class ComputerSnapshot {
  public:
    using Index = std::uint32_t;
    static constexpr Index none = ~Index{0};

    // Both may be empty. `cancelled` ends a long walk early: what was not reached counts as empty.
    ComputerSnapshot(FileService& files, ClosedFolder closed, std::function<bool()> cancelled);

    // The item at `path` with all that lies below it; `none` when there is nothing.
    [[nodiscard]] Index add(const std::string& path);

    [[nodiscard]] std::string_view name(Index index) const;
    [[nodiscard]] FileAttributes attributes(Index index) const; // kind, size, dates; the rest unset
    [[nodiscard]] FileKind kind(Index index) const { return _entries[index].kind; }
    [[nodiscard]] bool isDirectory(Index index) const { return kind(index) == FileKind::directory; }
    [[nodiscard]] Date modified(Index index) const { return Date::fromNanoseconds(_entries[index].modified); }
    [[nodiscard]] Date statusChanged(Index index) const { return Date::fromNanoseconds(_entries[index].changed); }
    // Of a file its size, of a folder the estimate of all below it.
    [[nodiscard]] std::uint64_t size(Index index) const { return _entries[index].size; }
    [[nodiscard]] std::uint64_t estimate(Index index) const;
    [[nodiscard]] bool unlistable(Index index) const { return (_entries[index].flags & flagUnlistable) != 0; }
    [[nodiscard]] bool leftOut(Index index) const { return (_entries[index].flags & flagLeftOut) != 0; }
    [[nodiscard]] Index firstChild(Index index) const { return _entries[index].firstChild; }
    [[nodiscard]] Index childCount(Index index) const { return _entries[index].childCount; }
    // The newest modification date of a regular file at or below the entry; the entry's own when it holds none.
    [[nodiscard]] Date newestFileDate(Index index) const;
    // A cancel has ended a walk early: the snapshot is no picture of the computer.
    [[nodiscard]] bool truncated() const { return _truncated; }
    [[nodiscard]] std::size_t entryCount() const { return _entries.size(); }

  private:
    static constexpr std::uint8_t flagUnlistable = 1;
    static constexpr std::uint8_t flagLeftOut = 2;
    struct Entry {
        std::int64_t modified = 0;
        std::int64_t changed = 0;
        std::uint64_t size = 0;
        std::uint32_t nameStart = 0;
        Index firstChild = 0;
        Index childCount = 0;
        std::uint16_t nameLength = 0;
        FileKind kind = FileKind::other;
        std::uint8_t flags = 0;
    };
    static_assert(sizeof(Entry) <= 40);

    Index append(std::string_view name, const FileAttributes& attributes);
    void listFolder(Index folder, const std::string& path);
    void sumUp(Index root, Index end);

    FileService& _files;
    ClosedFolder _closed;
    std::function<bool()> _cancelled;
    std::deque<Entry> _entries; // grows without moving
    NameArena _names;
    bool _truncated = false;
};

} // namespace vt

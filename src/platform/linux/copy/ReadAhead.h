// Has the smaller files of a folder read into memory shortly before it is their turn, many at a time and in the order
// of the disk, so that copying does not wait for each one by itself. Costs next to nothing where they are there
// already. Thread: one. Errors: none; what cannot be read ahead is read when its turn comes.
#pragma once

#include "platform/FileService.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace vt {

class ReadAhead {
  public:
    // In the order of their turns; the entries outlive this.
    explicit ReadAhead(std::span<const DirectoryEntry> entries) : _entries(entries), _ours(entries.size()) {}
    // It is this entry's turn; `folder` is a handle on its folder. Answers whether all that is in memory of it was
    // brought there by this; never for files that are too small to matter.
    bool reached(std::size_t position, int folder);

  private:
    using Positions = std::vector<std::size_t>;
    void ask(Positions& files, int folder);
    [[nodiscard]] Positions nextFiles(std::size_t position);
    [[nodiscard]] std::uint64_t sizeOf(std::size_t position) const { return _entries[position].attributes.size; }

    std::span<const DirectoryEntry> _entries;
    std::vector<bool> _ours;
    std::size_t _reached = 0;
    std::size_t _done = 0;    // all before this one have been asked for, or are not worth it
    std::uint64_t _ahead = 0; // bytes of those whose turn has not come
};

} // namespace vt

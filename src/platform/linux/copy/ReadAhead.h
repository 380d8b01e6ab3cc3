// Has the small files of a folder read into memory shortly before it is their turn, many at a time and in the order of
// the disk, so that copying does not wait for each one by itself. Costs next to nothing where they are there already.
// Thread: one. Errors: none; what cannot be read ahead is read when its turn comes.
#pragma once

#include "platform/FileService.h"

#include <cstddef>
#include <span>
#include <vector>

namespace vt {

class ReadAhead {
  public:
    // In the order of their turns; the entries outlive this.
    explicit ReadAhead(std::span<const DirectoryEntry> entries) : _entries(entries) {}
    // It is this entry's turn; `folder` is a handle on its folder.
    void reached(std::size_t position, int folder);

  private:
    [[nodiscard]] std::vector<const DirectoryEntry*> smallFiles(std::size_t first, std::size_t last) const;

    std::span<const DirectoryEntry> _entries;
    std::size_t _done = 0; // all before this one have been asked for
};

} // namespace vt

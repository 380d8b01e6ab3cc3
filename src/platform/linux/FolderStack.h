// An open folder and the way back up from it, for trees of any depth: only the deepest levels keep their handle, the
// others are found again through ".." and recognised by device and inode. Thread: one. Owns: the handles.
// Errors: errno values, 0 for success; ESTALE when the way back leads elsewhere.
#pragma once

#include "platform/linux/OpenBeneath.h"
#include "platform/linux/UniqueFd.h"

#include <cstddef>
#include <sys/types.h>
#include <vector>

namespace vt {

class FolderStack {
  public:
    FolderStack(UniqueFd top, beneath::Mounts mounts);

    [[nodiscard]] int current() const { return _levels.back().folder.get(); }
    [[nodiscard]] std::size_t depth() const { return _levels.size(); }
    [[nodiscard]] int enter(const char* name); // a direct subfolder, never through a link
    [[nodiscard]] int leave();                 // never called on the top

  private:
    struct Level {
        UniqueFd folder;
        dev_t device = 0;
        ino_t inode = 0;
    };
    std::vector<Level> _levels;
    beneath::Mounts _mounts;
};

} // namespace vt

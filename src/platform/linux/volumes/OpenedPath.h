// A path that is held by a descriptor, so that every question about it is about the same item. Links are followed.
// Thread: any. Owns: the descriptor. Errors: errno values from open().
#pragma once

#include "base/Result.h"
#include "platform/linux/UniqueFd.h"
#include "platform/linux/volumes/MountTable.h"

#include <cstdint>
#include <string>

namespace vt {

class OpenedPath {
  public:
    // Needs no right to read the item, only to reach it. May block on a mount whose server or device hangs.
    [[nodiscard]] static Result<OpenedPath> open(const std::string& path);

    [[nodiscard]] int descriptor() const { return _descriptor.get(); }
    [[nodiscard]] bool isDirectory() const { return _isDirectory; }
    [[nodiscard]] bool hasBirthTime() const { return _hasBirthTime; }
    [[nodiscard]] std::uint64_t inode() const { return _inode; }
    [[nodiscard]] std::uint64_t device() const { return _device; }
    [[nodiscard]] std::string realPath() const; // as the kernel names it
    // The mount that the item is reached through; null when the table does not list it.
    [[nodiscard]] const MountEntry* mount(const MountTable& table) const;

  private:
    UniqueFd _descriptor;
    bool _isDirectory = false;
    bool _hasBirthTime = false;
    std::uint64_t _inode = 0;
    std::uint64_t _device = 0;
    std::uint64_t _mountId = 0; // 0 where the kernel does not tell
};

} // namespace vt

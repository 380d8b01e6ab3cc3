// Desktop conventions: opening, launching, the trash. Thread: any for recycle, main otherwise.
#pragma once

#include "base/Result.h"

#include <string>

namespace vt {

class Workspace {
  public:
    virtual ~Workspace() = default;
    [[nodiscard]] virtual bool open(const std::string& pathOrUrl) = 0; // in the default application; does not wait
    // Moves the item to the trash of its volume.
    [[nodiscard]] virtual Result<void> recycle(const std::string& path) = 0;
};

} // namespace vt

// Removes temporary files that a killed program left beside the files it was replacing.
// Thread: any. Owns: what it remembers. Errors: none; what cannot be removed stays until the next program looks.
#pragma once

#include <mutex>
#include <set>
#include <string>
#include <string_view>
#include <sys/types.h>
#include <utility>

namespace vt {

// A name for a temporary file; empty where the system has no random numbers.
[[nodiscard]] std::string temporaryName();
[[nodiscard]] bool isTemporaryName(std::string_view name);
// Says that the open temporary file is in use, until it is closed.
void markInUse(int file);

class AbandonedFiles {
  public:
    // Looks through the open folder the first time it is named.
    void sweep(int folder);

  private:
    [[nodiscard]] bool isNew(int folder);

    std::mutex _mutex;
    std::set<std::pair<dev_t, ino_t>> _looked;
};

} // namespace vt

// The kernel's queue of folder events. Thread: one at a time. Owns: the inotify descriptor with all its watches.
// Errors: negated errno values.
#pragma once

#include "platform/linux/UniqueFd.h"

#include <cstdint>
#include <functional>
#include <string_view>

namespace vt {

class InotifyQueue {
  public:
    InotifyQueue();

    [[nodiscard]] bool isOpen() const { return _queue.isOpen(); }
    [[nodiscard]] int descriptor() const { return _queue.get(); }
    // Adds `mask` to the watch of an open folder and answers it. -ENOSPC: the system's limit is reached.
    [[nodiscard]] int add(int folder, std::uint32_t mask);
    void remove(int watch);

    struct Event {
        int watch = -1;
        std::uint32_t mask = 0;
        std::string_view name; // empty: the folder itself
    };
    // Hands over what waits, one buffer at the most; false when nothing did. Never blocks.
    bool read(const std::function<void(const Event&)>& event);

  private:
    UniqueFd _queue;
};

} // namespace vt

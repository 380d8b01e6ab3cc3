// Starts threads with a stack of a given size. Thread: any.
#pragma once

#include <cstddef>
#include <functional>

namespace vt {

class WorkerThreads {
  public:
    virtual ~WorkerThreads() = default;
    // Runs `body` on a new thread that nobody waits for. False when there can be none; `body` has not run then.
    [[nodiscard]] virtual bool start(std::size_t stackBytes, std::function<void()> body) = 0;
};

} // namespace vt

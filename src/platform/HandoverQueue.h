// Work that other threads hand to the main thread, in the order of the calls: the common part of every run loop.
// Thread: performAndWait and performLater on any; everything else on the main thread, the one that made the queue.
// Errors: an exception out of handed-over work is written to the system log and ends there.
#pragma once

#include "base/ThreadChecker.h"

#include <chrono>
#include <functional>
#include <memory>

namespace vt {

class HandoverQueue {
  public:
    // Called once per item after it was queued, on the caller's thread and under the queue's lock: makes the main
    // thread call runNext(), later.
    using Wake = std::function<void()>;
    explicit HandoverQueue(Wake wake);
    ~HandoverQueue(); // drops what waits; waiters are released with false
    HandoverQueue(const HandoverQueue&) = delete;
    HandoverQueue& operator=(const HandoverQueue&) = delete;

    [[nodiscard]] bool isMainThread() const { return _main.calledOnOwner(); }
    // As in RunLoop.
    [[nodiscard]] bool performAndWait(std::function<void()> work);
    void performLater(std::function<void()> work);
    bool serveUntil(const std::function<bool()>& done, std::chrono::milliseconds atMost);
    void beginShutdown();
    // Runs the oldest item; false when there was none.
    bool runNext();
    // Sleeps until there is an item, `atMost` at the longest.
    void waitForItem(std::chrono::nanoseconds atMost);

    // Runs `work` and keeps its exceptions inside.
    static void runGuarded(const std::function<void()>& work);

  private:
    struct State;
    void releaseWaiters();
    ThreadChecker _main;
    Wake _wake;
    std::shared_ptr<State> _state; // shared with waiting threads: they may outlive the queue by a moment
};

} // namespace vt

// The main thread's run loop: timers, and work handed over from other threads.
// Thread: performAndWait, performLater and isMainThread on any; everything else on the main thread.
#pragma once

#include <chrono>
#include <functional>
#include <memory>

namespace vt {

// A scheduled call; destroying it cancels it. Main thread.
class Timer {
  public:
    virtual ~Timer() = default;
};

class RunLoop {
  public:
    virtual ~RunLoop() = default;
    [[nodiscard]] virtual bool isMainThread() const = 0;
    // Runs `work` on the main thread and waits for its end; inline when already there. Served in nested modal loops
    // too. False: shut-down has begun (beginShutdown) and `work` did not run, nor ever will.
    [[nodiscard]] virtual bool performAndWait(std::function<void()> work) = 0;
    // Runs `work` on the main thread at its next turn, in the order of the calls. Dropped after the loop's end.
    virtual void performLater(std::function<void()> work) = 0;
    [[nodiscard]] virtual std::unique_ptr<Timer> after(std::chrono::milliseconds delay, std::function<void()> work) = 0;
    [[nodiscard]] virtual std::unique_ptr<Timer> every(std::chrono::milliseconds period,
                                                       std::function<void()> work) = 0;
    // Serves handed-over work until `done` answers true or `atMost` has passed. Answers done().
    virtual bool serveUntil(const std::function<bool()>& done, std::chrono::milliseconds atMost) = 0;
    // From now on waiters are released unserved, unless serveUntil() is running.
    virtual void beginShutdown() = 0;
};

} // namespace vt

// A run loop that a test drives by hand: nothing runs until the test says so. Timers follow the fake clock; work handed
// over by real worker threads is served while runUntil() or serveUntil() runs.
// Thread: as RunLoop; the thread that makes it is the main thread.
#pragma once

#include "platform/HandoverQueue.h"
#include "platform/RunLoop.h"
#include "platform/fake/FakeClock.h"

#include <cstddef>
#include <memory>

namespace vt {

class FakeRunLoop final : public RunLoop {
  public:
    explicit FakeRunLoop(FakeClock& clock);
    ~FakeRunLoop() override;

    // Moves the clock on; every timer that falls due runs at its own time, in order, with what it hands over.
    void advance(std::chrono::nanoseconds duration);
    // Runs what was handed over, and what that hands over, until nothing is left. The number of items.
    std::size_t runPending();
    // Runs one handed-over item; false when there is none.
    bool runNext();
    // Serves handed-over work for at most `atMost` of real time. Answers done(). For tests with worker threads.
    bool runUntil(const std::function<bool()>& done, std::chrono::milliseconds atMost = std::chrono::seconds(10));
    [[nodiscard]] std::size_t timerCount() const;

    [[nodiscard]] bool isMainThread() const override;
    [[nodiscard]] bool performAndWait(std::function<void()> work) override;
    void performLater(std::function<void()> work) override;
    [[nodiscard]] std::unique_ptr<Timer> after(std::chrono::milliseconds delay, std::function<void()> work) override;
    [[nodiscard]] std::unique_ptr<Timer> every(std::chrono::milliseconds period, std::function<void()> work) override;
    bool serveUntil(const std::function<bool()>& done, std::chrono::milliseconds atMost) override;
    void beginShutdown() override;

  private:
    struct Timers;
    class FakeTimer;
    std::unique_ptr<Timer> schedule(std::chrono::nanoseconds delay, std::chrono::nanoseconds period,
                                    std::function<void()> work);
    FakeClock& _clock;
    HandoverQueue _queue;
    std::shared_ptr<Timers> _timers;
};

} // namespace vt

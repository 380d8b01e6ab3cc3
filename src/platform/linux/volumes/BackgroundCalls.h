// Calls that may take long, each on a thread of its own that nobody waits for; the answer comes from the run loop.
// Thread: made and ended on the main thread. Owns: its threads own it, until the last of them is done.
#pragma once

#include "base/Result.h"
#include "platform/RunLoop.h"

#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>

namespace vt {

class BackgroundCalls : public std::enable_shared_from_this<BackgroundCalls> {
  public:
    explicit BackgroundCalls(RunLoop& runLoop) : _runLoop(&runLoop) {}

    // `call` must own what it uses.
    template <typename T> void run(std::function<Result<T>()> call, std::function<void(const Result<T>&)> done) {
        std::thread([self = shared_from_this(), call = std::move(call), done = std::move(done)]() mutable {
            self->perform([answer = call(), done = std::move(done)] { done(answer); });
        }).detach();
    }
    // The run loop goes: later answers are dropped.
    void end() {
        const std::lock_guard guard(_lock);
        _runLoop = nullptr;
    }

  private:
    void perform(std::function<void()> work) {
        const std::lock_guard guard(_lock);
        if (_runLoop) _runLoop->performLater(std::move(work));
    }

    std::mutex _lock;
    RunLoop* _runLoop; // null once nobody waits any more
};

} // namespace vt

// Calls that may take long, each on a thread of its own that nobody waits for; the answer comes from the run loop.
// Thread: made and ended on the main thread. Owns: its threads own it, until the last of them is done.
#pragma once

#include "base/Result.h"
#include "platform/RunLoop.h"

#include <cerrno>
#include <functional>
#include <memory>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

namespace vt {

class BackgroundCalls : public std::enable_shared_from_this<BackgroundCalls> {
  public:
    explicit BackgroundCalls(RunLoop& runLoop) : _runLoop(&runLoop) {}

    // `call` must own what it uses. EAGAIN is answered where there is no thread for it.
    template <typename T> void run(std::function<Result<T>()> call, std::function<void(const Result<T>&)> done) {
        try {
            // What `done` holds is let go on the main thread.
            std::thread([self = shared_from_this(), call = std::move(call), done]() mutable {
                self->perform([answer = call(), done = std::move(done)] { done(answer); });
            }).detach();
        } catch (const std::system_error&) {
            perform([done] { done(Error::fromErrno(EAGAIN, {})); });
        }
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

// Calls that may hang in the kernel, made on a thread of their own and waited for a limited time.
// While a call about a subject still hangs, the next one about it is refused at once: threads do not pile up.
// Thread: any. Errors: ETIMEDOUT.
#pragma once

#include "base/Result.h"

#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <utility>

namespace vt {

class TimedCalls {
  public:
    explicit TimedCalls(std::chrono::milliseconds limit) : _limit(limit) {}

    // `call` must own what it uses: it may still run when everything else has gone.
    template <typename T> [[nodiscard]] Result<T> run(const std::string& subject, std::function<Result<T>()> call) {
        struct Answer {
            std::optional<Result<T>> result;
        };
        const std::shared_ptr<State> state = _state;
        auto answer = std::make_shared<Answer>();
        std::unique_lock lock(state->lock);
        if (!state->running.insert(subject).second && !waitForTurn(lock, subject)) return timedOut(subject);
        std::thread([state, answer, subject, call = std::move(call)] {
            auto result = call();
            const std::lock_guard guard(state->lock);
            answer->result.emplace(std::move(result));
            state->running.erase(subject);
            state->changed.notify_all();
        }).detach();
        if (!state->changed.wait_for(lock, _limit, [&] { return answer->result.has_value(); })) {
            state->hanging.insert(subject);
            return timedOut(subject);
        }
        state->hanging.erase(subject);
        return std::move(*answer->result);
    }

  private:
    struct State {
        std::mutex lock;
        std::condition_variable changed;
        std::set<std::string> running;
        std::set<std::string> hanging; // those whose waiter has given up
    };
    static Error timedOut(const std::string& subject) { return Error::fromErrno(ETIMEDOUT, subject); }

    // Another caller's call about the subject is under way: wait for it, unless it hangs already.
    bool waitForTurn(std::unique_lock<std::mutex>& lock, const std::string& subject) {
        if (_state->hanging.contains(subject)) return false;
        return _state->changed.wait_for(lock, _limit, [&] { return !_state->running.contains(subject); }) &&
               _state->running.insert(subject).second;
    }

    std::chrono::milliseconds _limit;
    std::shared_ptr<State> _state = std::make_shared<State>();
};

} // namespace vt

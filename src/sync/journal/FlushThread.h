// Runs one flush at a time beside its owner's work. Thread: one owner; the flush itself runs on a thread of its own.
// Owns: that thread, which ends with its flush. Errors: the flush's own, from finish().
#pragma once

#include "base/Result.h"

#include <functional>
#include <future>

namespace vt {

class FlushThread {
  public:
    // Where no thread can be had the flush runs in finish().
    void start(std::function<Result<void>()> flush) {
        _result = std::async(std::launch::async | std::launch::deferred, std::move(flush));
    }
    [[nodiscard]] bool running() const { return _result.valid(); }
    [[nodiscard]] bool done() const {
        return _result.valid() && _result.wait_for(std::chrono::seconds(0)) == std::future_status::ready;
    }
    // Waits. Only while running().
    Result<void> finish() { return _result.get(); }

  private:
    std::future<Result<void>> _result;
};

} // namespace vt

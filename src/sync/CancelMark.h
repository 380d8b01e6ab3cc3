// Whether a cancel has been requested for the running sync, and the value that the cancelled work is to report: one
// word, so that no reader ever sees half of a change. Thread: any.
#pragma once

#include <atomic>
#include <cstdint>

namespace vt {

class CancelMark {
  public:
    void set(bool pending, bool returnValue) {
        _word.store(static_cast<std::uint8_t>((pending ? 1U : 0U) | (returnValue ? 2U : 0U)));
    }
    [[nodiscard]] bool pending() const { return (_word.load() & 1U) != 0; }
    [[nodiscard]] bool returnValue() const { return (_word.load() & 2U) != 0; }
    // Pending with the return value NO, read at once.
    [[nodiscard]] bool stopsCommit() const { return _word.load() == 1U; }

  private:
    std::atomic<std::uint8_t> _word{0};
};

} // namespace vt

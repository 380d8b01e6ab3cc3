// Tells an observer how a copy goes and turns its answers into what becomes of the item. Thread: one.
#pragma once

#include "platform/ItemCopyService.h"

namespace vt {

// What became of one item.
enum class CopyEnding : std::uint8_t { made, leftOut, failed, quit };

[[nodiscard]] inline CopyOutcome outcomeOf(CopyEnding ending, std::uint64_t leftOut, bool anyFailed,
                                           std::uint64_t bytes) {
    CopyOutcome outcome;
    outcome.done = ending != CopyEnding::quit && ending != CopyEnding::failed && !anyFailed;
    outcome.skipped = leftOut + (ending == CopyEnding::leftOut ? 1U : 0U);
    outcome.bytes = bytes;
    return outcome;
}

class CopyEvents {
  public:
    explicit CopyEvents(CopyObserver& observer) : _observer(observer) {}

    void setItem(const std::string& source, const std::string& destination) {
        _event.source = source;
        _event.destination = destination;
    }
    CopyAnswer raise(CopyWhat what, CopyStage stage, std::uint64_t copiedBytes, std::uint64_t sourceSize) {
        _event.what = what;
        _event.stage = stage;
        _event.copiedBytes = copiedBytes;
        _event.sourceSize = sourceSize;
        return _observer.copyEvent(_event);
    }
    // The one question about a failed item.
    CopyEnding failed(CopyWhat what, const Error& error) {
        _event.error = error;
        const CopyAnswer answer = raise(what, CopyStage::error, 0, 0);
        _event.error = Error{};
        return answer == CopyAnswer::goOn ? CopyEnding::failed : endingOf(answer);
    }
    [[nodiscard]] static CopyEnding endingOf(CopyAnswer answer) {
        switch (answer) {
        case CopyAnswer::skip:
            return CopyEnding::leftOut;
        case CopyAnswer::quit:
            return CopyEnding::quit;
        case CopyAnswer::goOn:
            break;
        }
        return CopyEnding::made;
    }

  private:
    CopyObserver& _observer;
    CopyEvent _event;
};

} // namespace vt

// Passes the news of a tree operation to the delegate of the reporter that handles its errors; without a reporter or a
// delegate they are dropped. Thread: the drive's worker. Owns: keeps the delegate alive while the operation runs.
#pragma once

#include "sync/report/MRLErrorReporter.h"

#include <cstdint>
#include <memory>
#include <string>

namespace vt {

class HandlerCalls {
  public:
    explicit HandlerCalls(MRLErrorReporter* handler)
        : _handler(handler), _delegate(handler != nullptr ? handler->delegate() : nullptr) {}

    [[nodiscard]] MRLErrorReporter* handler() const { return _handler; }

    void setFileCopyPath(const std::string* path) const {
        if (_delegate) _delegate->setFileCopyPath(path);
    }
    void accumulateCopiedData(std::uint64_t bytes) const {
        if (_delegate) _delegate->accumulateCopiedDataUInt64(bytes);
    }
    void resetPartiallyCopiedData() const {
        if (_delegate) _delegate->resetPartiallyCopiedData();
    }
    void accumulateSkipFilteredData(std::uint64_t bytes) const {
        if (_delegate) _delegate->accumulateSkipFilteredDataUInt64(bytes);
    }
    void accumulateSkipPresentData(std::uint64_t bytes) const {
        if (_delegate) _delegate->accumulateSkipPresentDataUInt64(bytes);
    }
    void processATempFolder(const std::string& folder) const {
        if (_delegate) _delegate->syncThreadProcessATempFolder(folder);
    }
    void pathFailed(const std::string& source, bool skipped) const {
        if (_delegate) _delegate->pathFailed(source, skipped);
    }
    [[nodiscard]] bool cancelPending() const { return _delegate && _delegate->cancelPending(); }

    // The handler's answers; without one the work stops.
    [[nodiscard]] bool proceedsAfter(const ErrorDictionary& error) const {
        return _handler != nullptr && _handler->shouldProceedAfterError(error);
    }
    [[nodiscard]] bool proceedsAfterMoving(const Error& error, const std::string& from, const std::string& to) const {
        return _handler != nullptr && _handler->shouldProceedAfterErrorMovingItem(error, from, to);
    }
    [[nodiscard]] bool proceedsAfterRemoving(const Error& error) const {
        return _handler != nullptr && _handler->shouldProceedAfterErrorRemovingItem(error, error.path);
    }

  private:
    MRLErrorReporter* _handler;
    std::shared_ptr<TreeDelegate> _delegate;
};

} // namespace vt

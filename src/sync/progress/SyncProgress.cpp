#include "sync/progress/SyncProgress.h"

#include "base/Paths.h"

namespace vt {

void SyncProgress::accumulateSkipFilteredData(std::uint64_t bytes) {
    if (!_services.cancelPending()) _skippedFiltered += bytes;
}

void SyncProgress::setFileCopyPath(const std::string* path) {
    const std::scoped_lock lock(_mutex);
    if (path != nullptr)
        _currentSourcePath = *path;
    else
        _currentSourcePath.reset();
}

std::optional<std::string> SyncProgress::currentSourcePath() const {
    const std::scoped_lock lock(_mutex);
    return _currentSourcePath;
}

std::optional<int> SyncProgress::failureType() const {
    const std::scoped_lock lock(_mutex);
    return _failureType;
}

void SyncProgress::setFailureType(std::optional<int> type) {
    const std::scoped_lock lock(_mutex);
    _failureType = type;
}

void SyncProgress::initForNewJob() {
    setProgressActivePath(nullptr);
    _totalSync = 0;
    _skippedFiltered = 0;
    _skippedAlready = 0;
    _totalCopied = 0;
    _partiallyCopied = 0;
    setFileCopyPath(nullptr);
    (void)getCurrentProgressDict();
}

void SyncProgress::setProgressActivePath(const std::string* path) {
    const std::scoped_lock lock(_mutex);
    if (path != nullptr)
        _progressDict["activePath"] = paths::displayText(*path);
    else
        _progressDict.erase("activePath");
}

Value::Dictionary SyncProgress::getCurrentProgressDict() {
    // Asked before the lock: the answer may write a debug line.
    const bool busy = _services.busy();
    const bool cancelPending = _services.cancelPending();
    setProgressActivePath(busy ? &_services.mountPoint : nullptr);

    const std::scoped_lock lock(_mutex);
    const std::uint64_t total = _totalSync.load();
    const std::uint64_t filtered = _skippedFiltered.load();
    const std::uint64_t present = _skippedAlready.load();
    const std::uint64_t copied = _totalCopied.load();
    _progressDict["syncActivityType"] = activityType();
    if (_failureType)
        _progressDict["syncActivityFailureType"] = *_failureType;
    else
        _progressDict.erase("syncActivityFailureType");
    _progressDict["syncIsBusy"] = busy ? 1 : 0;
    _progressDict["syncCancelPending"] = cancelPending;
    _progressDict["syncSize"] = total;
    _progressDict["syncSkipFilter"] = filtered;
    _progressDict["syncSkipPresent"] = present;
    _progressDict["syncCopied"] = copied + _partiallyCopied.load();
    if (_currentSourcePath)
        _progressDict["syncCopySourcePath"] = paths::displayText(*_currentSourcePath);
    else
        _progressDict.erase("syncCopySourcePath");
    // The total is an estimate: the rest may be below zero.
    _progressDict["syncUnaccounted"] = static_cast<std::int64_t>(total - filtered - present - copied);
    return _progressDict;
}

Value::Dictionary SyncProgress::progressDict() const {
    const std::scoped_lock lock(_mutex);
    return _progressDict;
}

} // namespace vt

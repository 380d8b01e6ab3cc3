// The figures of a drive's sync and the progress dictionary that is made of them. Thread: any. Owns: the counters and
// the dictionary. Units: bytes.
#pragma once

#include "base/Value.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <string>

namespace vt {

class SyncProgress {
  public:
    struct Services {
        std::string mountPoint;
        std::function<bool()> busy;
        std::function<bool()> cancelPending;
    };
    explicit SyncProgress(Services services) : _services(std::move(services)) {}

    [[nodiscard]] std::uint64_t totalSync() const { return _totalSync.load(); }
    [[nodiscard]] std::uint64_t skippedFiltered() const { return _skippedFiltered.load(); }
    [[nodiscard]] std::uint64_t skippedAlready() const { return _skippedAlready.load(); }
    [[nodiscard]] std::uint64_t totalCopied() const { return _totalCopied.load(); }
    [[nodiscard]] std::uint64_t partiallyCopied() const { return _partiallyCopied.load(); }
    void setTotalSync(std::uint64_t bytes) { _totalSync.store(bytes); }
    void setPartiallyCopiedData(std::uint64_t bytes) { _partiallyCopied.store(bytes); }
    void resetPartiallyCopiedData() { _partiallyCopied.store(0); }
    void accumulateCopiedData(std::uint64_t bytes) { _totalCopied += bytes; }
    void accumulateSkipFilteredData(std::uint64_t bytes); // left alone while a cancel is pending
    void accumulateSkipPresentData(std::uint64_t bytes) { _skippedAlready += bytes; }
    void setFileCopyPath(const std::string* path); // null: none
    [[nodiscard]] std::optional<std::string> currentSourcePath() const;

    [[nodiscard]] int activityType() const { return _activityType.load(); }
    void setActivityType(int type) { _activityType.store(type); }
    [[nodiscard]] std::optional<int> failureType() const;
    void setFailureType(std::optional<int> type);

    void initForNewJob();
    void setProgressActivePath(const std::string* path);
    // Refreshes every key and answers a copy; a key without a value is absent.
    [[nodiscard]] Value::Dictionary getCurrentProgressDict();
    [[nodiscard]] Value::Dictionary progressDict() const; // without refreshing

  private:
    Services _services;
    std::atomic<std::uint64_t> _totalSync{0};
    std::atomic<std::uint64_t> _skippedFiltered{0};
    std::atomic<std::uint64_t> _skippedAlready{0};
    std::atomic<std::uint64_t> _totalCopied{0};
    std::atomic<std::uint64_t> _partiallyCopied{0};
    std::atomic<int> _activityType{0};
    mutable std::mutex _mutex; // guards what follows
    std::optional<int> _failureType;
    std::optional<std::string> _currentSourcePath;
    Value::Dictionary _progressDict;
};

} // namespace vt

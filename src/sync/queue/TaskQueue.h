// The tasks of one drive's worker, in the order in which they were asked for. The running task stays at the head while
// it runs. Thread: any. Owns: the records. Errors: none.
#pragma once

#include "sync/CancelMark.h"
#include "sync/queue/TaskRecord.h"

#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <optional>

namespace vt {

class TaskQueue {
  public:
    void append(TaskRecord task);
    [[nodiscard]] std::optional<TaskRecord> first() const;
    void removeFirst();
    void clear();
    [[nodiscard]] bool busy() const;
    // A "sync" or "continuous-sync" is queued or running; no other operation counts, although some lead to a sync.
    [[nodiscard]] bool holdsSync() const;
    // A new sync list is not the drive's yet.
    [[nodiscard]] bool holdsListUpdate() const;
    [[nodiscard]] Value::Array tasks() const;

    // A sync that will be queued a moment later keeps a pending cancel alive until then.
    void syncWasScheduled();
    void scheduledSyncEnded();
    // Takes a cancel mark that nothing is left for away. True: the list is empty.
    bool clearCancelIfIdle(CancelMark& cancel);

    // The worker's waits. The idle one ends with the first task, at the latest after a second.
    void waitForTask();
    void pause(std::chrono::milliseconds time);
    // The controller is gone: every wait ends from now on, unless "death" is still to be carried out.
    void close();
    // Nothing is left for the worker to do.
    [[nodiscard]] bool over() const;

  private:
    [[nodiscard]] bool isOver() const; // under the lock

    mutable std::mutex _taskLock;
    std::condition_variable _changed;
    std::deque<TaskRecord> _taskList;
    int _scheduledSyncs = 0;
    bool _closed = false;
};

} // namespace vt

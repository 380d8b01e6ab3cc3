// The one worker thread of a drive: rounds of the task runner until "death". Started with the first task, never twice.
// Thread: start() on main, once. Owns: nothing of the drive; `keepAlive` holds what the runner needs until the thread
// has ended. Errors: anything a task throws besides the platform's own exception is logged and ends this thread only.
#pragma once

#include "platform/WorkerThreads.h"
#include "sync/queue/TaskRunner.h"

#include <atomic>
#include <memory>

namespace vt {

class MasterThread {
  public:
    static constexpr std::size_t stackBytes = 0x200000;

    MasterThread(TaskRunner& runner, TaskQueue& queue) : _runner(runner), _queue(queue) {}

    // `threads` may be null: a plain thread with the platform's own stack size.
    void conditionalDetachMasterThread(WorkerThreads* threads, std::shared_ptr<void> keepAlive);
    [[nodiscard]] bool ended() const { return !_threadDetached.load() || _ended.load(); }
    [[nodiscard]] bool detached() const { return _threadDetached.load(); }

  private:
    void masterThread();

    TaskRunner& _runner;
    TaskQueue& _queue;
    std::atomic<bool> _threadDetached{false};
    std::atomic<bool> _ended{false};
};

} // namespace vt

// Writes a drive's settings from a helper thread of its own, one after the other, so that a slow or hanging drive holds
// up the main thread for two seconds at most. Thread: write() on main; the writes run on the helper. Owns: the helper,
// which ends by itself when nothing is left to do. Errors: a write that fails, even late, logs why by itself.
#pragma once

#include "platform/RunLoop.h"
#include "platform/WorkerThreads.h"
#include "sync/DriveGuard.h"

#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>

namespace vt {

class ConfigurationWriter : public std::enable_shared_from_this<ConfigurationWriter> {
  public:
    // `threads`: null for plain threads. Not the workers' own: a setting must not wait until one of them is let run.
    ConfigurationWriter(std::shared_ptr<DriveGuard> guard, RunLoop& runLoop, WorkerThreads* threads = nullptr)
        : _guard(std::move(guard)), _runLoop(runLoop), _threads(threads) {}

    // Runs `job` with the drive held open and waits for its end, serving the main thread's calls meanwhile. The job's
    // answer; false when it has not ended within two seconds and goes on without the caller. Where no helper can be
    // had, the job runs in the caller.
    bool write(std::function<bool()> job);

  private:
    struct Job {
        std::function<bool()> run;
        bool done = false;
        bool answer = false;
    };
    [[nodiscard]] bool startHelper(); // under the lock
    void work();

    std::shared_ptr<DriveGuard> _guard;
    RunLoop& _runLoop;
    WorkerThreads* _threads;
    std::mutex _mutex;
    std::condition_variable _changed;
    std::deque<std::shared_ptr<Job>> _jobs;
    bool _helperRuns = false;
};

} // namespace vt

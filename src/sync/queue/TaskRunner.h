// Takes the tasks of one drive from its queue and carries them out, one a round. Thread: the drive's worker (a test may
// play it). Owns: nothing. Errors: a task that raises the platform's exception stays at the head for the next round.
#pragma once

#include "base/Paths.h"
#include "sync/CancelMark.h"
#include "sync/DriveGuard.h"
#include "sync/SyncProcess.h"
#include "sync/progress/SyncFeedback.h"
#include "sync/progress/SyncProgress.h"
#include "sync/queue/TaskQueue.h"
#include "sync/queue/TaskWork.h"

#include <cstdint>
#include <functional>
#include <string>

namespace vt {

enum class Round : std::uint8_t { idle, worked, raised, ended };

class TaskRunner {
  public:
    struct Services {
        TaskQueue& queue;
        SyncProgress& progress;
        SyncFeedback& log;
        CancelMark& cancel;
        DriveGuard& guard;
        SyncProcess& process;
        TaskWork& work;
        HomePaths home;
        std::function<void()> notify;
        // Around the worker's use of media libraries; may be empty.
        std::function<void()> enterMovies;
        std::function<void()> exitMovies;
    };
    explicit TaskRunner(Services services) : _services(std::move(services)) {}

    void begin(); // once, before the first round
    // One round without its wait. `ended`: there must be no other.
    Round runRound();

  private:
    void carryOut(const TaskRecord& task);
    void carryOutSync(const TaskRecord& task);
    void carryOutConfiguration(const TaskRecord& task);
    void die();
    void onDrive(const std::function<void()>& work);

    Services _services;
    bool _firstOnDrive = true;
    bool _raisedBefore = false;
};

} // namespace vt

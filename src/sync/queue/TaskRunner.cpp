#include "sync/queue/TaskRunner.h"

#include "base/LogSink.h"
#include "sync/queue/PlatformException.h"

#include <algorithm>
#include <chrono>

namespace vt {

namespace {

// A worker of an earlier mount at the same place gets that long to end before this one touches the drive.
constexpr std::chrono::seconds patience{30};

std::string loggedName(const std::string& operation) {
    return "--- " + operation + " ---";
}

// The switches were stored when they were queued; their tasks keep notifications and log in order.
bool onlyNotifies(const std::string& operation) {
    return operation == operations::deactivateContinuousSync || operation == operations::changeDeviceFilter ||
           operation.starts_with("activate-sync-") || operation.starts_with("deactivate-sync-");
}

std::vector<std::string> sortedOnce(std::vector<std::string> paths) {
    std::sort(paths.begin(), paths.end());
    paths.erase(std::unique(paths.begin(), paths.end()), paths.end());
    return paths;
}

} // namespace

void TaskRunner::begin() {
    if (_services.enterMovies) _services.enterMovies();
}

Round TaskRunner::runRound() {
    try {
        if (_services.progress.activityType() == activity::configuring) {
            _services.progress.setActivityType(activity::idle);
            _services.notify();
        }
        _services.queue.clearCancelIfIdle(_services.cancel);
        const auto task = _services.queue.first();
        if (!task) {
            if (_services.exitMovies) _services.exitMovies();
            return Round::idle;
        }
        _services.progress.setActivityType(task->syncActivityType);
        _services.progress.setFailureType(task->syncActivityFailureType);
        _services.log.debugLine("masterThread: task operation=%@", task->operation);
        _services.progress.initForNewJob();
        carryOut(*task);
        if (task->operation == operations::death) return Round::ended;
        _services.log.debugLine("masterThread: removing operation %@", task->operation);
        _services.queue.removeFirst();
        _raisedBefore = false;
        _services.log.flushLog();
        return Round::worked;
    } catch (const PlatformException& exception) {
        const std::string text = formatText("MRLSyncController.masterThread exception: %@", {exception.what()});
        systemLog(text);
        if (!_raisedBefore) _services.log.logMessage(text);
        _raisedBefore = true;
        if (_services.exitMovies) _services.exitMovies();
        return Round::raised;
    }
}

void TaskRunner::carryOut(const TaskRecord& task) {
    const std::string& operation = task.operation;
    if (operation == operations::sync || operation == operations::continuousSync ||
        operation == operations::activateContinuousSync)
        carryOutSync(task);
    else if (operation == operations::death)
        die();
    else
        carryOutConfiguration(task);
}

void TaskRunner::carryOutSync(const TaskRecord& task) {
    if (task.operation == operations::sync) {
        onDrive([this] { _services.work.threadDoSync(std::nullopt); });
    } else if (task.operation == operations::continuousSync) {
        if (task.pathsToSyncTo) {
            const auto paths = sortedOnce(*task.pathsToSyncTo);
            if (!paths.empty()) {
                _services.notify();
                onDrive([&] { _services.work.threadDoSync(paths); });
                _services.log.debugLine("--- done continuous-sync ---");
            }
        }
    } else {
        _services.log.debugLine("--- activate-continuous-sync ---");
        onDrive([this] { _services.work.threadDoSync(std::nullopt); });
        _services.log.debugLine("--- done activate-continuous-sync ---");
    }
}

void TaskRunner::carryOutConfiguration(const TaskRecord& task) {
    if (onlyNotifies(task.operation)) {
        _services.notify();
        _services.log.debugLine("%@", loggedName(task.operation));
    } else if (task.operation == operations::updateSyncList) {
        _services.notify();
        std::vector<std::string> list;
        for (const std::string& item : task.syncList.value_or(std::vector<std::string>()))
            list.push_back(_services.home.abbreviate(item));
        onDrive([&] { _services.work.threadDoSyncListUpdate(list); });
    } else if (task.operation == operations::removeSync) {
        _services.notify();
        onDrive([this] { _services.work.threadRemoveDriveSync(); });
    } else {
        _services.notify(); // an unknown operation goes without any work
    }
}

void TaskRunner::die() {
    _services.notify();
    _services.log.debugLine("masterThread: removing all tasks");
    _services.queue.clear();
    _services.log.flushLog();
    _services.cancel.set(false, true);
    _services.progress.setActivityType(activity::endedWithoutSuccess);
    _services.notify();
}

void TaskRunner::onDrive(const std::function<void()>& work) {
    if (_firstOnDrive) {
        _firstOnDrive = false;
        if (!_services.process.waitUntilFree(this, _services.guard.mountPoint(), patience))
            _services.log.logLine("Another worker still holds \"%@\".",
                                  paths::displayText(_services.guard.mountPoint()));
    }
    struct Holding {
        TaskRunner& runner;
        explicit Holding(TaskRunner& r) : runner(r) {
            runner._services.process.workBegins(&runner, runner._services.guard.mountPoint());
        }
        ~Holding() { runner._services.process.workEnds(&runner, runner._services.guard.mountPoint()); }
    };
    const Holding holding(*this);
    const DriveSession session(_services.guard);
    work();
}

} // namespace vt

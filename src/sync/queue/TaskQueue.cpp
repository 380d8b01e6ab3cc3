#include "sync/queue/TaskQueue.h"

#include <algorithm>
#include <utility>

namespace vt {

void TaskQueue::append(TaskRecord task) {
    {
        const std::scoped_lock lock(_taskLock);
        _taskList.push_back(std::move(task));
    }
    _changed.notify_all();
}

std::optional<TaskRecord> TaskQueue::first() const {
    const std::scoped_lock lock(_taskLock);
    if (_taskList.empty()) return std::nullopt;
    return _taskList.front();
}

void TaskQueue::removeFirst() {
    const std::scoped_lock lock(_taskLock);
    if (!_taskList.empty()) _taskList.pop_front();
}

void TaskQueue::clear() {
    const std::scoped_lock lock(_taskLock);
    _taskList.clear();
}

bool TaskQueue::busy() const {
    const std::scoped_lock lock(_taskLock);
    return !_taskList.empty();
}

bool TaskQueue::holdsSync() const {
    const std::scoped_lock lock(_taskLock);
    return std::any_of(_taskList.begin(), _taskList.end(), [](const TaskRecord& task) {
        return task.operation == operations::sync || task.operation == operations::continuousSync;
    });
}

bool TaskQueue::holdsListUpdate() const {
    const std::scoped_lock lock(_taskLock);
    return std::any_of(_taskList.begin(), _taskList.end(),
                       [](const TaskRecord& task) { return task.operation == operations::updateSyncList; });
}

Value::Array TaskQueue::tasks() const {
    const std::scoped_lock lock(_taskLock);
    Value::Array array;
    for (const TaskRecord& task : _taskList) array.emplace_back(task.toValue());
    return array;
}

void TaskQueue::syncWasScheduled() {
    const std::scoped_lock lock(_taskLock);
    ++_scheduledSyncs;
}

void TaskQueue::scheduledSyncEnded() {
    const std::scoped_lock lock(_taskLock);
    if (_scheduledSyncs > 0) --_scheduledSyncs;
}

bool TaskQueue::clearCancelIfIdle(CancelMark& cancel) {
    const std::scoped_lock lock(_taskLock);
    if (!_taskList.empty()) return false;
    if (_scheduledSyncs == 0) cancel.set(false, false);
    return true;
}

void TaskQueue::waitForTask() {
    std::unique_lock lock(_taskLock);
    _changed.wait_for(lock, std::chrono::seconds(1), [this] { return !_taskList.empty() || _closed; });
}

void TaskQueue::pause(std::chrono::milliseconds time) {
    std::unique_lock lock(_taskLock);
    _changed.wait_for(lock, time, [this] { return isOver(); });
}

void TaskQueue::close() {
    {
        const std::scoped_lock lock(_taskLock);
        _closed = true;
    }
    _changed.notify_all();
}

bool TaskQueue::over() const {
    const std::scoped_lock lock(_taskLock);
    return isOver();
}

bool TaskQueue::isOver() const {
    return _closed && std::none_of(_taskList.begin(), _taskList.end(),
                                   [](const TaskRecord& task) { return task.operation == operations::death; });
}

} // namespace vt

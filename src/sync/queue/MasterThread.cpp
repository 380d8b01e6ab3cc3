#include "sync/queue/MasterThread.h"

#include "base/LogSink.h"

#include <exception>
#include <string>
#include <system_error>
#include <thread>
#include <utility>

namespace vt {

void MasterThread::conditionalDetachMasterThread(WorkerThreads* threads, std::shared_ptr<void> keepAlive) {
    if (_threadDetached.exchange(true)) return;
    auto body = [this, alive = std::move(keepAlive)]() mutable {
        masterThread();
        _ended.store(true);
        alive.reset();
    };
    bool started = false;
    if (threads != nullptr) {
        started = threads->start(stackBytes, std::move(body));
    } else {
        try {
            std::thread(std::move(body)).detach();
            started = true;
        } catch (const std::system_error& error) {
            systemLog(std::string("no thread for a drive: ") + error.what());
        }
    }
    if (!started) {
        systemLog("a drive's worker thread could not be started");
        _ended.store(true);
    }
}

void MasterThread::masterThread() {
    try {
        _runner.begin();
        while (!_queue.over()) {
            switch (_runner.runRound()) {
            case Round::idle:
                _queue.waitForTask();
                break;
            case Round::worked:
                break;
            case Round::raised:
                _queue.pause(std::chrono::seconds(1));
                break;
            case Round::ended:
                return;
            }
        }
    } catch (const std::exception& exception) {
        systemLog(std::string("a drive's worker thread ended: ") + exception.what());
    } catch (...) {
        systemLog("a drive's worker thread ended with an unknown exception");
    }
}

} // namespace vt

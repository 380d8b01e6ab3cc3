#include "sync/progress/SyncFeedback.h"

#include "log/VTLogController.h"

#include <exception>

namespace vt {

void SyncFeedback::onMain(const std::function<void()>& work) {
    if (_runLoop.isMainThread())
        work();
    else
        (void)_runLoop.performAndWait(work);
}

void SyncFeedback::logMessage(std::string_view text) {
    const std::string line = VTLogController::generateString(text, true, true, _clock.now());
    onMain([&] {
        try {
            _host.addLogText(line);
        } catch (const std::exception& exception) {
            systemLog(formatText("MRLSyncController.logMessage exception: %@", {exception.what()}));
        }
    });
}

void SyncFeedback::debugMessage(std::string_view text) {
    if (!debugEnabled()) return;
    const std::string line = VTLogController::generateString(text, false, true, _clock.now());
    onMain([&] {
        try {
            _host.addLogText(line);
            _host.writeLogFile();
        } catch (const std::exception& exception) {
            systemLog(formatText("MRLSyncController.debugMessage exception: %@", {exception.what()}));
        }
    });
}

bool SyncFeedback::debugEnabled() const {
    return _runLoop.isMainThread() ? _host.debugEnabled() : _process.debugFlag();
}

void SyncFeedback::flushLog() {
    onMain([this] { _host.writeLogFile(); });
}

void SyncFeedback::openLogFile() {
    onMain([this] {
        _host.writeLogFile();
        _host.openLogFile();
    });
}

void SyncFeedback::mainThreadUpdateProgressDialog(bool, int) {
    onMain([] {});
}

void SyncFeedback::readDebugFlag() {
    _process.setDebugFlag(_host.debugEnabled());
}

} // namespace vt

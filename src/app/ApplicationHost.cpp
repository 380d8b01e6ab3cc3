#include "app/ApplicationHost.h"

namespace vt {

namespace {
// Systems above this version have file-system event streams and disk descriptions.
constexpr std::int32_t lastVersionBeforeLeopard = 4175;
constexpr const char* helpPage =
    "file:///Library/Documentation/Applications/Talmont%20Pushkey%E2%84%A2%20Manager/Mirrorly.html";
} // namespace

void ApplicationHost::addLogText(const std::string& text) {
    _c.log.controller().addLogString(text, false, false);
}

void ApplicationHost::openLogFile() {
    _c.log.controller().writeLogFile();
    _c.log.controller().openLogFile();
}

void ApplicationHost::sendActivityNotificationForced(bool forced, const std::optional<Value::Dictionary>& progress) {
    if (_c.services.runLoop.isMainThread()) {
        _c.broadcast(forced, progress);
        return;
    }
    _c.services.runLoop.performLater([this, alive = std::weak_ptr(_alive), forced, progress] {
        if (!alive.expired()) _c.broadcast(forced, progress);
    });
}

bool ApplicationHost::runningOnLeopardOrLater() const {
    // A failed query is not remembered: the next call asks again.
    if (_systemVersion == 0) _systemVersion = _c.services.system.systemVersion().value_or(0);
    return _systemVersion > lastVersionBeforeLeopard;
}

void ApplicationHost::doHelp() {
    if (!_c.services.workspace.open(helpPage)) systemLog("the help page could not be opened");
}

void ApplicationHost::syncConfigurationRemoved(const std::string& mountPoint) {
    _c.services.runLoop.performLater([this, alive = std::weak_ptr(_alive), mountPoint] {
        if (!alive.expired()) _c.replaceController(mountPoint);
    });
}

} // namespace vt

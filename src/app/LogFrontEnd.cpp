#include "app/LogFrontEnd.h"

#include "base/Paths.h"
#include "base/Text.h"

namespace vt {

namespace {
constexpr const char* debugKey = "debug";
}

LogFrontEnd::LogFrontEnd(ApplicationServices& services)
    : _services(services), _files(services.driveFiles.bind(nullptr)),
      _log({_files->files(), _files->contents(), services.clock, services.runLoop, services.workspace,
            services.makeLogWindow, &services.alerts}) {
    // The first start records the default, so that a person finds the switch in the preferences file.
    auto& preferences = _services.preferences;
    if (!preferences.value(application::bundleIdentifier, PreferenceHost::any, debugKey)) {
        preferences.set(application::bundleIdentifier, PreferenceHost::any, debugKey, false);
        if (!preferences.synchronise(application::bundleIdentifier, PreferenceHost::any))
            systemLog("the user default \"debug\" could not be stored");
    }
}

void LogFrontEnd::setupLog() {
    _log.setLogFilename(HomePaths(_services.system.home()).standardise("~/Library/Logs/Vantaro.log"));
    _log.setFrameAutosaveName("com.corvane.vantaro.log");
    _log.setWindowTitle(localised("Vantaro Log"));
    _log.readLogFile();
    _log.setSuppressTimeStamp(false);
    logMessage("----------------------------------------------------");
    logMessage(localised("Vantaro starting."));
    logMessage(formatText("Vantaro v%@", {_services.version}));
}

void LogFrontEnd::flushLog() {
    _log.writeLogFile();
}

void LogFrontEnd::logMessage(std::string_view text) {
    _log.addLogString(text, true, true);
}

void LogFrontEnd::debugMessage(std::string_view text) {
    if (debugEnabled()) logMessage(text);
}

bool LogFrontEnd::debugEnabled() const {
    if (_services.runLoop.isMainThread()) {
        const auto stored = _services.preferences.value(application::bundleIdentifier, PreferenceHost::any, debugKey);
        _debug = stored && stored->boolValue();
    }
    return _debug;
}

void LogFrontEnd::toggleDebugMode() {
    _services.preferences.set(application::bundleIdentifier, PreferenceHost::any, debugKey, !debugEnabled());
    if (!_services.preferences.synchronise(application::bundleIdentifier, PreferenceHost::any))
        systemLog("the user default \"debug\" could not be stored");
}

void LogFrontEnd::toggleLogWindow() {
    if (_log.isLogWindowVisible())
        _log.hide();
    else
        _log.show();
}

LogFrontEnd::MenuItem LogFrontEnd::validateUserInterfaceItem(const std::string& action) const {
    MenuItem item;
    if (action == "toggleLogWindow:") item.title = localised(_log.isLogWindowVisible() ? "Hide Log" : "Show Log");
    if (action == "toggleDebugMode:") item.checked = debugEnabled();
    return item;
}

} // namespace vt

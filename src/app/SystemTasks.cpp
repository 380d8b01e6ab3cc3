#include "app/SystemTasks.h"

#include "base/LogSink.h"
#include "base/Paths.h"
#include "base/Text.h"

namespace vt {

namespace {

void logErrorOutput(const std::string& bytes) {
    const std::string text = paths::displayText(bytes);
    // The lines of the child are kept as they are.
    systemLog(text.starts_with("//") ? text : "Error: " + text);
}

} // namespace

void SystemTasks::performSystemTask(const std::optional<std::string>& launchPath,
                                    const std::optional<std::vector<std::string>>& arguments) {
    if (!launchPath || !arguments || _children == nullptr) return;
    const auto keep = [this] {
        m_objectsToKeepAround->insert(++_lastKept);
        return [kept = std::weak_ptr(m_objectsToKeepAround), object = _lastKept] {
            if (const auto all = kept.lock()) all->erase(object);
        };
    };
    const auto leaveOutput = keep();
    const auto leaveError = keep();
    const auto leaveTask = keep();
    const auto started = _children->start(
        *launchPath, *arguments,
        {[](const std::string&) {}, leaveOutput, logErrorOutput, leaveError, [leaveTask](int) { leaveTask(); }});
    if (started.ok()) return;
    leaveOutput();
    leaveError();
    leaveTask();
    systemLog(formatText("Error: %@", {started.error().describe()}));
}

} // namespace vt

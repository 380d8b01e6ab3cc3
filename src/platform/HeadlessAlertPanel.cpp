#include "platform/HeadlessAlertPanel.h"

#include "base/LogSink.h"
#include "base/Paths.h"

namespace vt {

int HeadlessAlertPanel::run(const Alert& alert) {
    std::string line = alert.title;
    if (!line.empty() && !alert.message.empty()) line += ": ";
    line += alert.message;
    systemLog(paths::displayText(line));
    return 0;
}

} // namespace vt

// Where a part writes its lines, whatever lies behind it.
// Thread: any; the implementer moves the line to where it belongs.
#pragma once

#include <string_view>

namespace vt {

class LogSink {
  public:
    virtual ~LogSink() = default;
    // A line for the user: time stamp and line end are added. The text's line ends stay, so what comes from outside
    // must have gone through formatText() or visibleText().
    virtual void logMessage(std::string_view text) = 0;
    // Written only while the user default "debug" is on.
    virtual void debugMessage(std::string_view text) = 0;
    // Whether debugMessage() would write; asked before a costly text is formed.
    [[nodiscard]] virtual bool debugEnabled() const = 0;
};

// Writes one line to the system log, which is standard error. Any thread; never fails.
void systemLog(std::string_view text);

} // namespace vt

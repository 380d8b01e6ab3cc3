// A drive's lines for the log. Thread: any; lines of the worker are handed to the main thread and waited for. A debug
// line is tested for before it is formed: with the flag off nothing is handed over. Errors: never; a line that cannot
// be written is dropped when the process shuts down.
#pragma once

#include "base/LogSink.h"
#include "base/Text.h"
#include "platform/Clock.h"
#include "platform/RunLoop.h"
#include "sync/SyncHost.h"
#include "sync/SyncProcess.h"

#include <functional>
#include <string>
#include <string_view>

namespace vt {

class SyncFeedback : public LogSink {
  public:
    SyncFeedback(SyncHost& host, RunLoop& runLoop, const Clock& clock, SyncProcess& process)
        : _host(host), _runLoop(runLoop), _clock(clock), _process(process) {}

    void logMessage(std::string_view text) override;   // time stamp and line end are added
    void debugMessage(std::string_view text) override; // no time stamp; writes the log file at once
    // On the main thread the user default, on a worker the flag that its sync has read.
    [[nodiscard]] bool debugEnabled() const override;
    // Formed only while the debug flag is on.
    template <typename... Arguments> void debugLine(std::string_view format, const Arguments&... arguments) {
        if (debugEnabled()) debugMessage(formatText(format, {TextArgument(arguments)...}));
    }
    template <typename... Arguments> void logLine(const std::string& key, const Arguments&... arguments) {
        logMessage(localisedText(key, {TextArgument(arguments)...}));
    }
    void flushLog();
    void openLogFile();
    // Does nothing, deliberately: the window shows no progress. The worker still asks and waits.
    void mainThreadUpdateProgressDialog(bool makeVisible, int progress);
    void readDebugFlag(); // from the user default, at the start of a sync

  private:
    void onMain(const std::function<void()>& work);

    SyncHost& _host;
    RunLoop& _runLoop;
    const Clock& _clock;
    SyncProcess& _process;
};

} // namespace vt

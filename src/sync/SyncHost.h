// What a sync controller asks of the application. Thread: any, unless a line says main; the implementer moves what must
// move.
#pragma once

#include "base/LogSink.h"
#include "base/Value.h"
#include "config/HostIdentity.h"

#include <optional>
#include <string>

namespace vt {

class SyncHost : public HostIdentity {
  public:
    // The application's own log: time stamp, line end, debug lines only while the user default "debug" is on.
    [[nodiscard]] virtual LogSink& log() = 0;
    // Adds a text as it stands: the controller has formatted it (debug lines of a controller carry no time stamp).
    // Main.
    virtual void addLogText(const std::string& text) = 0;
    virtual void writeLogFile() = 0;                     // main
    virtual void openLogFile() = 0;                      // main
    [[nodiscard]] virtual bool debugEnabled() const = 0; // the user default, read anew
    // Broadcasts the sync activity; `progress` may be absent. Any thread; the values are a copy taken at the call.
    virtual void sendActivityNotificationForced(bool forced, const std::optional<Value::Dictionary>& progress) = 0;
    [[nodiscard]] virtual bool runningOnLeopardOrLater() const = 0;
    virtual void addSeenDevice(const std::string& drive) = 0; // main
    virtual void doHelp() = 0;                                // main
    // A "remove-sync" task has run: the application replaces the controller by a fresh one for the same mount. Any
    // thread.
    virtual void syncConfigurationRemoved(const std::string& mountPoint) = 0;
    // The path is a mapped share of a wireless drive.
    [[nodiscard]] virtual bool isMappedShare(const std::string& mountPoint) const = 0;
};

} // namespace vt

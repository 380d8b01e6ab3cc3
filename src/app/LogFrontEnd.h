// The application's way to the log: sets it up, adds lines, and knows the user default "debug".
// Thread: lines on any; set-up, flushing and the debug switch on the main thread.
#pragma once

#include "app/ApplicationServices.h"
#include "base/LogSink.h"
#include "log/VTLogController.h"

#include <atomic>
#include <optional>
#include <string>

namespace vt {

class LogFrontEnd final : public LogSink {
  public:
    explicit LogFrontEnd(ApplicationServices& services);

    // Names the file, reads what is there and writes the three opening lines.
    void setupLog();
    void flushLog();
    void logMessage(std::string_view text) override;
    void debugMessage(std::string_view text) override;
    // On the main thread the default is read anew, elsewhere the value read last counts.
    [[nodiscard]] bool debugEnabled() const override;
    void toggleDebugMode();
    void toggleLogWindow();
    void clearLogWindow() { _log.clearLog(); }
    struct MenuItem {
        bool enabled = true;              // every item is
        std::optional<std::string> title; // null: the item keeps its own
        bool checked = false;
    };
    // `action` is the selector that the item sends.
    [[nodiscard]] MenuItem validateUserInterfaceItem(const std::string& action) const;
    [[nodiscard]] VTLogController& controller() { return _log; }

  private:
    ApplicationServices& _services;
    std::unique_ptr<DriveFiles> _files;
    VTLogController _log;
    mutable std::atomic<bool> _debug = false;
};

} // namespace vt

// The activity log: a text in memory that mirrors a plain file, and a window on it once somebody opens one.
// Thread: lines may be added on any; the window and the file belong to the main thread, and a call that needs them from
//   elsewhere is performed there and waited for.
// Errors: never a reason for any other operation to fail; a failed write leaves one line in the system log.
// Units: the file is UTF-8; it is dropped whole above 3,072,000 bytes (once kept as "<name>.old").
#pragma once

#include "log/LogFile.h"
#include "log/LogWindow.h"
#include "platform/AlertPanel.h"
#include "platform/Clock.h"
#include "platform/FileService.h"
#include "platform/RunLoop.h"
#include "platform/Workspace.h"

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

namespace vt {

class VTLogController {
  public:
    struct Services {
        FileService& files;
        FileContents& contents;
        const Clock& clock;
        RunLoop& runLoop;
        Workspace& workspace;
        std::function<std::unique_ptr<LogWindow>()> makeWindow; // may be empty, and may answer null without a display
        AlertPanel* alerts = nullptr; // asks before clearing while no window is visible; null: the window asks
    };
    explicit VTLogController(Services services);
    ~VTLogController();

    // One line: "%Y/%m/%d %H:%M:%S " in local time if asked, the text, a line end if asked.
    [[nodiscard]] static std::string generateString(std::string_view text, bool withTimeStamp, bool withNewLine,
                                                    Date now);
    // The same with the present time.
    [[nodiscard]] std::string generateString(std::string_view text, bool withTimeStamp, bool withNewLine) const;
    void addLogString(std::string_view text, bool withTimeStamp, bool withNewLine);

    bool readLogFile(); // always true
    bool writeLogFile();
    bool writeLogFileTo(const std::string& path);
    void zapLogAndWindowContents();
    bool pruneLogIfTooLarge();
    // False when the file exists; with `create` a missing file is made, with the folders that it needs.
    bool logFileExists(bool create);
    void openLogFile();

    // Loads the window first where that has not happened; just behind another window, or in front of all and active.
    void show(std::optional<LogWindow::Identifier> behind = std::nullopt);
    void hide();
    [[nodiscard]] bool isLogWindowVisible() const;
    void clearLog();

    [[nodiscard]] const std::string& logFilename() const { return _logFile.path(); }
    void setLogFilename(std::string path) { _logFile.setPath(std::move(path)); }
    [[nodiscard]] const std::string& frameAutosaveName() const { return _frameAutosaveName; }
    void setFrameAutosaveName(std::string name) { _frameAutosaveName = std::move(name); }
    [[nodiscard]] const std::string& windowTitle() const { return _windowTitle; }
    void setWindowTitle(std::string title);
    [[nodiscard]] bool suppressTimeStamp() const { return _suppressTimeStamp; }
    void setSuppressTimeStamp(bool suppress) { _suppressTimeStamp = suppress; }
    [[nodiscard]] std::string contents() const; // the whole log as it stands

  private:
    bool loadWindow();
    [[nodiscard]] bool windowHoldsText() const;
    [[nodiscard]] std::string windowText() const;

    Services _services;
    LogFile _logFile;
    std::unique_ptr<LogWindow> _window;
    mutable std::mutex _logQueue; // guards the two below
    std::string _contentsReadFromFile;
    bool _windowHoldsText = false; // lines go to the window; the string above stays empty
    std::string _frameAutosaveName;
    std::string _windowTitle;
    std::atomic<bool> _suppressTimeStamp = false;
};

} // namespace vt

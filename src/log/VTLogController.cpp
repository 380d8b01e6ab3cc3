#include "log/VTLogController.h"

#include "base/LocalTime.h"
#include "base/LogSink.h"
#include "base/Text.h"
#include "base/VisibleText.h"

#include <array>
#include <ctime>

namespace vt {

VTLogController::VTLogController(Services services)
    : _services(std::move(services)), _logFile(_services.files, _services.contents),
      _frameAutosaveName("com.talmont.logwindow"), _windowTitle(localised("Log")) {}

VTLogController::~VTLogController() = default;

std::string VTLogController::generateString(std::string_view text, bool withTimeStamp, bool withNewLine, Date now) {
    std::string line;
    if (withTimeStamp) {
        std::array<char, 64> stamp{};
        if (const auto local = localTime(now))
            line.assign(stamp.data(), std::strftime(stamp.data(), stamp.size(), "%Y/%m/%d %H:%M:%S ", &*local));
    }
    line += messageText(text);
    if (withNewLine) line += '\n';
    return line;
}

std::string VTLogController::generateString(std::string_view text, bool withTimeStamp, bool withNewLine) const {
    return generateString(text, withTimeStamp, withNewLine, _services.clock.now());
}

void VTLogController::addLogString(std::string_view text, bool withTimeStamp, bool withNewLine) {
    const std::string line = generateString(text, withTimeStamp && !_suppressTimeStamp, withNewLine);
    {
        const std::scoped_lock lock(_logQueue);
        if (!_windowHoldsText) {
            _contentsReadFromFile += line;
            return;
        }
    }
    if (_services.runLoop.performAndWait([&] { _window->appendText(line); })) return;
    // The main thread takes no more work: the line still reaches the file with the last write.
    const std::scoped_lock lock(_logQueue);
    _contentsReadFromFile += line;
}

std::string VTLogController::windowText() const {
    std::string text;
    static_cast<void>(_services.runLoop.performAndWait([&] { text = _window->text(); }));
    return text;
}

bool VTLogController::windowHoldsText() const {
    const std::scoped_lock lock(_logQueue);
    return _windowHoldsText;
}

std::string VTLogController::contents() const {
    std::string text = windowHoldsText() ? windowText() : std::string();
    const std::scoped_lock lock(_logQueue);
    return text + _contentsReadFromFile;
}

bool VTLogController::readLogFile() {
    if (!_services.runLoop.isMainThread()) {
        static_cast<void>(_services.runLoop.performAndWait([this] { readLogFile(); }));
        return true;
    }
    if (_logFile.pruneIfTooLarge()) logFileExists(true);
    auto text = _logFile.read();
    _logFile.forgetWritten();
    std::string shown;
    {
        const std::scoped_lock lock(_logQueue);
        if (text) _contentsReadFromFile = std::move(*text);
        if (!_windowHoldsText) return true;
        shown.swap(_contentsReadFromFile);
    }
    // Empty where the file cannot be read: the window holds the log, and that is what was read.
    _window->setText(shown);
    return true;
}

bool VTLogController::writeLogFile() {
    return writeLogFileTo(_logFile.path());
}

bool VTLogController::writeLogFileTo(const std::string& path) {
    if (!_services.runLoop.isMainThread()) {
        bool written = false;
        return _services.runLoop.performAndWait([&] { written = writeLogFileTo(path); }) && written;
    }
    logFileExists(true);
    const bool written = _logFile.write(path, contents());
    if (!written) systemLog(formatText("[LogController writeToFile:%@] failed", {path}));
    if (pruneLogIfTooLarge()) zapLogAndWindowContents();
    return written;
}

void VTLogController::zapLogAndWindowContents() {
    if (!_services.runLoop.isMainThread()) {
        static_cast<void>(_services.runLoop.performAndWait([this] { zapLogAndWindowContents(); }));
        return;
    }
    if (_window) _window->setText("");
    {
        const std::scoped_lock lock(_logQueue);
        _contentsReadFromFile.clear();
    }
    _logFile.forgetWritten();
    writeLogFile();
}

bool VTLogController::pruneLogIfTooLarge() {
    return _logFile.pruneIfTooLarge();
}

bool VTLogController::logFileExists(bool create) {
    return _logFile.exists(create);
}

void VTLogController::openLogFile() {
    static_cast<void>(_services.workspace.open(_logFile.path()));
}

bool VTLogController::loadWindow() {
    if (_window) return true;
    if (_services.makeWindow) _window = _services.makeWindow();
    if (!_window) {
        systemLog("cannot load LogWindow.nib\n");
        return false;
    }
    if (!_frameAutosaveName.empty()) _window->setFrameAutosaveName(_frameAutosaveName);
    std::string text;
    {
        const std::scoped_lock lock(_logQueue);
        text.swap(_contentsReadFromFile);
        _windowHoldsText = true;
    }
    // Lines of other threads queue behind this call, so none comes before the text so far.
    _window->setText(text);
    return true;
}

void VTLogController::show(std::optional<LogWindow::Identifier> behind) {
    if (!loadWindow()) return;
    _window->setTitle(_windowTitle);
    if (behind)
        _window->orderBehind(*behind);
    else
        _window->show();
}

void VTLogController::hide() {
    if (_window) _window->performClose();
}

bool VTLogController::isLogWindowVisible() const {
    return _window && _window->isVisible();
}

void VTLogController::clearLog() {
    const std::string title = localised("Clear Log");
    const std::string message = localised("Are you sure you want to clear the log file?");
    if (_window && (_window->isVisible() || _services.alerts == nullptr)) {
        _window->askToClear(title, message, [this] { zapLogAndWindowContents(); });
        return;
    }
    if (_services.alerts == nullptr) return;
    const Alert question{title, message, {localised("Yes"), localised("No")}, false};
    if (_services.alerts->run(question) == 0) zapLogAndWindowContents();
}

void VTLogController::setWindowTitle(std::string title) {
    _windowTitle = std::move(title);
    if (_window) _window->setTitle(_windowTitle);
}

} // namespace vt

// A log controller with everything around it, for tests.
#pragma once

#include "base/Paths.h"
#include "log/LogWindow.h"
#include "log/VTLogController.h"
#include "platform/fake/FakeAlertPanel.h"
#include "platform/fake/FakeClock.h"
#include "platform/fake/FakeFiles.h"
#include "platform/fake/FakeRunLoop.h"
#include "platform/fake/FakeWorkspace.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>

namespace vt::test {

// What a window shows and was told, kept after it has gone.
struct WindowRecord {
    std::string title, autosave, text;
    bool visible = false;
    LogWindow::Identifier behind = 0; // 0: in front
    int asked = 0;
    bool answersYes = true;
    bool onMainOnly = true;
};

class RecordingWindow final : public LogWindow {
  public:
    RecordingWindow(WindowRecord& record, RunLoop& runLoop) : _record(record), _runLoop(runLoop) {}
    void setTitle(const std::string& title) override { _record.title = title; }
    void setFrameAutosaveName(const std::string& name) override { _record.autosave = name; }
    void setText(std::string_view text) override { checked().text = text; }
    void appendText(std::string_view text) override { checked().text += text; }
    [[nodiscard]] std::string text() const override { return _record.text; }
    void show() override {
        _record.visible = true;
        _record.behind = 0;
    }
    void orderBehind(Identifier window) override {
        _record.visible = true;
        _record.behind = window;
    }
    void performClose() override { _record.visible = false; }
    [[nodiscard]] bool isVisible() const override { return _record.visible; }
    void askToClear(const std::string& title, const std::string& message, std::function<void()> yes) override {
        EXPECT_EQ(title, "Clear Log");
        EXPECT_EQ(message, "Are you sure you want to clear the log file?");
        ++_record.asked;
        if (_record.answersYes) yes();
    }

  private:
    WindowRecord& checked() {
        _record.onMainOnly = _record.onMainOnly && _runLoop.isMainThread();
        return _record;
    }
    WindowRecord& _record;
    RunLoop& _runLoop;
};

struct LogController : testing::Test {
    static constexpr const char* path = "/home/ada/Library/Logs/Vantaro.log";
    FakeClock clock;
    FakeDisk disk{clock};
    FakeFiles files{disk};
    FakeRunLoop runLoop{clock};
    FakeWorkspace workspace;
    FakeAlertPanel alerts;
    WindowRecord window;
    bool canMakeWindow = true;
    VTLogController log{{files, files, clock, runLoop, workspace,
                         [this]() -> std::unique_ptr<LogWindow> {
                             if (!canMakeWindow) return nullptr;
                             return std::make_unique<RecordingWindow>(window, runLoop);
                         },
                         &alerts}};

    LogController() {
        log.setLogFilename(path);
        log.setSuppressTimeStamp(true);
    }
    std::string bytes(const std::string& file = path) { return files.read(file, 1ULL << 30U).valueOr("(none)"); }
    bool exists(const std::string& file = path) { return files.attributes(file).ok(); }
    void put(const std::string& file, const std::string& text) {
        std::string made = "/";
        for (const auto& name : paths::components(paths::parent(file))) {
            if (name == "/") continue;
            made = paths::join(made, name);
            static_cast<void>(files.makeDirectory(made, 0755));
        }
        ASSERT_TRUE(files.writeAtomically(file, text, 0644).ok());
    }
    void line(const std::string& text) { log.addLogString(text, true, true); }
};

} // namespace vt::test

#include "base/Paths.h"
#include "log/LogWindow.h"
#include "log/VTLogController.h"
#include "platform/fake/FakeAlertPanel.h"
#include "platform/fake/FakeClock.h"
#include "platform/fake/FakeFiles.h"
#include "platform/fake/FakeRunLoop.h"
#include "platform/fake/FakeWorkspace.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <ctime>
#include <thread>

namespace vt::test {
namespace {

// What a window shows and was told, kept after it has gone.
struct WindowRecord {
    std::string title, autosave, text;
    bool visible = false;
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
    void show() override { _record.visible = true; }
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

TEST_F(LogController, DefaultsBeforeItIsConfigured) {
    const VTLogController fresh({files, files, clock, runLoop, workspace, {}});
    EXPECT_EQ(fresh.frameAutosaveName(), "com.talmont.logwindow");
    EXPECT_EQ(fresh.windowTitle(), "Log");
    EXPECT_FALSE(fresh.suppressTimeStamp());
    EXPECT_EQ(fresh.contents(), "");
    EXPECT_FALSE(fresh.isLogWindowVisible());
}

TEST_F(LogController, ALineIsStampTextAndEnd) {
    const Date now = Date::fromSeconds(1'369'144'987);
    const std::time_t seconds = now.wholeSeconds();
    std::tm local{};
    localtime_r(&seconds, &local);
    char stamp[32];
    ASSERT_GT(std::strftime(stamp, sizeof stamp, "%Y/%m/%d %H:%M:%S ", &local), 0U);
    EXPECT_EQ(std::string(stamp).size(), 20U);
    EXPECT_EQ(VTLogController::generateString("x", true, true, now), std::string(stamp) + "x\n");
    EXPECT_EQ(VTLogController::generateString("x", true, false, now), std::string(stamp) + "x");
    EXPECT_EQ(VTLogController::generateString("x", false, true, now), "x\n");
    EXPECT_EQ(VTLogController::generateString("x", false, false, now), "x");
}

TEST_F(LogController, SuppressingStampsAffectsAddedLinesOnly) {
    log.addLogString("x", true, true);
    EXPECT_EQ(log.contents(), "x\n");
    EXPECT_EQ(log.generateString("x", true, true).size(), 22U);
    log.setSuppressTimeStamp(false);
    log.addLogString("y", true, true);
    log.addLogString("z", false, false);
    EXPECT_EQ(log.contents().size(), 2U + 22U + 1U);
    EXPECT_TRUE(log.contents().ends_with("y\nz"));
}

TEST_F(LogController, BytesThatAreNoTextAreReplaced) {
    line("caf\xe9");
    EXPECT_EQ(log.contents(), "caf\xEF\xBF\xBD\n");
}

TEST_F(LogController, LinesReachTheFileOnlyWhenItIsWritten) {
    line("one");
    EXPECT_FALSE(exists());
    EXPECT_TRUE(log.writeLogFile());
    EXPECT_EQ(bytes(), "one\n");
}

TEST_F(LogController, ReadingContinuesTheFile) {
    put(path, "old\n");
    EXPECT_TRUE(log.readLogFile());
    line("new");
    EXPECT_TRUE(log.writeLogFile());
    EXPECT_EQ(bytes(), "old\nnew\n");
}

TEST_F(LogController, AFileThatCannotBeReadLeavesTheLogEmptyAndReadingTrue) {
    EXPECT_TRUE(log.readLogFile());
    put(path, "old\n");
    disk.faults().fail("read", path, EIO);
    EXPECT_TRUE(log.readLogFile());
    EXPECT_EQ(log.contents(), "");
}

// Writing.

TEST_F(LogController, AFileThatIsStillItsOwnIsContinued) {
    line("one");
    ASSERT_TRUE(log.writeLogFile());
    disk.faults().clearLog();
    line("two");
    ASSERT_TRUE(log.writeLogFile());
    for (const auto& call : disk.faults().log()) EXPECT_FALSE(call.starts_with("writeAtomically")) << call;
    EXPECT_EQ(bytes(), "one\ntwo\n");
}

TEST_F(LogController, AReplacedOrChangedFileIsWrittenWhole) {
    line("one");
    ASSERT_TRUE(log.writeLogFile());
    put(path, "abc\n");
    line("two");
    ASSERT_TRUE(log.writeLogFile());
    EXPECT_EQ(bytes(), "one\ntwo\n");
    ASSERT_TRUE(files.append(path, "foreign").ok());
    ASSERT_TRUE(log.writeLogFile());
    EXPECT_EQ(bytes(), "one\ntwo\n");
    ASSERT_TRUE(files.remove(path, {}).ok());
    ASSERT_TRUE(log.writeLogFile());
    EXPECT_EQ(bytes(), "one\ntwo\n");
}

TEST_F(LogController, AFailedAppendFallsBackToWritingWhole) {
    line("one");
    ASSERT_TRUE(log.writeLogFile());
    disk.faults().fail("append", path, EIO);
    line("two");
    EXPECT_TRUE(log.writeLogFile());
    EXPECT_EQ(bytes(), "one\ntwo\n");
}

TEST_F(LogController, AnotherFileIsAlwaysWrittenWhole) {
    line("one");
    ASSERT_TRUE(log.writeLogFile());
    put("/home/ada/copy.log", "one\n");
    line("two");
    EXPECT_TRUE(log.writeLogFileTo("/home/ada/copy.log"));
    EXPECT_EQ(bytes("/home/ada/copy.log"), "one\ntwo\n");
    EXPECT_EQ(bytes(), "one\n");
}

TEST_F(LogController, AFailedWriteLeavesOneLineInTheSystemLog) {
    line("one");
    ASSERT_TRUE(log.writeLogFile());
    disk.faults().fail("writeAtomically", path, ENOSPC);
    disk.faults().fail("append", path, ENOSPC);
    line("two");
    testing::internal::CaptureStderr();
    EXPECT_FALSE(log.writeLogFile());
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "[LogController writeToFile:/home/ada/Library/Logs/Vantaro.log] failed\n");
    EXPECT_EQ(bytes(), "one\n");
    EXPECT_EQ(log.contents(), "one\ntwo\n");
}

// The limit.

constexpr std::size_t limit = 3'072'000;

TEST_F(LogController, AFileAtTheLimitIsKept) {
    put(path, std::string(limit, 'x'));
    EXPECT_FALSE(log.pruneLogIfTooLarge());
    EXPECT_TRUE(log.readLogFile());
    EXPECT_EQ(log.contents().size(), limit);
}

TEST_F(LogController, AFileAboveTheLimitIsDroppedAtStartAndMadeAnew) {
    put(path, std::string(limit + 1, 'x'));
    EXPECT_TRUE(log.readLogFile());
    EXPECT_EQ(bytes(), "");
    EXPECT_EQ(log.contents(), "");
    EXPECT_EQ(bytes(std::string(path) + ".old").size(), limit + 1);
}

TEST_F(LogController, ALogThatGrowsPastTheLimitIsDroppedWholeAndKeptOnce) {
    put(std::string(path) + ".old", "older");
    line(std::string(limit - 1, 'x'));
    ASSERT_TRUE(log.writeLogFile());
    EXPECT_EQ(bytes().size(), limit);
    line("y");
    EXPECT_TRUE(log.writeLogFile());
    EXPECT_EQ(bytes(), "");
    EXPECT_EQ(log.contents(), "");
    EXPECT_EQ(bytes(std::string(path) + ".old").size(), limit + 2);
    line("after");
    EXPECT_TRUE(log.writeLogFile());
    EXPECT_EQ(bytes(), "after\n");
}

TEST_F(LogController, AFileThatCannotBeKeptIsStillDropped) {
    put(path, std::string(limit + 1, 'x'));
    disk.faults().fail("move", path, EACCES);
    EXPECT_TRUE(log.pruneLogIfTooLarge());
    EXPECT_FALSE(exists());
}

TEST_F(LogController, OfALinkTheTargetsSizeDecidesAndTheLinkGoes) {
    put("/home/ada/big.log", std::string(limit + 1, 'x'));
    put("/home/ada/Library/Logs/other", "");
    ASSERT_TRUE(files.makeLink(path, "../../big.log").ok());
    EXPECT_TRUE(log.pruneLogIfTooLarge());
    EXPECT_FALSE(exists());
    EXPECT_EQ(bytes("/home/ada/big.log").size(), limit + 1);
}

TEST_F(LogController, ALinkToASmallLogIsReadAndWrittenThrough) {
    put("/home/ada/real.log", "old\n");
    put("/home/ada/Library/Logs/other", "");
    ASSERT_TRUE(files.makeLink(path, "/home/ada/real.log").ok());
    EXPECT_FALSE(log.pruneLogIfTooLarge());
    EXPECT_TRUE(log.readLogFile());
    line("new");
    EXPECT_TRUE(log.writeLogFile());
    EXPECT_EQ(bytes("/home/ada/real.log"), "old\nnew\n");
    EXPECT_TRUE(files.attributes(path)->isLink());
}

TEST_F(LogController, ExistenceIsAnsweredWithNoWhereTheFileIsThere) {
    EXPECT_FALSE(log.logFileExists(false));
    EXPECT_FALSE(exists());
    EXPECT_TRUE(log.logFileExists(true));
    EXPECT_EQ(bytes(), "");
    EXPECT_FALSE(log.logFileExists(true));
    put(path, std::string(limit + 1, 'x'));
    EXPECT_TRUE(log.logFileExists(false));
    EXPECT_EQ(bytes(), "");
}

TEST_F(LogController, AFileThatCannotBeMadeIsAnsweredWithNo) {
    disk.faults().fail("makeDirectory", "/home", EACCES);
    testing::internal::CaptureStderr();
    EXPECT_FALSE(log.logFileExists(true));
    static_cast<void>(testing::internal::GetCapturedStderr());
    EXPECT_EQ(log.contents(), "");
}

TEST_F(LogController, ZappingLeavesAnEmptyFile) {
    line("one");
    ASSERT_TRUE(log.writeLogFile());
    log.zapLogAndWindowContents();
    EXPECT_EQ(bytes(), "");
    EXPECT_EQ(log.contents(), "");
    line("two");
    ASSERT_TRUE(log.writeLogFile());
    EXPECT_EQ(bytes(), "two\n");
}

TEST_F(LogController, OpensTheFileInItsApplication) {
    log.openLogFile();
    EXPECT_EQ(workspace.opened, std::vector<std::string>{path});
}

// The window.

TEST_F(LogController, OnceTheWindowIsLoadedTheLogLivesInIt) {
    log.setFrameAutosaveName("com.corvane.vantaro.log");
    log.setWindowTitle("Vantaro Log");
    line("one");
    log.show();
    EXPECT_TRUE(log.isLogWindowVisible());
    EXPECT_EQ(window.title, "Vantaro Log");
    EXPECT_EQ(window.autosave, "com.corvane.vantaro.log");
    EXPECT_EQ(window.text, "one\n");
    line("two");
    EXPECT_EQ(window.text, "one\ntwo\n");
    EXPECT_EQ(log.contents(), "one\ntwo\n");
    log.hide();
    EXPECT_FALSE(log.isLogWindowVisible());
    line("three");
    ASSERT_TRUE(log.writeLogFile());
    EXPECT_EQ(bytes(), "one\ntwo\nthree\n");
    log.setWindowTitle("Other");
    EXPECT_EQ(window.title, "Other");
}

TEST_F(LogController, ReadingWithAWindowReplacesItsText) {
    log.show();
    put(path, "from the file\n");
    EXPECT_TRUE(log.readLogFile());
    EXPECT_EQ(window.text, "from the file\n");
}

TEST_F(LogController, WithoutADisplayTheLogGoesOnWithoutAWindow) {
    canMakeWindow = false;
    testing::internal::CaptureStderr();
    log.show();
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "cannot load LogWindow.nib\n\n");
    EXPECT_FALSE(log.isLogWindowVisible());
    line("one");
    EXPECT_EQ(log.contents(), "one\n");
}

TEST_F(LogController, LinesOfOtherThreadsReachTheWindowOnTheMainThread) {
    log.show();
    std::atomic<bool> done = false;
    std::thread worker([&] {
        for (int i = 0; i < 100; ++i) line("x");
        EXPECT_TRUE(log.writeLogFile());
        done = true;
        runLoop.performLater([] {});
    });
    EXPECT_TRUE(runLoop.runUntil([&] { return done.load(); }));
    worker.join();
    EXPECT_TRUE(window.onMainOnly);
    EXPECT_EQ(window.text.size(), 200U);
    EXPECT_EQ(bytes().size(), 200U);
}

TEST_F(LogController, ALineThatComesAfterTheEndOfTheMainThreadStillReachesTheFile) {
    log.show();
    line("one");
    runLoop.beginShutdown();
    std::thread([&] { line("late"); }).join();
    ASSERT_TRUE(log.writeLogFile());
    EXPECT_EQ(bytes(), "one\nlate\n");
}

TEST_F(LogController, ManyThreadsLoseNoLine) {
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&] {
            for (int n = 0; n < 250; ++n) line("x");
        });
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(log.contents().size(), 2000U);
}

// Clearing.

TEST_F(LogController, ClearingAsksOnTheVisibleWindow) {
    line("one");
    log.show();
    window.answersYes = false;
    log.clearLog();
    EXPECT_EQ(window.text, "one\n");
    window.answersYes = true;
    log.clearLog();
    EXPECT_EQ(window.asked, 2);
    EXPECT_EQ(window.text, "");
    EXPECT_EQ(bytes(), "");
    EXPECT_TRUE(alerts.shown.empty());
}

TEST_F(LogController, ClearingWithTheWindowHiddenAsksInAPanel) {
    line("one");
    alerts.answers = {1, 0};
    log.clearLog();
    EXPECT_EQ(log.contents(), "one\n");
    log.clearLog();
    EXPECT_EQ(log.contents(), "");
    ASSERT_EQ(alerts.shown.size(), 2U);
    EXPECT_EQ(alerts.shown[0].title, "Clear Log");
    EXPECT_EQ(alerts.shown[0].message, "Are you sure you want to clear the log file?");
    EXPECT_EQ(alerts.shown[0].buttons, (std::vector<std::string>{"Yes", "No"}));
    EXPECT_EQ(window.asked, 0);
}

} // namespace
} // namespace vt::test

#include "LogWorld.h"

#include <atomic>
#include <cerrno>
#include <thread>
#include <vector>

namespace vt::test {
namespace {

using LogControllerWindow = LogController;

TEST_F(LogControllerWindow, OnceTheWindowIsLoadedTheLogLivesInIt) {
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

TEST_F(LogControllerWindow, ReadingWithAWindowReplacesItsText) {
    log.show();
    put(path, "from the file\n");
    EXPECT_TRUE(log.readLogFile());
    EXPECT_EQ(window.text, "from the file\n");
}

TEST_F(LogControllerWindow, ReadingAFileThatCannotBeReadEmptiesIt) {
    line("one");
    log.show();
    put(path, "from the file\n");
    disk.faults().fail("read", path, EIO);
    EXPECT_TRUE(log.readLogFile());
    EXPECT_EQ(window.text, "");
    EXPECT_EQ(log.contents(), "");
}

TEST_F(LogControllerWindow, IsShownBehindAnotherWindowOrInFront) {
    line("one");
    log.show(LogWindow::Identifier{7});
    EXPECT_TRUE(log.isLogWindowVisible());
    EXPECT_EQ(window.behind, 7U);
    EXPECT_EQ(window.text, "one\n");
    log.show();
    EXPECT_EQ(window.behind, 0U);
}

TEST_F(LogControllerWindow, WithoutADisplayTheLogGoesOnWithoutAWindow) {
    canMakeWindow = false;
    testing::internal::CaptureStderr();
    log.show();
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "cannot load LogWindow.nib\n\n");
    EXPECT_FALSE(log.isLogWindowVisible());
    line("one");
    EXPECT_EQ(log.contents(), "one\n");
}

TEST_F(LogControllerWindow, LinesOfOtherThreadsReachTheWindowOnTheMainThread) {
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

TEST_F(LogControllerWindow, ALineThatComesAfterTheEndOfTheMainThreadStillReachesTheFile) {
    log.show();
    line("one");
    runLoop.beginShutdown();
    std::thread([&] { line("late"); }).join();
    ASSERT_TRUE(log.writeLogFile());
    EXPECT_EQ(bytes(), "one\nlate\n");
}

TEST_F(LogControllerWindow, ManyThreadsLoseNoLine) {
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&] {
            for (int n = 0; n < 250; ++n) line("x");
        });
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(log.contents().size(), 2000U);
}

// Clearing.

TEST_F(LogControllerWindow, ClearingAsksOnTheVisibleWindow) {
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

TEST_F(LogControllerWindow, ClearingWithTheWindowHiddenAsksInAPanel) {
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

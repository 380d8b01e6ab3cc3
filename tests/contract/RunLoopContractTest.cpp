// What every run loop promises, on the fake one and on Qt's.
#include "platform/fake/FakeRunLoop.h"
#include "platform/qt/QtRunLoop.h"
#include "support/QtApplication.h"

#include <gtest/gtest.h>

#include <atomic>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace vt::test {
namespace {

using std::chrono::milliseconds;

struct FakeGround {
    FakeClock clock;
    FakeRunLoop loop{clock};
    bool runUntil(const std::function<bool()>& done) { return loop.runUntil(done); }
    bool passUntil(const std::function<bool()>& done) {
        for (int step = 0; step < 1000 && !done(); ++step) loop.advance(milliseconds(1));
        return done();
    }
};

struct QtGround {
    QCoreApplication& application = qtApplication();
    QtRunLoop loop;
    bool runUntil(const std::function<bool()>& done) { return qtRunUntil(done); }
    bool passUntil(const std::function<bool()>& done) { return qtRunUntil(done); }
};

template <typename Ground> class RunLoopContract : public ::testing::Test {
  protected:
    Ground ground;
    RunLoop& loop = ground.loop;
    std::vector<std::string> told;
    std::function<void()> tell(const std::string& word) {
        return [this, word] { told.push_back(word); };
    }
};

using Grounds = ::testing::Types<FakeGround, QtGround>;
TYPED_TEST_SUITE(RunLoopContract, Grounds);

TYPED_TEST(RunLoopContract, LaterRunsInOrderAndNeverInsideTheCall) {
    for (const char* word : {"a", "b", "c"}) this->loop.performLater(this->tell(word));
    EXPECT_TRUE(this->told.empty());
    EXPECT_TRUE(this->ground.runUntil([&] { return this->told.size() == 3; }));
    EXPECT_EQ(this->told, (std::vector<std::string>{"a", "b", "c"}));
}

TYPED_TEST(RunLoopContract, WaitingOnTheMainThreadRunsInline) {
    EXPECT_TRUE(this->loop.isMainThread());
    EXPECT_TRUE(this->loop.performAndWait(this->tell("inline")));
    EXPECT_EQ(this->told, std::vector<std::string>{"inline"});
}

TYPED_TEST(RunLoopContract, AWorkerWaitsForItsWorkOnTheMainThread) {
    std::atomic<bool> finished = false;
    bool served = false;
    bool onMain = false;
    std::size_t toldBefore = 0;
    std::thread worker([&] {
        this->loop.performLater(this->tell("first"));
        served = this->loop.performAndWait([&] {
            onMain = this->loop.isMainThread();
            toldBefore = this->told.size();
        });
        finished = true;
    });
    EXPECT_TRUE(this->ground.runUntil([&] { return finished.load(); }));
    worker.join();
    EXPECT_TRUE(served);
    EXPECT_TRUE(onMain);
    EXPECT_EQ(toldBefore, 1U);
}

TYPED_TEST(RunLoopContract, ANestedLoopServesWorkersToo) {
    std::atomic<bool> finished = false;
    bool nestedDone = false;
    std::thread worker;
    this->loop.performLater([&] {
        worker = std::thread([&] {
            EXPECT_TRUE(this->loop.performAndWait(this->tell("nested")));
            finished = true;
        });
        nestedDone = this->ground.runUntil([&] { return finished.load(); });
        this->told.push_back("outer");
    });
    EXPECT_TRUE(this->ground.runUntil([&] { return this->told.size() == 2; }));
    worker.join();
    EXPECT_TRUE(nestedDone);
    EXPECT_EQ(this->told, (std::vector<std::string>{"nested", "outer"}));
}

TYPED_TEST(RunLoopContract, ShutdownReleasesWaitersUnserved) {
    std::atomic<bool> finished = false;
    bool served = true;
    std::thread worker([&] {
        served = this->loop.performAndWait(this->tell("never"));
        finished = true;
    });
    this->loop.beginShutdown();
    worker.join();
    EXPECT_FALSE(served);
    this->loop.performLater(this->tell("still"));
    EXPECT_TRUE(this->ground.runUntil([&] { return !this->told.empty(); }));
    EXPECT_EQ(this->told, std::vector<std::string>{"still"});
    EXPECT_TRUE(this->loop.performAndWait(this->tell("own thread")));
}

TYPED_TEST(RunLoopContract, ServingGoesOnDuringShutdown) {
    this->loop.beginShutdown();
    std::atomic<bool> finished = false;
    std::atomic<bool> start = false;
    bool served = false;
    std::thread worker([&] {
        while (!start) std::this_thread::yield();
        served = this->loop.performAndWait(this->tell("last words"));
        finished = true;
    });
    const auto done = [&] {
        start = true; // asked inside serveUntil(): from here on work is taken
        return finished.load();
    };
    EXPECT_TRUE(this->loop.serveUntil(done, std::chrono::seconds(120)));
    worker.join();
    EXPECT_TRUE(served);
    EXPECT_EQ(this->told, std::vector<std::string>{"last words"});
}

TYPED_TEST(RunLoopContract, ServingEndsInTimeAndLeavesTimersAlone) {
    const auto timer = this->loop.after(milliseconds(0), this->tell("timer"));
    this->loop.performLater(this->tell("work"));
    EXPECT_TRUE(this->loop.serveUntil([&] { return !this->told.empty(); }, std::chrono::seconds(120)));
    EXPECT_FALSE(this->loop.serveUntil([] { return false; }, milliseconds(20)));
    EXPECT_EQ(this->told, std::vector<std::string>{"work"});
    EXPECT_TRUE(this->ground.passUntil([&] { return this->told.size() == 2; }));
}

TYPED_TEST(RunLoopContract, TimersRunWhenDueAndOnce) {
    std::unique_ptr<Timer> late;
    std::unique_ptr<Timer> soon;
    std::chrono::steady_clock::time_point began;
    do { // again where this thread was held up between the two: what was made second could then be due second
        began = std::chrono::steady_clock::now();
        late = this->loop.after(milliseconds(200), this->tell("late"));
        soon = this->loop.after(milliseconds(5), this->tell("soon"));
    } while (std::chrono::steady_clock::now() - began > milliseconds(150));
    EXPECT_TRUE(this->ground.passUntil([&] { return this->told.size() == 2; }));
    EXPECT_EQ(this->told, (std::vector<std::string>{"soon", "late"}));
}

TYPED_TEST(RunLoopContract, ADestroyedTimerIsSilent) {
    auto cancelled = this->loop.after(milliseconds(1), this->tell("cancelled"));
    const auto other = this->loop.after(milliseconds(30), this->tell("other"));
    cancelled.reset();
    EXPECT_TRUE(this->ground.passUntil([&] { return !this->told.empty(); }));
    EXPECT_EQ(this->told, std::vector<std::string>{"other"});
}

TYPED_TEST(RunLoopContract, ARepeatingTimerMayEndItself) {
    std::unique_ptr<Timer> timer;
    bool witnessed = false;
    timer = this->loop.every(milliseconds(2), [&] {
        this->told.push_back("tick");
        if (this->told.size() == 3) timer.reset();
    });
    EXPECT_TRUE(this->ground.passUntil([&] { return this->told.size() == 3; }));
    const auto witness = this->loop.after(milliseconds(20), [&] { witnessed = true; });
    EXPECT_TRUE(this->ground.passUntil([&] { return witnessed; }));
    EXPECT_EQ(this->told.size(), 3U);
}

TYPED_TEST(RunLoopContract, AnExceptionStaysInside) {
    this->loop.performLater([] { throw std::out_of_range("expected by the test"); });
    const auto timer = this->loop.after(milliseconds(1), [] { throw std::runtime_error("expected by the test"); });
    const auto after = this->loop.after(milliseconds(5), this->tell("alive"));
    EXPECT_TRUE(this->ground.passUntil([&] { return !this->told.empty(); }));
}

TEST(FakeRunLoop, TimersSeeTheirOwnTime) {
    FakeClock clock;
    FakeRunLoop loop(clock);
    std::vector<std::int64_t> times;
    const auto note = [&] { times.push_back(clock.steady() / milliseconds(1)); };
    const auto tick = loop.every(milliseconds(20), note);
    const auto once = loop.after(milliseconds(30), note);
    loop.advance(milliseconds(50));
    EXPECT_EQ(times, (std::vector<std::int64_t>{20, 30, 40}));
    EXPECT_EQ(clock.steady(), milliseconds(50));
    EXPECT_EQ(loop.timerCount(), 1U);
}

} // namespace
} // namespace vt::test

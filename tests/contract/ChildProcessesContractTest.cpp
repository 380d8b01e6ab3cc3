// What every way of starting children promises.
#include "platform/fake/FakeChildProcesses.h"
#include "platform/fake/FakeClock.h"
#include "platform/fake/FakeRunLoop.h"
#include "platform/linux/LinuxChildProcesses.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace vt::test {
namespace {

struct Ground {
    FakeClock clock;
    FakeRunLoop loop{clock};
    std::unique_ptr<ChildProcesses> children;
};

const std::vector<std::string> speaking{"-c", "printf 'a\\nb'; printf '//c' >&2; exit 3"};

std::unique_ptr<Ground> fakeGround() {
    auto ground = std::make_unique<Ground>();
    auto children = std::make_unique<FakeChildProcesses>(ground->loop);
    children->scripts["/bin/sh"] = {{"a\nb"}, {"//c"}, 3, false};
    ground->children = std::move(children);
    return ground;
}

std::unique_ptr<Ground> realGround() {
    auto ground = std::make_unique<Ground>();
    ground->children = std::make_unique<LinuxChildProcesses>(ground->loop);
    return ground;
}

struct Heard {
    std::string output;
    std::string error;
    int outputEnds = 0;
    int errorEnds = 0;
    std::vector<int> ends;

    [[nodiscard]] bool over() const { return outputEnds > 0 && errorEnds > 0 && !ends.empty(); }
    ChildProcesses::Listener listener() {
        return {[this](const std::string& bytes) { output += bytes; }, [this] { ++outputEnds; },
                [this](const std::string& bytes) { error += bytes; }, [this] { ++errorEnds; },
                [this](int status) { ends.push_back(status); }};
    }
};

class ChildProcessesContract : public testing::TestWithParam<std::unique_ptr<Ground> (*)()> {
  protected:
    std::unique_ptr<Ground> ground = GetParam()();
};

TEST_P(ChildProcessesContract, TellsWhatIsWrittenAndEveryEndOnce) {
    Heard heard;
    ASSERT_TRUE(ground->children->start("/bin/sh", speaking, heard.listener()).ok());
    EXPECT_TRUE(heard.output.empty()) << "nothing is told before the loop turns";
    ASSERT_TRUE(ground->loop.runUntil([&] { return heard.over(); }));
    EXPECT_EQ(heard.output, "a\nb");
    EXPECT_EQ(heard.error, "//c");
    EXPECT_EQ(heard.outputEnds, 1);
    EXPECT_EQ(heard.errorEnds, 1);
    EXPECT_EQ(heard.ends, std::vector<int>{3});
}

TEST_P(ChildProcessesContract, WhatIsNotThereIsAnError) {
    Heard heard;
    const auto started = ground->children->start("/no/such/program", {}, heard.listener());
    EXPECT_EQ(started.code(), ENOENT);
    ground->loop.runPending();
    EXPECT_TRUE(heard.ends.empty());
}

INSTANTIATE_TEST_SUITE_P(Fake, ChildProcessesContract, testing::Values(&fakeGround));
INSTANTIATE_TEST_SUITE_P(Real, ChildProcessesContract, testing::Values(&realGround));

class LinuxChildProcessesTest : public testing::Test {
  protected:
    bool run(const std::string& script) {
        return children.start("/bin/sh", {"-c", script}, heard.listener()).ok() &&
               loop.runUntil([&] { return heard.over(); });
    }
    FakeClock clock;
    FakeRunLoop loop{clock};
    LinuxChildProcesses children{loop};
    Heard heard;
};

TEST_F(LinuxChildProcessesTest, MoreThanAPipeHoldsArrives) {
    ASSERT_TRUE(run("head -c 1000000 /dev/zero | tr '\\0' x; head -c 300000 /dev/zero | tr '\\0' y >&2"));
    EXPECT_EQ(heard.output, std::string(1'000'000, 'x'));
    EXPECT_EQ(heard.error, std::string(300'000, 'y'));
}

TEST_F(LinuxChildProcessesTest, ASignalThatEndsItIsItsStatus) {
    ASSERT_TRUE(run("kill -9 $$"));
    EXPECT_EQ(heard.ends, std::vector<int>{128 + 9});
}

TEST_F(LinuxChildProcessesTest, StandardInputIsEmpty) {
    ASSERT_TRUE(run("cat; echo over"));
    EXPECT_EQ(heard.output, "over\n");
}

TEST_F(LinuxChildProcessesTest, TheEndIsToldWhileAnotherStillHoldsTheStreams) {
    ASSERT_TRUE(children.start("/bin/sh", {"-c", "sleep 1000 & echo $!"}, heard.listener()).ok());
    ASSERT_TRUE(loop.runUntil([&] { return !heard.ends.empty() && heard.output.ends_with("\n"); }));
    EXPECT_EQ(heard.outputEnds, 0);
    Heard helper;
    ASSERT_TRUE(
        children.start("/bin/kill", {"-9", heard.output.substr(0, heard.output.size() - 1)}, helper.listener()).ok());
    EXPECT_TRUE(loop.runUntil([&] { return heard.over() && helper.over(); }));
}

TEST_F(LinuxChildProcessesTest, NothingIsToldOnceTheStarterHasGone) {
    auto own = std::make_unique<LinuxChildProcesses>(loop);
    ASSERT_TRUE(own->start("/bin/sh", {"-c", "echo unheard"}, heard.listener()).ok());
    own.reset();
    Heard other;
    ASSERT_TRUE(children.start("/bin/sh", {"-c", "echo heard"}, other.listener()).ok());
    EXPECT_TRUE(loop.runUntil([&] { return other.over(); }));
    EXPECT_EQ(heard.output, "");
}

} // namespace
} // namespace vt::test

// The launcher of child processes.
#include "app/SystemTasks.h"

#include "platform/fake/FakeChildProcesses.h"
#include "platform/fake/FakeClock.h"
#include "platform/fake/FakeRunLoop.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace vt::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class SystemTasksTest : public testing::Test {
  protected:
    SystemTasksTest() {
        children.scripts["/usr/bin/tool"] = {{"output"}, {"//bare", "trouble", "b\xff"}, 1, false};
        children.scripts["/usr/bin/early"] = {{}, {"late words"}, 0, true};
    }
    // What stands in the system log after the children have done all they do.
    std::string logged() {
        testing::internal::CaptureStderr();
        loop.runPending();
        return testing::internal::GetCapturedStderr();
    }

    FakeClock clock;
    FakeRunLoop loop{clock};
    FakeChildProcesses children{loop};
    SystemTasks tasks{&children};
};

TEST_F(SystemTasksTest, ErrorOutputIsLoggedBareBehindTwoSlashesAndElseNamedAnError) {
    tasks.performSystemTask("/usr/bin/tool", std::vector<std::string>{"-a", "b c"});
    EXPECT_THAT(children.started, ElementsAre(ElementsAre("/usr/bin/tool", "-a", "b c")));
    EXPECT_EQ(logged(), "//bare\nError: trouble\nError: b\xEF\xBF\xBD\n") << "and the output is discarded";
}

TEST_F(SystemTasksTest, HandlesAndTaskAreKeptUntilEachHasEnded) {
    tasks.performSystemTask("/usr/bin/tool", std::vector<std::string>{});
    tasks.performSystemTask("/usr/bin/early", std::vector<std::string>{});
    EXPECT_EQ(tasks.objectsToKeepAround(), 6U);
    (void)logged();
    EXPECT_EQ(tasks.objectsToKeepAround(), 0U);
}

TEST_F(SystemTasksTest, OutputAfterTheTaskIsStillLogged) {
    tasks.performSystemTask("/usr/bin/early", std::vector<std::string>{});
    EXPECT_EQ(logged(), "Error: late words\n");
}

TEST_F(SystemTasksTest, NothingHappensUnlessPathAndArgumentsAreThere) {
    tasks.performSystemTask(std::nullopt, std::vector<std::string>{});
    tasks.performSystemTask("/usr/bin/tool", std::nullopt);
    SystemTasks(nullptr).performSystemTask("/usr/bin/tool", std::vector<std::string>{});
    EXPECT_THAT(children.started, IsEmpty());
    EXPECT_EQ(tasks.objectsToKeepAround(), 0U);
}

TEST_F(SystemTasksTest, WhatCannotBeStartedLeavesNothingBehind) {
    testing::internal::CaptureStderr();
    tasks.performSystemTask("/no/such/tool", std::vector<std::string>{});
    EXPECT_THAT(testing::internal::GetCapturedStderr(), testing::StartsWith("Error: "));
    EXPECT_EQ(tasks.objectsToKeepAround(), 0U);
}

} // namespace
} // namespace vt::test

// What every way of running shell commands promises.
#include "platform/fake/FakeShellCommands.h"
#include "platform/linux/LinuxShellCommands.h"

#include <gtest/gtest.h>

#include <memory>

namespace vt {
namespace {

std::unique_ptr<ShellCommands> makeFake() {
    auto shell = std::make_unique<FakeShellCommands>();
    shell->answers["printf 'a\\nb'"] = {0, "a\nb"};
    shell->answers["true"] = {0, ""};
    shell->answers["printf x; exit 3"] = {768, "x"};
    shell->answers["printf '\\377'"] = {0, "\xEF\xBF\xBD"};
    shell->answers["head -c 100000 /dev/zero | tr '\\0' x"] = {0, std::string(100000, 'x')};
    return shell;
}
std::unique_ptr<ShellCommands> makeReal() {
    return std::make_unique<LinuxShellCommands>();
}

class ShellCommandsContract : public testing::TestWithParam<std::unique_ptr<ShellCommands> (*)()> {
  protected:
    std::unique_ptr<ShellCommands> shell = GetParam()();
};

TEST_P(ShellCommandsContract, AnswersTheWholeOutput) {
    const auto result = shell->run("printf 'a\\nb'");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output, "a\nb");
    EXPECT_EQ(shell->run("head -c 100000 /dev/zero | tr '\\0' x").output, std::string(100000, 'x'));
}
TEST_P(ShellCommandsContract, NoOutputIsAnEmptyText) {
    EXPECT_EQ(shell->run("true").output, "");
}
TEST_P(ShellCommandsContract, AFailureKeepsItsOutput) {
    const auto result = shell->run("printf x; exit 3");
    EXPECT_EQ(result.status, 768);
    EXPECT_EQ(result.output, "x");
}
TEST_P(ShellCommandsContract, BytesThatAreNoTextAreReplaced) {
    EXPECT_EQ(shell->run("printf '\\377'").output, "\xEF\xBF\xBD");
}
TEST_P(ShellCommandsContract, WhatCannotBeStartedIs127WithoutOutput) {
    const auto result = shell->run(std::string("printf a\0b", 10));
    EXPECT_EQ(result.status, 127);
    EXPECT_FALSE(result.output);
}
INSTANTIATE_TEST_SUITE_P(Fake, ShellCommandsContract, testing::Values(&makeFake));
INSTANTIATE_TEST_SUITE_P(Real, ShellCommandsContract, testing::Values(&makeReal));

} // namespace
} // namespace vt

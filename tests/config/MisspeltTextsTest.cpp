// Texts of the system log that are misspelt and stay so: people search for them.
#include "config/ExecOnThread.h"
#include "config/FSNamesAndTags.h"
#include "platform/fake/FakeClock.h"
#include "platform/fake/FakeRunLoop.h"

#include <gtest/gtest.h>
#include <stdexcept>
#include <string>

namespace vt::test {
namespace {

class BrokenShell final : public ShellCommands {
  public:
    [[nodiscard]] ShellResult run(const std::string&) override { throw std::runtime_error("no shell"); }
};

class BrokenTable final : public FileSystemTable {
  public:
    [[nodiscard]] std::vector<FileSystemBundle> bundles() override { throw std::runtime_error("no table"); }
    [[nodiscard]] std::optional<Value> ntfsDriverDisabled() override { return std::nullopt; }
};

TEST(MisspeltTexts, aCommandThatRaisesStillTellsItsEnd) {
    FakeClock clock;
    FakeRunLoop loop(clock);
    BrokenShell shell;
    bool ended = false;
    testing::internal::CaptureStderr();
    ExecOnThread::executeShellCommand(shell, loop, "anything", {}, [&](ExecOnThread& done) {
        EXPECT_FALSE(done.outResult());
        ended = true;
    });
    EXPECT_TRUE(loop.runUntil([&] { return ended; }));
    EXPECT_NE(testing::internal::GetCapturedStderr().find(
                  "exeception within ExecOnThread threadedExecShellCommand Exception: std::exception Reason: no shell"),
              std::string::npos);
}

TEST(MisspeltTexts, aTableThatRaisesIsAnEmptyOne) {
    BrokenTable table;
    testing::internal::CaptureStderr();
    const FSNamesAndTags names(table);
    EXPECT_NE(testing::internal::GetCapturedStderr().find(
                  "exeception within FAT32FormatName sharedManager Exception: std::exception Reason: no table"),
              std::string::npos);
    EXPECT_FALSE(names.personalityIsFormattable("ext4"));
}

} // namespace
} // namespace vt::test

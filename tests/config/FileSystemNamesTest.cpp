#include "config/ExecOnThread.h"
#include "config/FSNamesAndTags.h"
#include "platform/fake/FakeClock.h"
#include "platform/fake/FakeRunLoop.h"
#include "platform/fake/FakeShellCommands.h"

#include <gtest/gtest.h>

namespace vt::test {
namespace {

struct ListedFileSystems final : FileSystemTable {
    std::vector<FileSystemBundle> all;
    std::optional<Value> disabled;
    std::vector<FileSystemBundle> bundles() override { return all; }
    std::optional<Value> ntfsDriverDisabled() override { return disabled; }
};

struct FileSystemNames : testing::Test {
    ListedFileSystems table;
    FileSystemNames() {
        table.all = {{"/x/msdos.fs", "/x/msdos.fs/Info", {{{"MS-DOS FAT32", "MS-DOS (FAT32)", "DOS_FAT_32", true}}}},
                     {"/x/exfat.fs", "/x/exfat.fs/Info", {{{"ExFAT", "ExFAT", std::nullopt, true}}}},
                     {"/x/ntfs.fs",
                      "/x/ntfs.fs/Info",
                      {{{"NTFS", "Windows NT", "Windows_NTFS", false}, {"unnamed", std::nullopt, "hint", true}}}},
                     {"/x/empty.fs", "/x/empty.fs/Info", std::nullopt}};
    }
    void addNtfs3g(bool canFormat = true) {
        table.all.push_back({"/x/3g.fs", "/x/3g.fs/Info", {{{"NTFS-3G", "NTFS-3G name", "3G_HINT", canFormat}}}});
    }
};

TEST_F(FileSystemNames, AreFoundByPersonalityAndByHint) {
    const FSNamesAndTags names(table);
    EXPECT_EQ(names.userFSNameForPersonality("MS-DOS FAT32"), "MS-DOS (FAT32)");
    EXPECT_EQ(names.userFSNameForContentHint("DOS_FAT_32"), "MS-DOS (FAT32)");
    EXPECT_EQ(names.userFSNameForPersonality("ExFAT"), "ExFAT");
    EXPECT_TRUE(names.personalityIsFormattable("ExFAT"));
    EXPECT_TRUE(names.contentHintIsFormattable("DOS_FAT_32"));
    EXPECT_FALSE(names.contentHintIsFormattable("hint"));
    EXPECT_FALSE(names.personalityIsFormattable("unnamed"));
}

TEST_F(FileSystemNames, UnknownOnesAreToldToTheSystemLog) {
    const FSNamesAndTags names(table);
    testing::internal::CaptureStderr();
    EXPECT_EQ(names.userFSNameForPersonality("zfs"), "Unknown File System");
    EXPECT_EQ(names.userFSNameForContentHint("ZFS"), "Unknown File System");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "userFSNameForPersonality failed lookup for key zfs\n"
                                                      "userFSNameForContentHint failed lookup for key ZFS\n");
    EXPECT_FALSE(names.personalityIsFormattable("zfs"));
    EXPECT_FALSE(names.contentHintIsFormattable("ZFS"));
}

TEST_F(FileSystemNames, ScanIsToldToTheSystemLog) {
    table.all.erase(table.all.begin() + 1, table.all.end() - 1);
    testing::internal::CaptureStderr();
    const FSNamesAndTags names(table);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "scanFSDir examining file system at /x/msdos.fs\n"
                                                      "scanFSDir found personalities for key /x/msdos.fs\n"
                                                      "scanFSDir setting dictionary entries for key MS-DOS FAT32\n"
                                                      "scanFSDir examining file system at /x/empty.fs\n"
                                                      "scanFSDir missing personalities at /x/empty.fs/Info\n");
}

TEST_F(FileSystemNames, WithoutAProgramThatMakesItAPersonalityIsNotFormattable) {
    const FSNamesAndTags names(table);
    EXPECT_FALSE(names.personalityIsFormattable("NTFS"));
    EXPECT_FALSE(names.contentHintIsFormattable("Windows_NTFS"));
    EXPECT_FALSE(names.ntfsFormatterName());
    EXPECT_EQ(names.preferredFormatterName(), "MS-DOS FAT32");
    EXPECT_TRUE(names.useFAT32Formatter());
}

TEST_F(FileSystemNames, TheShortestFormattableNtfsNameWins) {
    addNtfs3g();
    table.all.push_back({"/x/ufsd.fs", "/x/ufsd.fs/Info", {{{"ufsd_NTFS", "u", std::nullopt, true}}}});
    const FSNamesAndTags names(table);
    EXPECT_EQ(names.ntfsFormatterName(), "NTFS-3G");
    EXPECT_EQ(names.preferredFormatterName(), "NTFS-3G");
    EXPECT_EQ(names.preferredFormatterUserName(), "NTFS-3G");
    EXPECT_FALSE(names.useFAT32Formatter());
}

TEST_F(FileSystemNames, Ntfs3gIsDisabledByTheTextOneAlone) {
    addNtfs3g();
    for (const Value& setting : {Value(1), Value(true), Value("0"), Value("yes")}) {
        table.disabled = setting;
        EXPECT_EQ(FSNamesAndTags(table).ntfsFormatterName(), "NTFS-3G") << setting.description();
    }
    table.disabled = Value("1");
    const FSNamesAndTags names(table);
    EXPECT_FALSE(names.ntfsFormatterName());
    EXPECT_FALSE(names.personalityIsFormattable("NTFS-3G"));
    EXPECT_EQ(names.preferredFormatterName(), "MS-DOS FAT32");
}

TEST_F(FileSystemNames, ConstantAnswers) {
    const FSNamesAndTags names(table);
    EXPECT_EQ(names.fat32FormatterName(), "MS-DOS FAT32");
    EXPECT_EQ(names.outputVolumeName(), "Theater");
}

struct Commands : testing::Test {
    FakeClock clock;
    FakeRunLoop runLoop{clock};
    FakeShellCommands shell;
};
using ExecOnThreadTest = Commands;

TEST_F(ExecOnThreadTest, InTheCallersThread) {
    shell.answers["true"] = {0, "text\n"};
    std::optional<std::string> output = "before";
    EXPECT_EQ(ExecOnThread::execShellCommand(shell, "true", output), 0);
    EXPECT_EQ(output, "text\n");
    EXPECT_EQ(ExecOnThread::execShellCommand(shell, "unknown", output), 127);
    EXPECT_FALSE(output);
}

TEST_F(ExecOnThreadTest, TellsItsEndOnTheMainThreadWithTheContext) {
    shell.answers["info"] = {256, "text"};
    int calls = 0;
    const auto operation =
        ExecOnThread::executeShellCommand(shell, runLoop, "info", std::string("context"), [&](ExecOnThread& done) {
            EXPECT_TRUE(runLoop.isMainThread());
            EXPECT_EQ(done.command(), "info");
            EXPECT_EQ(done.shellResult(), 256);
            EXPECT_EQ(done.outResult(), "text");
            EXPECT_EQ(std::any_cast<std::string>(done.context()), "context");
            ++calls;
        });
    EXPECT_EQ(calls, 0);
    EXPECT_TRUE(runLoop.runUntil([&] { return calls == 1; }));
}

TEST_F(ExecOnThreadTest, KeepsItselfAliveUntilThen) {
    int calls = 0;
    ExecOnThread::executeShellCommand(shell, runLoop, "unknown", {}, [&](ExecOnThread& done) {
        EXPECT_EQ(done.shellResult(), 127);
        EXPECT_FALSE(done.outResult());
        ++calls;
    });
    EXPECT_TRUE(runLoop.runUntil([&] { return calls == 1; }));
}

// The last of a command's thread and the end of its run loop may fall together.
TEST(ExecOnThreadEnd, RunLoopMayGoAsSoonAsItsWorkRan) {
    FakeClock clock;
    FakeShellCommands shell;
    for (int round = 0; round < 500; ++round) {
        FakeRunLoop runLoop(clock);
        bool ended = false;
        ExecOnThread::executeShellCommand(shell, runLoop, "any", {}, [&](ExecOnThread&) { ended = true; });
        ASSERT_TRUE(runLoop.runUntil([&] { return ended; }));
    }
}

} // namespace
} // namespace vt::test

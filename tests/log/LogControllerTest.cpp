#include "LogWorld.h"

#include "base/Text.h"

#include <cerrno>
#include <ctime>

namespace vt::test {
namespace {

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

TEST_F(LogController, ANameCannotBeginALineOfItsOwn) {
    line(formatText("Unable to list \"%@\".", {"a\n2013/05/21 14:03:07 Vantaro starting.\r\xc2\x85\xe2\x80\xa8"}));
    line("bare\x1b[2J\r");
    line("-\n-: on purpose\n");
    EXPECT_EQ(log.contents(), "Unable to list \"a\\x0A2013/05/21 14:03:07 Vantaro starting.\\x0D\\x85\\u2028\".\n"
                              "bare\\x1B[2J\\x0D\n"
                              "-\n-: on purpose\n\n");
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

TEST_F(LogController, FoldersMadeForTheFileCanBeEntered) {
    ASSERT_TRUE(log.logFileExists(true));
    EXPECT_EQ(files.attributes(path)->mode, 0644U);
    for (const char* folder : {"/home/ada/Library/Logs", "/home/ada/Library", "/home/ada"})
        EXPECT_EQ(files.attributes(folder)->mode, 0755U) << folder;
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

} // namespace
} // namespace vt::test

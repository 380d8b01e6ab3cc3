#include "TreeFixture.h"

#include "sync/copy/VTFileCopyAgent.h"
#include "sync/report/MRLDeleteErrorReporter.h"
#include "sync/report/MRLRemoveSyncItemsErrorReporter.h"

#include <cerrno>

namespace vt::test {
namespace {

using ::testing::internal::CaptureStderr;
using ::testing::internal::GetCapturedStderr;

class ReporterTest : public TreeFixture {
  protected:
    static constexpr const char* question = "Do you want to continue with the sync operation?";
    [[nodiscard]] ErrorDictionary copyError(const std::string& text = "Input/output error", int code = EIO) const {
        return {h("a"), d("a"), text, code};
    }
};

TEST_F(ReporterTest, CopyErrorIsCountedLoggedAndAsked) {
    EXPECT_TRUE(reporter->shouldProceedAfterError(copyError()));
    EXPECT_EQ(reporter->errorCount(), 1);
    EXPECT_EQ(controller->log, (Lines{"Unable to copy \"/home/ann/a\" to \"/mnt/drive/a\" - Input/output error."}));
    EXPECT_EQ(controller->alerts, (Lines{"Copy Failed.|There was a problem copying \"a\" (Input/output error).  " +
                                         std::string(question) + "|cancel|log"}));
    EXPECT_FALSE(controller->cancelled);
}

TEST_F(ReporterTest, ANameWithALineEndStaysOnItsLine) {
    const std::string name = "a\n2013/05/21 14:03:07 Vantaro starting.";
    EXPECT_TRUE(reporter->shouldProceedAfterError({h(name), d(name), "Input/output error", EIO}));
    const std::string shown = "a\\x0A2013/05/21 14:03:07 Vantaro starting.";
    EXPECT_EQ(controller->log, (Lines{"Unable to copy \"/home/ann/" + shown + "\" to \"/mnt/drive/" + shown +
                                      "\" - Input/output error."}));
    ASSERT_EQ(controller->alerts.size(), 1U);
    EXPECT_EQ(controller->alerts[0].find('\n'), std::string::npos);
}

TEST_F(ReporterTest, StopOfACopyMarksTheSyncAsCancelled) {
    controller->answer = false;
    EXPECT_FALSE(reporter->shouldProceedAfterError(copyError()));
    EXPECT_TRUE(controller->cancelled);
    EXPECT_FALSE(controller->cancelValue);
}

TEST_F(ReporterTest, EveryCopyErrorListsTheVolumes) {
    volumes.mounted = {"/media/ann/X", "/mnt/drive"};
    (void)reporter->shouldProceedAfterError(copyError());
    ASSERT_EQ(controller->application.size(), 1U);
    EXPECT_TRUE(controller->application[0].starts_with("path: ("));
    EXPECT_NE(controller->application[0].find("/media/ann/X"), std::string::npos);
}

TEST_F(ReporterTest, CopyWithoutDestinationHasNoBlankBeforeItsHyphen) {
    EXPECT_FALSE(reporter->shouldProceedAfterError({h("a"), std::nullopt, "Input/output error", EIO}));
    EXPECT_EQ(controller->log, (Lines{"Unable to copy \"/home/ann/a\"- Input/output error."}));
}

TEST_F(ReporterTest, PresetModesAnswerWithoutAnAlert) {
    for (const int mode : {1, -1}) {
        reporter->setErrorHandling(mode);
        EXPECT_EQ(reporter->shouldProceedAfterError(copyError()), mode > 0);
        EXPECT_EQ(reporter->shouldProceedAfterErrorMovingItem(Error::fromErrno(EIO, "x"), h("a"), d("a")), mode > 0);
    }
    EXPECT_EQ(reporter->errorCount(), 4);
    EXPECT_EQ(controller->log.size(), 4U);
    EXPECT_TRUE(controller->alerts.empty());
    EXPECT_FALSE(controller->cancelled);
}

TEST_F(ReporterTest, FullVolumeIsNamedAsSuch) {
    struct Row {
        std::uint64_t free;
        bool full;
    };
    const std::uint64_t fourGigabytes = 1ULL << 32U;
    for (const Row& row : {Row{100'000, true}, Row{131'071, true}, Row{131'072, false}, Row{fourGigabytes - 1, false},
                           Row{fourGigabytes, true}, Row{fourGigabytes + 102'400, true}}) {
        volumes.freeBytes[drive] = row.free;
        controller->log.clear();
        (void)reporter->shouldProceedAfterError({h("a"), d("not/there/yet/a"), "Input/output error", EIO});
        const std::string text = row.full ? "Not enough free space on disk" : "Input/output error";
        EXPECT_EQ(controller->log,
                  (Lines{"Unable to copy \"/home/ann/a\" to \"/mnt/drive/not/there/yet/a\" - " + text + "."}))
            << row.free;
    }
}

TEST_F(ReporterTest, VolumeThatHasGoneShowsTheConnectionAlertWithoutACancelMark) {
    volumes.mounted = {"/", "/media/ann/Other"};
    EXPECT_FALSE(reporter->shouldProceedAfterError(copyError()));
    EXPECT_EQ(controller->alerts,
              (Lines{"Copy Failed.|There was a problem with the connection to the wireless device."}));
    EXPECT_FALSE(controller->cancelled);
    EXPECT_EQ(reporter->errorCount(), 1);
}

TEST_F(ReporterTest, IsADirectoryIsCountedButNotLogged) {
    EXPECT_TRUE(reporter->shouldProceedAfterError(copyError("Is a directory", EISDIR)));
    EXPECT_EQ(reporter->errorCount(), 1);
    EXPECT_TRUE(controller->log.empty());
    EXPECT_EQ(controller->alerts.size(), 1U);
}

TEST_F(ReporterTest, LinkIsMadeAgainWithoutCountingOrLogging) {
    computer({link("l", "target")});
    EXPECT_TRUE(reporter->shouldProceedAfterError({h("l"), d("l"), "x", EIO}));
    EXPECT_EQ(*files.readLink(d("l")), "target");
    EXPECT_TRUE(reporter->shouldProceedAfterError({h("l"), d("l"), "x", EIO})); // the same target already
    onDrive({link("other", "elsewhere")});
    EXPECT_TRUE(reporter->shouldProceedAfterError({h("l"), d("other"), "x", EIO}));
    EXPECT_EQ(*files.readLink(d("other")), "target");
    EXPECT_EQ(reporter->errorCount(), 0);
    EXPECT_TRUE(controller->log.empty());
    EXPECT_TRUE(controller->application.empty());
}

TEST_F(ReporterTest, LinkThatCannotBeMadeIsAskedAbout) {
    computer({link("l", "target")});
    disk.faults().fail("makeLink", "", ENOSPC);
    EXPECT_TRUE(reporter->shouldProceedAfterError({h("l"), d("l"), "No space", ENOSPC}));
    EXPECT_EQ(controller->alerts.size(), 1U);
    controller->answer = false;
    EXPECT_FALSE(reporter->shouldProceedAfterError({h("l"), d("l"), "No space", ENOSPC}));
    EXPECT_TRUE(controller->cancelled);
    reporter->setErrorHandling(1);
    EXPECT_FALSE(reporter->shouldProceedAfterError({h("l"), d("l"), "No space", ENOSPC}));
    disk.faults().fail("readLink", h("l"), EIO);
    reporter->setErrorHandling(0);
    EXPECT_FALSE(reporter->shouldProceedAfterError({h("l"), d("l"), "No space", ENOSPC}));
    EXPECT_EQ(controller->alerts.size(), 2U);
}

TEST_F(ReporterTest, AgentErrorsSkipOrStop) {
    VTFileCopyAgent agent(copier);
    const FileCopyAgentError error{EIO, h("a"), d("a"), "Input/output error"};
    EXPECT_EQ(reporter->agentActionRequired(agent, error), 1);
    controller->answer = false;
    EXPECT_EQ(reporter->agentActionRequired(agent, error), 2);
    EXPECT_EQ(reporter->errorCount(), 2);
}

TEST_F(ReporterTest, AgentProgressIsPassedOnAndCancels) {
    VTFileCopyAgent agent(copier);
    reporter->agentUpdate(agent, 7);
    EXPECT_FALSE(agent.cancelled());
    controller->cancelled = true;
    CaptureStderr();
    reporter->agentUpdate(agent, 9);
    EXPECT_NE(GetCapturedStderr().find("Cancelling copy"), std::string::npos);
    EXPECT_TRUE(agent.cancelled());
    EXPECT_EQ(controller->partial, (std::vector<std::uint64_t>{7, 9}));
    EXPECT_TRUE(reporter->cancelPending());
}

TEST_F(ReporterTest, DeleteErrorIsLoggedAndAskedWithACancelButton) {
    auto deleting = MRLDeleteErrorReporter::create(controller);
    EXPECT_TRUE(deleting->shouldProceedAfterErrorRemovingItem(Error::fromErrno(EACCES, d("a")), d("a")));
    EXPECT_EQ(controller->log, (Lines{"Unable to delete \"/mnt/drive/a\" - Permission denied."}));
    EXPECT_EQ(controller->alerts, (Lines{"Delete Failed.|There was a problem deleting \"a\" (Permission denied).  " +
                                         std::string(question) + "|cancel"}));
    controller->answer = false;
    EXPECT_FALSE(deleting->shouldProceedAfterError({d("a"), std::nullopt, "x", EACCES}));
    EXPECT_TRUE(controller->cancelled);
    deleting->setErrorHandling(-1);
    EXPECT_FALSE(deleting->shouldProceedAfterError({d("a"), std::nullopt, "x", EACCES}));
    deleting->setErrorHandling(1);
    EXPECT_TRUE(deleting->shouldProceedAfterError({d("a"), std::nullopt, "x", EACCES}));
    EXPECT_EQ(deleting->errorCount(), 4);
    EXPECT_EQ(controller->alerts.size(), 2U);
    EXPECT_FALSE(deleting->shouldProceedAfterErrorMovingItem(Error{}, "a", "b"));
    EXPECT_FALSE(deleting->shouldProceedAfterErrorCopyingItem(Error{}, "a", "b"));
}

TEST_F(ReporterTest, RemoveErrorHasNoButtonsYetItsAnswerDecides) {
    auto removing = MRLRemoveSyncItemsErrorReporter::create(controller);
    controller->answer = false;
    EXPECT_FALSE(removing->shouldProceedAfterErrorRemovingItem(Error::fromErrno(EACCES, d("a")), d("a")));
    EXPECT_EQ(controller->log, (Lines{"Unable to remove \"/mnt/drive/a\" from the Pushkey\\U2122 drive - "
                                      "Permission denied."}));
    EXPECT_EQ(controller->alerts, (Lines{"Update Sync Items Failed.|There was a problem removing \"a\" "
                                         "(Permission denied) from the Pushkey\\U2122 drive."}));
    EXPECT_TRUE(controller->cancelled);
    EXPECT_FALSE(controller->cancelValue);
}

TEST_F(ReporterTest, ProcessedPathsAreDebugLines) {
    reporter->willProcessPath("/a");
    MRLDeleteErrorReporter::create(controller)->willProcessPath("/b");
    MRLRemoveSyncItemsErrorReporter::create(controller)->willProcessPath("/%@");
    EXPECT_EQ(controller->debug,
              (Lines{"MRLCopyErrorReporter: copying \"/a\"...", "MRLDeleteErrorReporter: deleting \"/b\"...",
                     "MRLRemoveSyncItemsErrorReporter: deleting \"/%@\"..."}));
}

TEST_F(ReporterTest, WithoutADelegateEveryQuestionIsAnsweredStop) {
    controller.reset();
    EXPECT_FALSE(reporter->shouldProceedAfterError(copyError()));
    EXPECT_FALSE(MRLDeleteErrorReporter::create({})->shouldProceedAfterError(copyError()));
    EXPECT_FALSE(MRLRemoveSyncItemsErrorReporter::create({})->shouldProceedAfterError(copyError()));
    EXPECT_EQ(reporter->incrementErrorCount(), 2);
    EXPECT_FALSE(reporter->cancelPending());
}

} // namespace
} // namespace vt::test

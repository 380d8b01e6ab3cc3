#include "sync/copy/VTFileCopyAgent.h"

#include "TreeFixture.h"

#include <cerrno>

namespace vt::test {
namespace {

// Plays one list of events to the observer and ends as it is told.
class ScriptedCopier : public ItemCopyService {
  public:
    CopyOutcome copyItem(const std::string& source, const std::string& destination, CopyObserver& observer) override {
        paths = {source, destination};
        answers.clear();
        for (const CopyEvent& event : script) {
            answers.push_back(observer.copyEvent(event));
            if (afterEvent) afterEvent();
            if (answers.back() == CopyAnswer::quit) return {};
        }
        CopyOutcome outcome;
        outcome.done = true;
        return outcome;
    }
    void add(CopyWhat what, CopyStage stage, std::uint64_t copied = 0, std::uint64_t size = 0, int code = 0,
             const std::string& source = "/s") {
        CopyEvent event;
        event.what = what;
        event.stage = stage;
        event.source = source;
        event.destination = "/d";
        event.copiedBytes = copied;
        event.sourceSize = size;
        if (code != 0) event.error = Error::fromErrno(code, source);
        script.push_back(event);
    }
    std::vector<CopyEvent> script;
    std::vector<CopyAnswer> answers;
    Lines paths;
    std::function<void()> afterEvent;
};

class NotingDelegate : public VTFileCopyAgentDelegate {
  public:
    void agentUpdate(VTFileCopyAgent&, std::int64_t copiedBytes) override { updates.push_back(copiedBytes); }
    int agentActionRequired(VTFileCopyAgent&, const FileCopyAgentError& error) override {
        errors.push_back(error);
        return answer;
    }
    std::vector<std::int64_t> updates;
    std::vector<FileCopyAgentError> errors;
    int answer = 0;
};

class TracingAgent : public VTFileCopyAgent {
  public:
    using VTFileCopyAgent::VTFileCopyAgent;
    Lines traces;

  protected:
    void logMessage(std::string_view text) override { traces.emplace_back(text); }
};

struct CopyAgentTest : ::testing::Test {
    CopyAgentTest() {
        agent.setDelegate(&delegate);
        agent.setSourcePath("/s");
        agent.setDestionationPath("/d");
    }
    ScriptedCopier copier;
    NotingDelegate delegate;
    TracingAgent agent{copier};
};

TEST_F(CopyAgentTest, ProgressGrowsAcrossFiles) {
    copier.add(CopyWhat::file, CopyStage::start, 0, 10);
    copier.add(CopyWhat::data, CopyStage::progress, 10, 10);
    copier.add(CopyWhat::file, CopyStage::finish, 10, 10);
    copier.add(CopyWhat::file, CopyStage::start, 0, 5);
    copier.add(CopyWhat::data, CopyStage::progress, 3, 5);
    EXPECT_EQ(agent.totalFinished(), std::nullopt);
    EXPECT_TRUE(agent.performCopy());
    // At a file's last progress its bytes are in progress, no longer when it has finished.
    EXPECT_EQ(delegate.updates, (std::vector<std::int64_t>{10, 13}));
    EXPECT_EQ(agent.state(), VTFileCopyAgent::State::finished);
}

TEST_F(CopyAgentTest, SecondRunCarriesTheCountsOver) {
    copier.add(CopyWhat::file, CopyStage::finish, 10, 10);
    EXPECT_TRUE(agent.performCopy());
    EXPECT_TRUE(agent.performCopy());
    EXPECT_EQ(agent.totalFinished(), 20);
}

TEST_F(CopyAgentTest, RunInsideARunIsRefused) {
    copier.add(CopyWhat::file, CopyStage::start);
    bool inner = true;
    copier.afterEvent = [&] { inner = agent.performCopy(); };
    EXPECT_TRUE(agent.performCopy());
    EXPECT_FALSE(inner);
}

TEST_F(CopyAgentTest, CancelBeforeTheFirstCallbackQuitsThereAndEndsFinished) {
    copier.add(CopyWhat::file, CopyStage::start);
    VTFileCopyAgent::State passed = VTFileCopyAgent::State::ready;
    copier.afterEvent = [&] { passed = agent.state(); };
    agent.setCancelled(true);
    EXPECT_FALSE(agent.performCopy());
    EXPECT_EQ(passed, VTFileCopyAgent::State::cancelled);
    EXPECT_EQ(agent.state(), VTFileCopyAgent::State::finished);
    EXPECT_TRUE(delegate.errors.empty());
}

TEST_F(CopyAgentTest, AnswersOtherThanSkipAndStopMeanGoOn) {
    const std::vector<std::pair<int, CopyAnswer>> rows{{0, CopyAnswer::goOn},
                                                       {1, CopyAnswer::skip},
                                                       {2, CopyAnswer::quit},
                                                       {7, CopyAnswer::goOn},
                                                       {-1, CopyAnswer::goOn}};
    copier.add(CopyWhat::file, CopyStage::error, 0, 0, EIO);
    for (const auto& [answer, meaning] : rows) {
        delegate.answer = answer;
        EXPECT_EQ(agent.performCopy(), meaning != CopyAnswer::quit) << answer;
        EXPECT_EQ(copier.answers, std::vector<CopyAnswer>{meaning}) << answer;
    }
}

TEST_F(CopyAgentTest, EveryKindOfErrorAsksOnceForItsItem) {
    const CopyWhat kinds[] = {CopyWhat::file, CopyWhat::folder, CopyWhat::folderCleanup, CopyWhat::data,
                              CopyWhat::extendedAttribute};
    for (const CopyWhat what : kinds) {
        copier.script.clear();
        delegate.errors.clear();
        copier.add(what, CopyStage::error, 0, 0, ENOSPC, "/s/x");
        copier.add(CopyWhat::file, CopyStage::error, 0, 0, ENOSPC, "/s/x"); // the same item again
        delegate.answer = 1;
        EXPECT_TRUE(agent.performCopy());
        ASSERT_EQ(delegate.errors.size(), 1U);
        EXPECT_EQ(delegate.errors[0].code, ENOSPC);
        EXPECT_EQ(delegate.errors[0].fromPath, "/s/x");
        EXPECT_EQ(delegate.errors[0].toPath, "/d");
        EXPECT_EQ(copier.answers[1], CopyAnswer::skip);
        EXPECT_EQ(agent.itemsSkipped(), 1U);
    }
    EXPECT_STREQ(FileCopyAgentError::domain, "com.corvane.FileCopyAgentDomain");
    EXPECT_STREQ(FileCopyAgentError::fromPathKey, "com.corvane.FileCopyAgent.VTFileCopyFromPathKey");
    EXPECT_STREQ(FileCopyAgentError::toPathKey, "com.corvane.FileCopyAgent.VTFileCopyToPathKey");
}

TEST_F(CopyAgentTest, WithoutADelegateErrorsGoOn) {
    agent.setDelegate(nullptr);
    copier.add(CopyWhat::data, CopyStage::error, 0, 0, EIO);
    copier.add(CopyWhat::data, CopyStage::progress, 3, 5);
    EXPECT_TRUE(agent.performCopy());
    EXPECT_EQ(copier.answers, (std::vector<CopyAnswer>{CopyAnswer::goOn, CopyAnswer::goOn}));
}

TEST_F(CopyAgentTest, TracesAreFormed) {
    copier.add(CopyWhat::folder, CopyStage::start, 0, 0, 0, "/s");
    copier.add(CopyWhat::folder, CopyStage::finish, 0, 0, 0, "/s");
    copier.add(CopyWhat::file, CopyStage::start, 0, 0, 0, "/s/%s");
    copier.add(CopyWhat::file, CopyStage::finish, 0, 0, 0, "/s/%s");
    copier.add(CopyWhat::file, CopyStage::error, 0, 0, EIO, "/s/e");
    copier.add(CopyWhat::folder, CopyStage::error, 0, 0, EIO, "/s/f");
    EXPECT_TRUE(agent.performCopy());
    EXPECT_EQ(agent.traces, (Lines{"Dir Start /s", "Dir Finish /s", "File Start /s/%s", "File Finish /s/%s",
                                   "File Error 5", "Dir Error /s/f", "Copy success:1"}));
}

TEST_F(CopyAgentTest, TildeIsTheHomeFolder) {
    VTFileCopyAgent homely(copier, HomePaths("/home/ann"));
    homely.setSourcePath("~/a");
    homely.setDestionationPath("~/b");
    EXPECT_TRUE(homely.performCopy());
    EXPECT_EQ(copier.paths, (Lines{"/home/ann/a", "/home/ann/b"}));
}

class CopyAgentDiskTest : public TreeFixture {};

TEST_F(CopyAgentDiskTest, LinkIsCopiedAsALink) {
    computer({link("l", "target")});
    VTFileCopyAgent agent(copier);
    agent.setSourcePath(h("l"));
    agent.setDestionationPath(d("l"));
    EXPECT_TRUE(agent.performCopy());
    EXPECT_EQ(*files.readLink(d("l")), "target");
}

TEST_F(CopyAgentDiskTest, ReporterSkipsWhatThePersonGoesOnWith) {
    computer({file("P.app/a", "1"), file("P.app/b", "2")});
    disk.faults().fail("copyData", h("P.app/a"), EIO);
    VTFileCopyAgent agent(copier);
    agent.setSourcePath(h("P.app"));
    agent.setDestionationPath(d("P.app"));
    agent.setDelegate(reporter.get());
    EXPECT_TRUE(agent.performCopy());
    EXPECT_EQ(drivePaths(), (Lines{"P.app/", "P.app/b"}));
    EXPECT_EQ(controller->alerts.size(), 1U);
    EXPECT_EQ(agent.itemsSkipped(), 1U);
    EXPECT_EQ(controller->partial, (std::vector<std::uint64_t>{1}));
}

} // namespace
} // namespace vt::test

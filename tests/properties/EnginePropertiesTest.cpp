// Stories made up by chance: whatever happens to a computer and a drive, every sync does what the model says, and
// nothing is lost. RC_PARAMS and VANTARO_PROPERTY_CASES choose how many; a failure prints the shortest story.
#include "Stage.h"

#include <cstdio>
#include <cstdlib>
#include <gtest/gtest.h>
#include <unistd.h>

namespace vt::test {
namespace {

// Under a sanitizer the same time is worth fewer stories.
#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__)
constexpr const char* usualCases = "100";
#else
constexpr const char* usualCases = "500";
#endif

// Before RapidCheck reads it.
const bool configured = [] {
    const char* cases = std::getenv("VANTARO_PROPERTY_CASES");
    const std::string text = std::string("max_success=") + (cases != nullptr ? cases : usualCases) +
                             (cases != nullptr ? "" : " seed=20130521") + " verbose_progress=0";
    return setenv("RC_PARAMS", text.c_str(), 0) == 0;
}();

// The system log of thousands of syncs would hide the one story that matters.
class Quiet {
  public:
    Quiet() : _kept(dup(STDERR_FILENO)) {
        if (std::freopen("/dev/null", "w", stderr) == nullptr) std::abort();
    }
    ~Quiet() {
        std::fflush(stderr);
        dup2(_kept, STDERR_FILENO);
        close(_kept);
    }

  private:
    int _kept;
};

// The first thing that went wrong in the story, or nothing.
std::string play(const Story& story) {
    const Quiet quiet;
    Stage stage(story);
    int number = 0;
    for (const Event& event : story.events) {
        ++number;
        const std::string wrong = stage.play(event);
        if (!wrong.empty()) return "step " + std::to_string(number) + ": " + wrong;
    }
    return stage.end();
}

TEST(EngineStories, everySyncDoesWhatTheModelSaysAndLosesNothing) {
    ASSERT_TRUE(configured);
    EXPECT_TRUE(rc::check("stories", [](const Story& story) {
        const std::string wrong = play(story);
        if (!wrong.empty()) RC_FAIL(wrong);
    }));
}

} // namespace
} // namespace vt::test

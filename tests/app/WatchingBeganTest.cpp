// Folders that have just come to be watched: what changed before that may be unknown, unless a pass came later.
#include "ContinuousWorld.h"

#include <gmock/gmock.h>

namespace vt::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Paths = std::vector<std::string>;

constexpr const char* music = "/home/ada/Music";

void completed(ContinuousWorld& world) {
    world.events.completed(music);
    world.loop.runPending();
}

TEST(WatchingBegan, TheFolderIsAnnouncedOnce) {
    ContinuousWorld world;
    const auto stick = world.addContinuousDrive("one", {"~/Music"});
    completed(world);
    world.pass(10);
    EXPECT_THAT(world.handedTo(*stick), ElementsAre(Paths{music}));
    world.pass(60);
    EXPECT_THAT(world.handedTo(*stick), IsEmpty());
}

TEST(WatchingBegan, APassThatBeganLaterMakesItNeedless) {
    ContinuousWorld world;
    const auto stick = world.addContinuousDrive("one", {"~/Music"});
    completed(world);
    world.pass(1);
    stick->sync();
    ContinuousWorld::run(*stick);
    world.pass(20);
    EXPECT_THAT(world.handedTo(*stick), IsEmpty());
}

TEST(WatchingBegan, APassThatBeganEarlierDoesNot) {
    ContinuousWorld world;
    const auto stick = world.addContinuousDrive("one", {"~/Music"});
    stick->sync();
    ContinuousWorld::run(*stick);
    world.pass(1);
    completed(world);
    world.pass(10);
    EXPECT_THAT(world.handedTo(*stick), ElementsAre(Paths{music}));
}

TEST(WatchingBegan, APartialPassDoesNot) {
    ContinuousWorld world;
    const auto stick = world.addContinuousDrive("one", {"~/Music"});
    completed(world);
    world.pass(1);
    stick->continuousSyncNow({"/home/ada/Pictures"});
    ContinuousWorld::run(*stick);
    world.pass(10);
    EXPECT_THAT(world.handedTo(*stick), ElementsAre(Paths{music}));
}

TEST(WatchingBegan, EveryDriveOfTheFolderNeedsItsPass) {
    ContinuousWorld world;
    const auto one = world.addContinuousDrive("one", {"~/Music"});
    const auto two = world.addContinuousDrive("two", {"~/Music", "~/Pictures"});
    const auto three = world.addContinuousDrive("three", {"~/Pictures"});
    completed(world);
    world.pass(1);
    one->sync();
    ContinuousWorld::run(*one);
    world.pass(10);
    EXPECT_THAT(world.handedTo(*two), ElementsAre(Paths{music}));
    completed(world);
    world.pass(1);
    one->sync();
    two->sync();
    ContinuousWorld::run(*one);
    ContinuousWorld::run(*two);
    ContinuousWorld::run(*three);
    world.pass(10);
    EXPECT_THAT(world.handedTo(*two), IsEmpty()) << "the third has other folders only";
}

TEST(WatchingBegan, AChangeCountsAllTheSame) {
    ContinuousWorld world;
    const auto stick = world.addContinuousDrive("one", {"~/Music"});
    completed(world);
    world.change(music);
    stick->sync();
    ContinuousWorld::run(*stick);
    world.pass(10);
    EXPECT_THAT(world.handedTo(*stick), ElementsAre(Paths{music, music}));
    world.change(music);
    completed(world);
    stick->sync();
    ContinuousWorld::run(*stick);
    world.pass(10);
    EXPECT_THAT(world.handedTo(*stick), ElementsAre(Paths{music, music}));
}

} // namespace
} // namespace vt::test

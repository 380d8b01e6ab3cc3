// The broadcast of the sync activity.
#include "ContinuousWorld.h"

#include <gmock/gmock.h>

namespace vt::test {
namespace {

std::vector<FakeNotifications::Posted> activities(const ContinuousWorld& world) {
    std::vector<FakeNotifications::Posted> found;
    for (const auto& post : world.notifications.posted)
        if (post.name == activityName) found.push_back(post);
    return found;
}

TEST(Activity, UnforcedWithNobodyBusyPostsNothing) {
    ContinuousWorld world;
    world.addDrive("one", {"~/Music"});
    world.continuous.sendActivityNotificationForced(false, std::nullopt);
    EXPECT_TRUE(activities(world).empty());
}

TEST(Activity, ForcedWithNothingPostsWithoutUserInfo) {
    ContinuousWorld world;
    world.continuous.sendActivityNotificationForced(true, std::nullopt);
    ASSERT_EQ(activities(world).size(), 1U);
    EXPECT_FALSE(activities(world)[0].userInfo.has_value());
    EXPECT_EQ(activities(world)[0].object, "com.corvane.vantaro.notifications");
    EXPECT_EQ(activities(world)[0].options, 1U);
}

TEST(Activity, AGivenDictionaryIsPostedEvenUnforced) {
    ContinuousWorld world;
    const Value::Dictionary progress{{"activePath", "/media/one"}};
    world.continuous.sendActivityNotificationForced(false, progress);
    ASSERT_EQ(activities(world).size(), 1U);
    EXPECT_EQ(activities(world)[0].userInfo, progress);
}

TEST(Activity, WithoutADictionaryTheBusyDriveSpeaksWhicheverItIs) {
    ContinuousWorld world;
    world.addDrive("idle", {"~/Music"});
    const auto busy = world.addDrive("working", {"~/Music"});
    busy->sync();
    for (const bool forced : {true, false}) {
        world.notifications.posted.clear();
        world.continuous.sendActivityNotificationForced(forced, std::nullopt);
        ASSERT_EQ(activities(world).size(), 1U);
        EXPECT_EQ(activities(world)[0].userInfo, busy->getCurrentProgressDict());
    }
}

TEST(Activity, TheTimerTellsEveryTwoSecondsWhileASyncRuns) {
    ContinuousWorld world;
    const auto stick = world.addDrive("one", {"~/Music"});
    world.continuous.startActivityTimer();
    world.pass(6);
    EXPECT_TRUE(activities(world).empty());
    stick->sync();
    world.pass(6);
    EXPECT_EQ(activities(world).size(), 3U);
    ContinuousWorld::run(*stick);
    world.pass(6);
    EXPECT_EQ(activities(world).size(), 3U);
}

} // namespace
} // namespace vt::test

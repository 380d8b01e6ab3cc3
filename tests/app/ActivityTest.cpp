// The broadcast of the sync activity.
#include "AppWorld.h"
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

TEST(Activity, TheAnswerAboutADriveComesBehindTheNewsOfItsSync) {
    AppWorld world;
    world.start();
    world.makeFolders("/data");
    ASSERT_EQ(world.adopt("/data"), "");
    std::vector<std::string> order;
    // What a worker hands over before it lets go of its task, and the question that finds it idle.
    world.loop.performLater([&] { order.emplace_back("the end of the sync"); });
    std::optional<Value> busy;
    world.app->drivesService().progress("/data", [&](const Result<Value::Dictionary>& progress) {
        order.emplace_back("the answer");
        ASSERT_TRUE(progress.ok());
        busy = progress->at("syncIsBusy");
    });
    EXPECT_TRUE(order.empty());
    world.loop.runPending();
    EXPECT_EQ(order, (std::vector<std::string>{"the end of the sync", "the answer"}));
    EXPECT_EQ(busy, Value(0));
}

TEST(Activity, ADriveThatIsNotServedHasNoProgress) {
    AppWorld world;
    world.start();
    std::string refusal;
    world.app->drivesService().progress(
        "/media/none", [&](const Result<Value::Dictionary>& progress) { refusal = progress.error().text; });
    EXPECT_EQ(refusal, "\"/media/none\" is not a served drive");
}

} // namespace
} // namespace vt::test

// Calls that are due a second later run only while their drive is in service.
#include "app/DelayedCalls.h"
#include "AppWorld.h"

namespace vt::test {
namespace {

class DelayedCallsTest : public ::testing::Test {
  protected:
    void SetUp() override {
        world.start();
        world.mount(AppWorld::stick, "disk8s1", AppWorld::family());
        controller = world.controllerAt("disk8s1");
        ASSERT_TRUE(controller);
        made = std::make_unique<DelayedCalls>(world.loop, world.app->registry());
    }
    DelayedCalls::Call count() {
        return [this](VTSyncController&) { ++calls; };
    }
    AppWorld world;
    std::unique_ptr<DelayedCalls> made;
    std::shared_ptr<VTSyncController> controller;
    int calls = 0;
};

TEST_F(DelayedCallsTest, TheyComeOneSecondLaterEachOnce) {
    made->perform(controller, count());
    made->perform(controller, count());
    world.pass(999);
    EXPECT_EQ(calls, 0);
    world.pass(1);
    EXPECT_EQ(calls, 2);
    world.pass(5000);
    EXPECT_EQ(calls, 2);
}

TEST_F(DelayedCallsTest, ADriveThatLeftGetsNone) {
    made->perform(controller, count());
    world.unmount(AppWorld::stick, "disk8s1");
    world.pass(1000);
    EXPECT_EQ(calls, 0);
}

TEST_F(DelayedCallsTest, ADriveThatCameBackGetsNoCallOfItsEarlierService) {
    made->perform(controller, count());
    world.unmount(AppWorld::stick, "disk8s1");
    world.mount(AppWorld::stick, "disk8s1", AppWorld::family());
    ASSERT_NE(world.controllerAt("disk8s1"), controller);
    world.pass(1000);
    EXPECT_EQ(calls, 0);
}

TEST_F(DelayedCallsTest, TheyDoNotKeepADriveAlive) {
    const std::weak_ptr<VTSyncController> weak = controller;
    made->perform(controller, count());
    controller.reset();
    world.unmount(AppWorld::stick, "disk8s1");
    world.threads.letRun();
    EXPECT_TRUE(world.loop.runUntil([&] { return weak.expired(); }));
}

TEST_F(DelayedCallsTest, DroppedCallsAreNotMade) {
    made->perform(controller, count());
    made->dropAll();
    world.pass(1000);
    EXPECT_EQ(calls, 0);
}

TEST_F(DelayedCallsTest, ACallMayAskForTheNext) {
    made->perform(controller, [this](VTSyncController&) {
        made->dropAll(); // what is under way is no call to come
        made->perform(controller, count());
    });
    world.pass(1000);
    EXPECT_EQ(calls, 0);
    world.pass(1000);
    EXPECT_EQ(calls, 1);
}

} // namespace
} // namespace vt::test

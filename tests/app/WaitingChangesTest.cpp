// What the bus tells about changes that wait for the end of the quiet period.
#include "app/WaitingChanges.h"

#include "ContinuousWorld.h"

#include <gmock/gmock.h>

namespace vt::test {
namespace {

using testing::DoubleEq;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* music = "/home/ada/Music";
constexpr const char* pictures = "/home/ada/Pictures";

class NobodyAsks final : public BusService {
    Result<EventDescriptor::Record> event(const BusEvent&) override { return EventDescriptor::Record{}; }
    std::vector<Value::Dictionary> drives() override { return {}; }
    std::vector<Value::Dictionary> volumes() override { return {}; }
    void adopt(const std::string&, DriveCompletion) override {}
    void forget(const std::string&, Completion) override {}
    void progress(const std::string&, DriveCompletion) override {}
    void eject(const std::string&, Completion) override {}
    std::vector<Value::Dictionary> waiting() override { return {}; }
    void explain(const std::string&, const std::string&, DriveCompletion) override {}
    void quit() override {}
};

struct WaitingWorld : ContinuousWorld {
    NobodyAsks nobody;
    WaitingChanges waiting{application, registry, continuous};

    WaitingWorld() {
        bus.start(nobody).ignore();
        continuous.waitingMayHaveChanged = [this] { waiting.tellSoon(); };
    }
    // What was told since the last call, after the moment in which changes are gathered.
    std::vector<DriveWaiting> told() {
        passMilliseconds(100);
        return std::exchange(bus.waits, {});
    }
};

TEST(WaitingChanges, AreToldWithTheTimeLeftAndAgainWhenTheyAreHandedOver) {
    WaitingWorld world;
    const auto stick = world.addContinuousDrive("one", {"~/Music", "~/Pictures"});
    EXPECT_THAT(world.told(), IsEmpty());
    EXPECT_THAT(world.waiting.all(), IsEmpty());
    world.change("/home/ada/Music/song.mp3");
    auto told = world.told();
    ASSERT_EQ(told.size(), 1U);
    EXPECT_EQ(told[0].mountPoint, "/media/one");
    EXPECT_THAT(told[0].folders, ElementsAre(music));
    EXPECT_THAT(told[0].secondsLeft, DoubleEq(9.9));
    world.pass(4);
    EXPECT_THAT(world.told(), IsEmpty()) << "the time that passes is no news";
    world.change("/home/ada/Pictures/cat.png");
    told = world.told();
    ASSERT_EQ(told.size(), 1U);
    EXPECT_THAT(told[0].folders, ElementsAre(music, pictures));
    EXPECT_THAT(told[0].secondsLeft, DoubleEq(9.9)) << "the period began anew";
    world.pass(10);
    told = world.told();
    ASSERT_EQ(told.size(), 1U);
    EXPECT_EQ(told[0].mountPoint, "/media/one");
    EXPECT_THAT(told[0].folders, IsEmpty());
    EXPECT_TRUE(stick->busy());
}

TEST(WaitingChanges, CanBeAskedForAtAnyTime) {
    WaitingWorld world;
    world.addContinuousDrive("one", {"~/Music"});
    ContinuousWorld::switchContinuous(*world.addDrive("two", {"~/Music"}), false);
    world.change(music);
    world.pass(4);
    const auto all = world.waiting.all();
    ASSERT_EQ(all.size(), 1U) << "a drive that does not follow changes waits for nothing";
    EXPECT_EQ(all[0],
              (Value::Dictionary{
                  {"mountPoint", "/media/one"}, {"folders", Value::Array{Value(music)}}, {"secondsLeft", 6.0}}));
}

TEST(WaitingChanges, AFolderThatOnlyCameToBeWatchedIsNoChange) {
    WaitingWorld world;
    world.addContinuousDrive("one", {"~/Music"});
    world.events.completed(music);
    world.loop.runPending();
    EXPECT_THAT(world.continuous.continuousSyncItems(), ElementsAre(music));
    EXPECT_THAT(world.told(), IsEmpty());
    world.change(music);
    EXPECT_EQ(world.told().size(), 1U);
}

TEST(WaitingChanges, AFloodOfChangesIsToldAsOne) {
    WaitingWorld world;
    world.addContinuousDrive("one", {"~/Music"});
    for (int change = 0; change < 1'000; ++change) world.change(music);
    EXPECT_EQ(world.told().size(), 1U);
}

TEST(WaitingChanges, EndWhenTheDriveStopsFollowingChanges) {
    WaitingWorld world;
    const auto stick = world.addContinuousDrive("one", {"~/Music"});
    world.change(music);
    EXPECT_EQ(world.told().size(), 1U);
    ContinuousWorld::switchContinuous(*stick, false);
    world.watch();
    const auto told = world.told();
    ASSERT_EQ(told.size(), 1U);
    EXPECT_THAT(told[0].folders, IsEmpty());
}

} // namespace
} // namespace vt::test

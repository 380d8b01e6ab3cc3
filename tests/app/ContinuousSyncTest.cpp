#include "ContinuousWorld.h"

#include <gmock/gmock.h>

namespace vt::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;
using Paths = std::vector<std::string>;

constexpr const char* music = "/home/ada/Music";
constexpr const char* pictures = "/home/ada/Pictures";

TEST(ContinuousSync, TheSyncComesTenSecondsAfterTheLastChange) {
    ContinuousWorld world;
    const auto stick = world.addContinuousDrive("one", {"~/Music"});
    for (int change = 0; change < 3; ++change) {
        world.change("/home/ada/Music/song.mp3");
        world.pass(4);
    }
    world.passMilliseconds(5'999);
    EXPECT_THAT(world.handedTo(*stick), IsEmpty()) << "9.999 seconds after the third change";
    world.passMilliseconds(1);
    EXPECT_THAT(world.handedTo(*stick), ElementsAre(Paths{music, music, music})) << "in order, duplicates kept";
    world.pass(60);
    EXPECT_THAT(world.handedTo(*stick), IsEmpty()) << "one hand-over only";
}

TEST(ContinuousSync, SteadyChangePostponesWithoutBound) {
    ContinuousWorld world;
    const auto stick = world.addContinuousDrive("one", {"~/Music"});
    for (int change = 0; change < 200; ++change) {
        world.change(music);
        world.pass(9);
        ASSERT_FALSE(stick->busy());
    }
    world.pass(1);
    EXPECT_EQ(world.handedTo(*stick).at(0).size(), 200U);
}

TEST(ContinuousSync, AStreamReportsItsFolderAndNotTheChangedPath) {
    ContinuousWorld world;
    world.addContinuousDrive("one", {"~/Music"});
    world.notifications.posted.clear();
    world.change("/home/ada/Music/deep/down/song.mp3");
    ASSERT_EQ(world.notifications.posted.size(), 1U);
    const auto& post = world.notifications.posted[0];
    EXPECT_EQ(post.name, eventData);
    EXPECT_EQ(post.object, "com.corvane.vantaro.notifications");
    EXPECT_EQ(post.options, 3U);
    EXPECT_EQ(*post.userInfo, (Value::Dictionary{{"evdata", Value::Data{music}}}));
    EXPECT_THAT(world.continuous.continuousSyncItems(), ElementsAre(music));
}

TEST(ContinuousSync, OneStreamPerPathWithTheGivenSettings) {
    ContinuousWorld world;
    world.addContinuousDrive("one", {"~/Music", "~/Music/Live", "/srv/data/"});
    EXPECT_THAT(world.events.watched(), ElementsAre(music, "/home/ada/Music/Live", "/srv/data"));
    for (const auto& made : world.events.made) {
        EXPECT_EQ(made.settings.sinceWhen, ~0ULL);
        EXPECT_EQ(made.settings.latency, 0.5);
        EXPECT_EQ(made.settings.flags, 0U);
    }
    EXPECT_EQ(world.continuous.streamCount(), 3U);
}

TEST(ContinuousSync, DrivesWithTheSameFolderShareItsStream) {
    ContinuousWorld world;
    world.addContinuousDrive("one", {"~/Music", "~/Pictures"});
    world.addContinuousDrive("two", {"~/Pictures", "~/Movies"});
    EXPECT_THAT(world.events.watched(), ElementsAre(music, pictures, "/home/ada/Movies"));
}

TEST(ContinuousSync, EveryPathGoesToEveryDriveThatTakesPart) {
    ContinuousWorld world;
    const auto one = world.addContinuousDrive("one", {"~/Music"});
    const auto two = world.addContinuousDrive("two", {"~/Pictures"});
    const auto off = world.addDrive("off", {"~/Music"});
    ContinuousWorld::switchContinuous(*off, false);
    world.change(music);
    world.change(pictures);
    world.pass(10);
    EXPECT_THAT(world.handedTo(*one), ElementsAre(Paths{music, pictures}));
    EXPECT_THAT(world.handedTo(*two), ElementsAre(Paths{music, pictures}));
    EXPECT_THAT(world.handedTo(*off), IsEmpty());
}

TEST(ContinuousSync, WhoDoesNotParticipateReceivesNothing) {
    ContinuousWorld world;
    const auto stick = world.addContinuousDrive("one", {"~/Music"});
    stick->setParticipateSyncState(false);
    ASSERT_TRUE(stick->continuousSyncState());
    world.change(music);
    world.pass(10);
    EXPECT_THAT(world.handedTo(*stick), IsEmpty());
    world.watch();
    EXPECT_THAT(world.events.watched(), IsEmpty()) << "with no drive participating there is no stream";
    EXPECT_EQ(world.continuous.streamCount(), 0U);
}

TEST(ContinuousSync, WhatArrivesDuringTheHandOverStays) {
    ContinuousWorld world;
    const auto stick = world.addContinuousDrive("one", {"~/Music", "~/Pictures"});
    world.change(music);
    world.pass(9);
    // Due at the same moment as the hand-over, and served right after it.
    const auto late = world.loop.after(std::chrono::seconds(1), [&] { world.events.fire(pictures); });
    world.pass(1);
    EXPECT_THAT(world.handedTo(*stick), ElementsAre(Paths{music}));
    EXPECT_THAT(world.continuous.continuousSyncItems(), ElementsAre(pictures));
    world.pass(10);
    EXPECT_THAT(world.handedTo(*stick), ElementsAre(Paths{pictures}));
}

TEST(ContinuousSync, AFolderWhoseNameOnlyBeginsLikeAnotherFollowsWithTheNextHandOver) {
    ContinuousWorld world;
    const auto stick = world.addContinuousDrive("one", {"~/Pictures", "~/Pictures2"});
    const std::string second = "/home/ada/Pictures2";
    world.change(second);
    world.change(pictures);
    world.pass(10);
    EXPECT_THAT(world.handedTo(*stick), ElementsAre(Paths{second, pictures}));
    world.pass(10);
    EXPECT_THAT(world.handedTo(*stick), ElementsAre(Paths{second})) << "the first sync did not look at it";
    world.pass(60);
    EXPECT_THAT(world.handedTo(*stick), IsEmpty());
}

TEST(ContinuousSync, ANeighbourBelowAnotherDrivesFolderFollowsToo) {
    ContinuousWorld world;
    const auto whole = world.addContinuousDrive("one", {"~/Docs"});
    const auto parts = world.addContinuousDrive("two", {"~/Docs/Work", "~/Docs/Workshop"});
    const std::string second = "/home/ada/Docs/Workshop";
    for (const char* folder : {"/home/ada/Docs", "/home/ada/Docs/Work"}) world.change(folder);
    world.change(second);
    world.pass(10);
    EXPECT_THAT(world.handedTo(*parts), ElementsAre(testing::Contains(second)));
    world.pass(10);
    EXPECT_THAT(world.handedTo(*parts), ElementsAre(Paths{second})) << "the first sync did not look at it";
    world.pass(60);
    EXPECT_THAT(world.handedTo(*parts), IsEmpty());
}

TEST(ContinuousSync, AFolderBelowAnotherIsHandedOverOnce) {
    ContinuousWorld world;
    const auto stick = world.addContinuousDrive("one", {"~/Music", "~/Music/Live"});
    world.change("/home/ada/Music/Live/song.mp3");
    world.pass(10);
    EXPECT_THAT(world.handedTo(*stick), ElementsAre(testing::UnorderedElementsAre(music, "/home/ada/Music/Live")));
    world.pass(60);
    EXPECT_THAT(world.handedTo(*stick), IsEmpty());
}

TEST(ContinuousSync, ARebuildBeginsAgainAtNowAndLosesNothing) {
    ContinuousWorld world;
    const auto stick = world.addContinuousDrive("one", {"~/Music"});
    world.change(music);
    world.events.fire(music); // on its way while the streams are rebuilt
    world.watch();
    EXPECT_EQ(world.events.made.back().settings.sinceWhen, ~0ULL);
    world.pass(10);
    EXPECT_THAT(world.handedTo(*stick), ElementsAre(Paths{music, music}));
}

TEST(ContinuousSync, AStreamThatCannotBeMadeIsLoggedAndLeftOut) {
    ContinuousWorld world;
    world.events.refuse = true;
    world.addContinuousDrive("one", {"~/Music"});
    EXPECT_EQ(world.continuous.streamCount(), 0U);
    EXPECT_TRUE(world.host.has("Unable to watch \"/home/ada/Music\" for changes."));
}

TEST(ContinuousSync, TheDrivesThemselvesAreLeftOut) {
    ContinuousWorld world;
    world.addContinuousDrive("one", {"/"});
    world.addDrive("two", {"~/Music"});
    world.watch();
    EXPECT_THAT(world.events.leftOut, UnorderedElementsAre("/media/one", "/media/two"));
    world.change("/media/two/ada_Workbench/Music/song.mp3");
    EXPECT_THAT(world.continuous.continuousSyncItems(), IsEmpty());
}

TEST(ContinuousSync, EventDataOfOthersCountsAndEmptyDataDoesNot) {
    ContinuousWorld world;
    const auto stick = world.addContinuousDrive("one", {"~/Music"});
    world.notifications.arrive(eventData, "com.corvane.vantaro.notifications", {});
    world.notifications.arrive(eventData, "com.corvane.vantaro.notifications", {{"evdata", Value::Data{""}}});
    world.notifications.arrive(eventData, "com.corvane.vantaro.notifications", {{"evdata", "text"}});
    world.notifications.arrive(eventData, "another object", {{"evdata", Value::Data{music}}});
    world.loop.runPending();
    EXPECT_THAT(world.continuous.continuousSyncItems(), IsEmpty());
    world.notifications.arrive(eventData, "com.corvane.vantaro.notifications", {{"evdata", Value::Data{music}}});
    world.pass(10);
    EXPECT_THAT(world.handedTo(*stick), ElementsAre(Paths{music}));
}

TEST(ContinuousSync, EventDataOfOthersIsPutIntoTheFormOfAPath) {
    ContinuousWorld world;
    const std::string data[] = {"/home/ada/Music/Live/", "~/Music//Live/.", "/home/ada/Music/x/../../Private",
                                std::string("/home/ada/Music\0", 16), std::string("\0/etc", 5)};
    for (const std::string& bytes : data)
        world.notifications.arrive(eventData, "com.corvane.vantaro.notifications", {{"evdata", Value::Data{bytes}}});
    world.loop.runPending();
    EXPECT_THAT(world.continuous.continuousSyncItems(),
                ElementsAre("/home/ada/Music/Live", "/home/ada/Music/Live", "/home/ada/Private", music));
}

TEST(ContinuousSync, SwitchingOffKeepsTheRefreshRequest) {
    ContinuousWorld world;
    world.addContinuousDrive("one", {"~/Music"});
    world.continuous.setContinuousSyncNotificationsEnabled(false);
    world.change(music);
    EXPECT_THAT(world.continuous.continuousSyncItems(), IsEmpty());
    const std::size_t made = world.events.made.size();
    world.notifications.arrive(refreshRequest, "com.corvane.vantaro.notifications", {});
    world.loop.runPending();
    EXPECT_EQ(world.events.made.size(), made + 1) << "the request still rebuilds the streams";
}

TEST(ContinuousSync, TheHelperRouteSendsTheFoldersEvenWhenThereAreNone) {
    ContinuousWorld world;
    world.leopard = false;
    world.watch();
    world.addContinuousDrive("one", {"~/Music", "~/Pictures"});
    const auto settings = [](const Value::Array& folders) {
        return Value::Dictionary{
            {"syncsettings", Value::Dictionary{{"syncSet", folders}, {"notificationInterval", 0.5}}}};
    };
    std::vector<FakeNotifications::Posted> sent;
    for (const auto& post : world.notifications.posted)
        if (post.name == helperSettings) sent.push_back(post);
    ASSERT_EQ(sent.size(), 2U);
    EXPECT_EQ(*sent[0].userInfo, settings({}));
    EXPECT_EQ(*sent[1].userInfo, settings({music, pictures}));
    EXPECT_EQ(sent[1].options, 3U);
    world.notifications.posted.clear();
    world.notifications.arrive(refreshRequest, "com.corvane.vantaro.notifications", {});
    world.loop.runPending();
    ASSERT_EQ(world.notifications.posted.size(), 1U) << "the helper asks for them when it starts";
    EXPECT_EQ(*world.notifications.posted[0].userInfo, settings({music, pictures}));
    EXPECT_EQ(world.continuous.streamCount(), 0U);
}

struct AddedRow {
    const char* name;
    Paths added;
    Paths pending;
};

TEST(ContinuousSync, OnlyAWholeListOfFoldersIsAdded) {
    const AddedRow rows[] = {
        {"folders", {music, pictures}, {music, pictures}},
        {"one that is none", {"/home/ada/file.txt"}, {}},
        {"the last is none", {music, "/home/ada/file.txt"}, {}},
        {"the first is none", {"/home/ada/gone", music, pictures}, {}},
        {"nothing", {}, {}},
    };
    for (const AddedRow& row : rows) {
        ContinuousWorld world;
        world.computer({folder("Music"), folder("Pictures"), file("file.txt", "x")});
        world.continuous.mainThreadAddContinuousSyncItems(row.added);
        EXPECT_EQ(world.continuous.continuousSyncItems(), row.pending) << row.name;
    }
}

TEST(ContinuousSync, AddedFoldersWaitForTheNextHandOver) {
    ContinuousWorld world;
    const auto stick = world.addContinuousDrive("one", {"~/Music"});
    world.computer({folder("Music")});
    world.continuous.mainThreadAddContinuousSyncItems({music});
    world.pass(60);
    EXPECT_THAT(world.handedTo(*stick), IsEmpty()) << "adding starts no timer";
    world.continuous.enableContinuousSyncTimer(true);
    world.continuous.enableContinuousSyncTimer(false);
    world.pass(60);
    EXPECT_THAT(world.handedTo(*stick), IsEmpty());
    world.continuous.enableContinuousSyncTimer(true);
    world.pass(10);
    EXPECT_THAT(world.handedTo(*stick), ElementsAre(Paths{music}));
}

} // namespace
} // namespace vt::test

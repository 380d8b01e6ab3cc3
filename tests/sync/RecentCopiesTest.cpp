// Drives with coarse dates: a second sync copies nothing, and an edit that the dates hide is copied all the same.
#include "support/SyncWorld.h"

namespace vt::test {
namespace {

constexpr const char* song = "/home/ada/Music/a.mp3";
constexpr const char* copied = "/media/stick/ada_Workbench/Music/a.mp3";

FakeMount twoSecondDates() {
    FakeMount drive;
    drive.capabilities.dateGranularity = 2'000'000'000;
    drive.capabilities.caseSensitive = false;
    drive.capabilities.holdsLinks = false;
    drive.capabilities.holdsOwnership = false;
    return drive;
}

struct CoarseWorld : SyncWorld {
    CoarseWorld() : SyncWorld({"~/Music"}, twoSecondDates()) {}
    void syncAfter(int seconds) {
        clock.setNow(clock.now().plusSeconds(seconds));
        sync();
        EXPECT_TRUE(succeeded());
    }
};

TEST(RecentCopies, aFileThatWasMadeJustBeforeTheSyncIsCopiedOnce) {
    CoarseWorld world;
    world.computer({file("Music/a.mp3", "one", at(0).plusSeconds(-0.5)), file("Music/b.mp3", "b", at(0))});
    world.syncAfter(0);
    EXPECT_EQ(world.read(copied), "one");
    EXPECT_EQ(world.files.attributes(copied)->modified, at(0).plusSeconds(-2));
    for (int pass = 0; pass < 3; ++pass) {
        world.syncAfter(5);
        EXPECT_EQ(world.figure("syncCopied"), 0) << pass;
    }
}

TEST(RecentCopies, oneMadeBetweenTwoContinuousSyncsIsCopiedOnce) {
    CoarseWorld world;
    world.computer({file("Music/b.mp3", "b", at(-10))});
    world.syncAfter(0);
    world.computer({file("Music/a.mp3", "one", at(1).plusSeconds(1.5))});
    world.clock.setNow(at(5));
    world.controller->continuousSyncNow({song});
    world.run();
    EXPECT_EQ(world.read(copied), "one");
    world.syncAfter(60);
    EXPECT_EQ(world.figure("syncCopied"), 0);
}

TEST(RecentCopies, anEditThatTheDriveCannotDateApartIsCopied) {
    CoarseWorld world;
    world.computer({file("Music/a.mp3", "one", at(0).plusSeconds(-1.75))});
    world.syncAfter(0);
    world.write(song, "two", at(0).plusSeconds(-0.25));
    world.syncAfter(5);
    EXPECT_EQ(world.read(copied), "two");
    EXPECT_EQ(world.files.attributes(copied)->modified, at(0).plusSeconds(-2));
    world.syncAfter(5);
    EXPECT_EQ(world.figure("syncCopied"), 0);
}

TEST(RecentCopies, whatFailedIsOwedWhateverIsKnownOfEarlierCopies) {
    CoarseWorld world;
    world.computer({file("Music/a.mp3", "one", at(0).plusSeconds(-1.75))});
    world.syncAfter(0);
    world.write(song, "two", at(0).plusSeconds(-0.25));
    world.disk.faults().fail("copyData", "", EIO);
    world.clock.setNow(at(1));
    world.sync();
    world.disk.faults().clear();
    EXPECT_EQ(world.read(copied), "one");
    world.syncAfter(60);
    EXPECT_EQ(world.read(copied), "two");
}

} // namespace
} // namespace vt::test

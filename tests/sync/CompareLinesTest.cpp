// What a comparison writes to the log while the debug flag is on, to the letter.
#include "support/SyncWorld.h"

namespace vt::test {
namespace {

constexpr const char* local = "/home/ada/Music/a.mp3";
constexpr const char* copied = "/media/stick/ada_Workbench/Music/a.mp3";

struct DebugWorld : SyncWorld {
    DebugWorld() { host.debug = true; }
};

std::string closing(const std::string& localPath, const std::string& drivePath, const char* answer) {
    return "-\n-: comparing \"" + localPath + "\"\n-:          to \"" + drivePath + "\"\n-:     returning " + answer;
}

TEST(CompareLines, aNewItemNamesTheLocalWorkPathAndTheDrivePath) {
    DebugWorld world;
    world.computer({file("Music/a.mp3", "a", at(-10))});
    world.sync();
    EXPECT_TRUE(world.host.has("-\n-: copying local: \"/home/ada/.Z_VT_W/1-1-1/ada_Workbench/Music\"\n"
                               "-:   to Pushkey: \"/media/stick/ada_Workbench/Music\""));
    EXPECT_TRUE(world.host.has(closing("/home/ada/Music", "/media/stick/ada_Workbench/Music", "YES")));
}

TEST(CompareLines, aReplacementTellsDatesAndSides) {
    DebugWorld world;
    world.computer({file("Music/a.mp3", "a", at(10))});
    world.onDrive({file("Music/a.mp3", "b", at(-10))});
    world.finishedSyncAt(at(0));
    world.clock.setNow(at(30));
    world.sync();
    EXPECT_TRUE(world.host.has("-\n-: items are directories - recursing"));
    EXPECT_TRUE(world.host.has("-\n-:    local mod date : 2013-05-21 12:10:00 +0000\n"
                               "-: Pushkey mod date : 2013-05-21 11:50:00 +0000\n"
                               "-:      lastSyncTime : 2013-05-21 12:00:00 +0000\n-:          modDelta : 1200.000000"));
    EXPECT_TRUE(world.host.has(std::string("-\n-: replacing older Pushkey file ") + copied +
                               "\n-: with newer local    file " + local));
    EXPECT_TRUE(world.host.has("-\n-: items are directories - back from recursion now checking for missing files"));
}

TEST(CompareLines, aKindConflictHasSixteenBlanksBeforeEachLine) {
    DebugWorld world;
    world.computer({folder("Music/a.mp3")});
    world.onDrive({file("Music/a.mp3", "b", at(-10))});
    world.sync();
    EXPECT_TRUE(world.host.has("                : Mac file type         : NSFileTypeDirectory\n"
                               "                : Pushkey file type    : NSFileTypeRegular\n"
                               "                : skipping because file types do not match."));
    EXPECT_TRUE(world.host.has(closing(local, copied, "NO")));
    EXPECT_TRUE(world.host.has(closing("/home/ada/Music", "/media/stick/ada_Workbench/Music", "NO")));
}

TEST(CompareLines, aDriveOnlyEntryIsNamedAndMarkersAreNot) {
    DebugWorld world;
    world.computer({file("Music/a.mp3", "a", at(-10))});
    world.onDrive({file("Music/a.mp3", "a", at(-10)), file("Music/x.mp3", "x"), file("Music/.d$d.y", "")});
    world.sync();
    EXPECT_TRUE(world.host.has("-\n-: skipping Pushkey item \"/media/stick/ada_Workbench/Music/x.mp3\""));
    EXPECT_FALSE(world.host.has("-\n-: skipping Pushkey item \"/media/stick/ada_Workbench/Music/.d$d.y\""));
}

TEST(CompareLines, aFileItemOnNeitherSideSaysSo) {
    SyncWorld world({"~/song.mp3"});
    world.host.debug = true;
    world.sync();
    EXPECT_TRUE(world.succeeded());
    EXPECT_TRUE(world.host.has("-\n-: unable to sync \"/home/ada/song.mp3\" with "
                               "\"/media/stick/ada_Workbench/song.mp3\" because it does not exist on either the Mac or "
                               "the Pushkey."));
}

TEST(CompareLines, aFileItemOnTheDriveOnlyIsNamedAndCounted) {
    SyncWorld world({"~/song.mp3"});
    world.host.debug = true;
    world.onDrive({file("song.mp3", "s", at(-10))});
    world.sync();
    EXPECT_TRUE(world.succeeded());
    EXPECT_TRUE(world.host.has("-\n-: skipping Pushkey item \"/media/stick/ada_Workbench/song.mp3\""));
    EXPECT_TRUE(world.summary().ends_with(" 1 only on the drive.")) << world.summary();
}

TEST(CompareLines, anItemThatIsAVolumeIsShownByItsLabel) {
    SyncWorld world({"/media/card", "~/Music"});
    FakeMount card;
    card.label = "PHOTOS";
    world.mountDrive("/media/card", "disk7s1", card);
    world.sync();
    EXPECT_TRUE(world.host.has("Processing \"PHOTOS\"."));
    EXPECT_TRUE(world.host.has("Processing \"Music\"."));
}

TEST(CompareLines, noLineIsFormedWhileDebugIsOff) {
    SyncWorld world;
    world.computer({file("Music/a.mp3", "a", at(-10))});
    world.sync();
    for (const std::string& line : world.host.lines()) EXPECT_FALSE(line.starts_with("-")) << line;
}

} // namespace
} // namespace vt::test

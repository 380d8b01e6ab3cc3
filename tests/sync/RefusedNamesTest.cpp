// Names that a drive cannot hold: left out without a question, said once, and no reason to copy anything again.
#include "support/SyncWorld.h"

namespace vt::test {
namespace {

using Tree = std::vector<std::string>;

FakeMount strictDrive() {
    FakeMount drive;
    drive.capabilities.reservedCharacters = "\n:*?";
    drive.capabilities.holdsAnyBytes = false;
    drive.capabilities.holdsTrailingDots = false;
    return drive;
}

std::ptrdiff_t linesAbout(const SyncWorld& world, const std::string& item) {
    const auto lines = world.host.lines();
    return std::ranges::count(lines, "\"/home/ada/Music/" + item + "\" is left out: the drive cannot hold its name.");
}

TEST(RefusedNames, aDriveTellsWhichNamesItHolds) {
    const DestinationCapabilities any;
    const DestinationCapabilities strict = strictDrive().capabilities;
    for (const char* name : {"a", "a.b", ".a", "\xC3\xA9", "a b "}) {
        EXPECT_TRUE(any.holdsName(name)) << name;
        EXPECT_TRUE(strict.holdsName(name)) << name;
    }
    for (const char* name : {"a?", "a\nb", ":", "a.", "caf\xE9"}) {
        EXPECT_TRUE(any.holdsName(name)) << name;
        EXPECT_FALSE(strict.holdsName(name)) << name;
    }
}

TEST(RefusedNames, areLeftOutAndSaidOnceHoweverOftenTheDriveIsSynced) {
    SyncWorld world({"~/Music"}, strictDrive());
    world.computer({file("Music/fine.mp3", "fine", at(-10)), file("Music/what?.mp3", "1", at(-10)),
                    file("Music/new/a:b.mp3", "2", at(-10)), file("Music/new/fine.mp3", "fine", at(-10)),
                    file("Music/new/no*/x.mp3", "3", at(-10)), file("Music/caf\xE9.mp3", "4", at(-10)),
                    file("Music/dots../y.mp3", "5", at(-10))});
    world.onDrive({folder("Music")});
    const Tree refused = {"what?.mp3", "new/a:b.mp3", "new/no*", "caf\xEF\xBF\xBD.mp3", "dots.."};
    for (int pass = 0; pass < 3; ++pass) {
        SCOPED_TRACE(pass);
        world.sync();
        EXPECT_TRUE(world.succeeded());
        EXPECT_EQ(world.copiesTree(), (Tree{"Music/", "Music/fine.mp3", "Music/new/", "Music/new/fine.mp3"}));
        for (const std::string& item : refused) EXPECT_EQ(linesAbout(world, item), 1) << item;
        EXPECT_EQ(world.figure("syncCopied"), pass == 0 ? 1024 : 0);
        EXPECT_EQ(world.figure("syncUnaccounted"), 0);
        EXPECT_TRUE(world.alerts.shown.empty());
    }
    EXPECT_TRUE(std::ranges::any_of(world.host.lines(), [](const std::string& line) {
        return line.find(": 5 failed or skipped, 0 filtered") != std::string::npos;
    }));
}

TEST(RefusedNames, aSyncItemOfSuchANameIsLeftOutWhole) {
    SyncWorld world({"~/Music", "~/What?/Songs"}, strictDrive());
    world.computer({file("Music/fine.mp3", "fine", at(-10)), file("What?/Songs/a.mp3", "1", at(-10))});
    world.sync();
    EXPECT_TRUE(world.succeeded());
    EXPECT_EQ(world.copiesTree(), (Tree{"Music/", "Music/fine.mp3"}));
    EXPECT_TRUE(world.host.has("\"/home/ada/What?/Songs\" is left out: the drive cannot hold its name."));
}

TEST(RefusedNames, whatStandsOnTheDriveAllTheSameIsCompared) {
    SyncWorld world({"~/Music"}, strictDrive());
    world.computer({file("Music/what?.mp3", "same", at(-10))});
    world.volumes.volume("disk8s1").capabilities.reservedCharacters.clear();
    world.disk.volumeOf("/media/stick").capabilities.reservedCharacters.clear();
    world.onDrive({file("Music/what?.mp3", "same", at(-10))});
    world.volumes.volume("disk8s1").capabilities.reservedCharacters = "?";
    world.disk.volumeOf("/media/stick").capabilities.reservedCharacters = "?";
    world.sync();
    EXPECT_TRUE(world.succeeded());
    EXPECT_EQ(linesAbout(world, "what?.mp3"), 0);
}

} // namespace
} // namespace vt::test

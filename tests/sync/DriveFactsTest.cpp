// What a controller tells of its drive, and places that are not below the home folder.
#include "support/SyncWorld.h"

namespace vt::test {
namespace {

TEST(DriveFacts, areThoseOfTheVolume) {
    FakeMount volume;
    volume.totalBytes = 4000;
    volume.freeBytes = 1500;
    SyncWorld world({"~/Music"}, volume);
    VTSyncController& controller = *world.controller;
    EXPECT_EQ(controller.deviceVendor(), "Talmont");
    EXPECT_EQ(controller.deviceMountPoint(), "/media/stick");
    EXPECT_EQ(controller.fileSystemType(), "ext4");
    EXPECT_EQ(controller.fsName(), "Linux");
    EXPECT_EQ(controller.volumeName(), "stick");
    EXPECT_EQ(controller.totalBytes(), 4000U);
    EXPECT_EQ(controller.freeBytes(), 1500U);
    EXPECT_FALSE(controller.fsIsNTFS());
    controller.setSerialNumber("T-7");
    EXPECT_EQ(controller.serialNumber(), "T-7");
    EXPECT_EQ(controller.deviceUUIDString(), "1-1-1"); // the first contact found none
}

TEST(DriveFacts, anUnknownFileSystemHasANameAllTheSame) {
    FakeMount volume;
    volume.fileSystem = "nobodyfs";
    SyncWorld world;
    world.mountDrive("/media/strange", "disk9s1", volume);
    const auto controller = world.controllerFor("/media/strange");
    EXPECT_EQ(controller->fsName(), "Unknown File System");
    EXPECT_FALSE(controller->isValidFileSystem());
}

TEST(DriveFacts, aVolumeThatIsPluggedLaterHasItsOwnPlaceOnTheDrive) {
    SyncWorld world({"/media/ada/Photos/2008"});
    EXPECT_EQ(world.controller->pathSegmentFromSyncItem("/media/ada/Photos/2008"), "/media/ada/Photos/2008");
    world.mountDrive("/media/ada/Photos", "disk9s1");
    buildTree(world.files, world.files, "/media/ada/Photos", {file("2008/a.jpg", "a", at(-10))});
    world.sync();
    EXPECT_TRUE(world.succeeded());
    EXPECT_EQ(world.read("/media/stick/Photos_Workbench/2008/a.jpg"), "a");
    EXPECT_FALSE(world.exists("/media/stick/media"));
    EXPECT_EQ(world.controller->pathSegmentFromSyncItem("/media/ada/Photos/2008"), "/Photos_Workbench/2008");
}

TEST(DriveFacts, twoVolumesOfOneNameDoNotMeetOnTheDrive) {
    SyncWorld world({"/media/ada/Photos", "/mnt/Photos"});
    world.mountDrive("/media/ada/Photos", "disk9s1");
    world.mountDrive("/mnt/Photos", "disk7s1");
    buildTree(world.files, world.files, "/media/ada/Photos", {file("2008/a.jpg", "a", at(-10))});
    buildTree(world.files, world.files, "/mnt/Photos", {file("2008/a.jpg", "other", at(-5))});
    for (int pass = 0; pass < 2; ++pass) {
        world.sync();
        EXPECT_TRUE(world.succeeded());
        EXPECT_EQ(world.read("/media/stick/Photos_Workbench/2008/a.jpg"), "a") << pass;
        EXPECT_EQ(world.read("/media/stick/mnt/Photos/2008/a.jpg"), "other") << pass;
    }
}

// Unplugged while the tree is walked: what was seen of it still belongs to the volume.
TEST(DriveFacts, aVolumeThatGoesDuringAPassKeepsItsPlace) {
    SyncWorld world({"/media/ada/Photos/2008"});
    world.mountDrive("/media/ada/Photos", "disk9s1");
    buildTree(world.files, world.files, "/media/ada/Photos", {file("2008/a.jpg", "a", at(-10))});
    world.disk.faults().before("list", "/media/ada/Photos/2008",
                               [&](const std::string&) { world.volumes.unmountKey("disk9s1"); });
    world.sync();
    EXPECT_EQ(world.read("/media/stick/Photos_Workbench/2008/a.jpg"), "a");
    EXPECT_FALSE(world.exists("/media/stick/media"));
}

struct ShiftRow {
    const char* name;
    std::int64_t granularity; // of the drive, nanoseconds
    int shift;                // of three files, minutes
    int fourth;               // of another one
    bool told;
};
class DatesOfALocalTimeDrive : public testing::TestWithParam<ShiftRow> {};
TEST_P(DatesOfALocalTimeDrive, areToldWhenAllAreShifted) {
    const ShiftRow& row = GetParam();
    FakeMount volume;
    volume.capabilities.dateGranularity = row.granularity;
    SyncWorld world({"~/Music"}, volume);
    int shift = row.shift;
    for (const char* name : {"Music/a.mp3", "Music/b.mp3", "Music/c.mp3", "Music/d.mp3"}) {
        if (std::string(name) == "Music/d.mp3") shift = row.fourth;
        world.computer({file(name, "x", at(-600))});
        world.onDrive({file(name, "x", at(-600 + shift))});
    }
    world.finishedSyncAt(at(-1));
    world.sync();
    const std::string line = "The dates on \"/media/stick\" differ from the computer's by " +
                             std::to_string(row.shift) +
                             " minutes throughout: the drive keeps local time, and a clock or time zone has changed.";
    EXPECT_EQ(world.host.has(line), row.told);
}
constexpr std::int64_t twoSeconds = 2'000'000'000;
INSTANTIATE_TEST_SUITE_P(Rows, DatesOfALocalTimeDrive,
                         testing::Values(ShiftRow{"anHourLater", twoSeconds, 60, 60, true},
                                         ShiftRow{"fiveHoursAndThreeQuartersEarlier", twoSeconds, -345, -345, true},
                                         ShiftRow{"oneIsDifferent", twoSeconds, 60, 0, false},
                                         ShiftRow{"noWholeQuarters", twoSeconds, 50, 50, false},
                                         ShiftRow{"notShifted", twoSeconds, 0, 0, false},
                                         ShiftRow{"exactDates", 1, 60, 60, false}),
                         [](const auto& row) { return row.param.name; });

TEST(DriveFacts, theFilterAnswersForSingleItems) {
    SyncWorld world;
    world.computer({file("Music/a.mp3", "a", at(-10)), file("Music/b.exe", "b", at(-10))});
    EXPECT_TRUE(world.controller->shouldCopyItem("/home/ada/Music/a.mp3"));
    EXPECT_TRUE(world.controller->shouldCopyItem("~/Music/../Music/a.mp3"));
    EXPECT_FALSE(world.controller->shouldCopyItem("/home/ada/Music/b.exe"));
    EXPECT_FALSE(world.controllerFor(SyncWorld::drive)->shouldCopyItem("/home/ada/Music/a.mp3")); // no validator yet
}

TEST(DriveFacts, anItemAroundTheHomeFolderPutsWhatIsInItIntoTheUsersPlace) {
    SyncWorld world({"/home"});
    world.onDrive({folder("Music")});
    world.computer({file("Music/a.mp3", "a", at(-10))});
    buildTree(world.files, world.files, "/home/shared", {file("b.mp3", "b", at(-10))});
    world.makeFolders("/media/stick/home/ada");
    world.makeFolders("/media/stick/home/shared");
    world.sync();
    EXPECT_TRUE(world.succeeded());
    EXPECT_EQ(world.read("/media/stick/ada_Workbench/Music/a.mp3"), "a");
    EXPECT_EQ(world.read("/media/stick/home/shared/b.mp3"), "b");
    EXPECT_FALSE(world.exists("/media/stick/home/ada/Music"));
}

TEST(DriveFacts, aDriveThatCannotBeLookedAtOwesTheItemAndGoesOnWithTheNext) {
    SyncWorld world({"~/Music", "~/Pictures"});
    world.computer({file("Music/a.mp3", "a", at(-10)), file("Pictures/p.jpg", "p", at(-10))});
    world.disk.faults().fail("attributes", "/media/stick/ada_Workbench/Music", EIO);
    world.sync();
    EXPECT_EQ(world.read("/media/stick/ada_Workbench/Pictures/p.jpg"), "p");
    EXPECT_EQ(world.summary(),
              "Sync summary for \"stick\": 1 failed or skipped, 0 filtered (0 bytes), 0 only on the drive.");
    world.disk.faults().clear();
    world.sync();
    EXPECT_EQ(world.read("/media/stick/ada_Workbench/Music/a.mp3"), "a");
}

TEST(DriveFacts, aRaisingTaskPausesTheWorkerAndAnyOtherExceptionEndsOnlyIt) {
    SyncWorld world;
    const auto controller = world.controllerFor(SyncWorld::drive, false);
    world.join(*controller, {"~/Music"});
    world.computer({file("Music/a.mp3", "a", at(-10))});
    world.disk.faults().before("list", "/home/ada/Music",
                               [](const std::string&) { throw std::runtime_error("out of something"); });
    controller->sync();
    EXPECT_TRUE(world.loop.runUntil([&] { return controller->workerEnded(); }));
    EXPECT_TRUE(controller->busy()); // its task stays, and nobody takes it
}

} // namespace
} // namespace vt::test

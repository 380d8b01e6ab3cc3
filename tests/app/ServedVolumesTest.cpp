// Which volumes are served, and that nothing is written to any other.
#include "AppWorld.h"

#include <array>

namespace vt::test {
namespace {

using Keys = std::vector<std::string>;

FakeMount plainStick(const std::string& uuid = "AAAA") {
    FakeMount volume;
    volume.uuid = uuid;
    return volume;
}

class ServedVolumesTest : public ::testing::Test {
  protected:
    void SetUp() override { world.start(); }
    void writeConfiguration(const std::string& mountPoint, const std::string& user) {
        world.disk.mount(mountPoint);
        const std::string text =
            "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict><key>" + user + "</key><dict/></dict></plist>";
        ASSERT_TRUE(world.files.writeAtomically(mountPoint + "/.VantaroConfig", text, 0644).ok());
    }
    AppWorld world;
};

TEST_F(ServedVolumesTest, AStickThatNobodyChoseStaysEmpty) {
    world.mount(AppWorld::stick, "disk8s1", plainStick());
    world.pass(3000);
    EXPECT_EQ(world.keys(), Keys{});
    EXPECT_EQ(world.reason(AppWorld::stick), "it was not adopted");
    EXPECT_EQ(pathsOf(world.files, world.files, AppWorld::stick), Keys{});
}

TEST_F(ServedVolumesTest, TheDriveFamilyIsServed) {
    struct Row {
        const char* vendor;
        const char* model;
        bool served;
    };
    for (const Row& row : {Row{"TALMONT", "", true}, Row{"", "Corvane Wireless", true}, Row{"Acme", "Talmonte", true},
                           Row{"Acme", "Stick", false}, Row{"Buzzard", "", true}, Row{"# Comment", "", false}}) {
        SCOPED_TRACE(std::string(row.vendor) + "/" + row.model);
        AppWorld own;
        own.makeFolders("/etc/vantaro");
        ASSERT_TRUE(own.files.create("/etc/vantaro/drive-family.conf", "# comment\n\n  buzzard \r\n", 0644).ok());
        own.start();
        FakeMount volume = plainStick();
        volume.vendor = row.vendor;
        volume.model = row.model;
        own.mount(AppWorld::stick, "disk8s1", volume);
        EXPECT_EQ(own.keys().size(), row.served ? 1U : 0U);
    }
}

TEST_F(ServedVolumesTest, AConfigurationThatNamesThisUserIsEnoughAndOneOfOthersIsNot) {
    writeConfiguration(AppWorld::stick, AppWorld::identifier);
    world.volumes.mount("disk8s1", AppWorld::stick, plainStick());
    writeConfiguration("/media/other", "001B63D4E5F6-1000");
    world.volumes.mount("disk8s2", "/media/other", plainStick("BBBB"));
    world.loop.runPending();
    EXPECT_EQ(world.keys(), Keys{"disk8s1"});
    EXPECT_EQ(world.reason("/media/other"), "it was not adopted");
}

TEST_F(ServedVolumesTest, ReadOnlyAndInternalVolumesAreNotServedAndSaySo) {
    FakeMount readOnly = AppWorld::family();
    readOnly.readOnly = true;
    world.mount("/media/ro", "disk8s1", readOnly);
    FakeMount internal = AppWorld::family();
    internal.internal = true;
    world.mount("/data", "disk8s2", internal);
    EXPECT_EQ(world.keys(), Keys{});
    EXPECT_EQ(world.reason("/media/ro"), "it is read-only");
    EXPECT_EQ(world.reason("/data"), "it is on an internal disk and was not adopted");
    // A person's word makes it a drive like any other, after a new start too.
    EXPECT_EQ(world.adopt("/data"), "");
    EXPECT_EQ(world.keys(), Keys{"disk8s2"});
    world.restart();
    EXPECT_EQ(world.keys(), Keys{"disk8s2"});
}

TEST_F(ServedVolumesTest, AVolumeOfAnInternalDiskIsNoDriveBecauseItWasMountedBeforeTheStart) {
    for (const bool mountedBefore : {true, false}) {
        SCOPED_TRACE(mountedBefore);
        AppWorld own;
        FakeMount internal = AppWorld::family();
        internal.internal = true;
        if (!mountedBefore) own.start();
        own.mount("/data", "disk8s2", internal);
        own.mount(AppWorld::stick, "disk8s1", AppWorld::family());
        if (mountedBefore) own.start();
        EXPECT_EQ(own.keys(), Keys{"disk8s1"});
        EXPECT_EQ(own.reason("/data"), "it is on an internal disk and was not adopted");
    }
}

TEST_F(ServedVolumesTest, AnAdoptionThatOvertakesTheReportOfTheMountIsOneArrival) {
    world.disk.mount(AppWorld::stick);
    world.volumes.mount("disk8s1", AppWorld::stick, plainStick()); // its events wait in the run loop
    EXPECT_EQ(world.adopt(AppWorld::stick), "");
    EXPECT_EQ(world.keys(), Keys{"disk8s1"});
    EXPECT_EQ(world.bus.appeared, Keys{AppWorld::stick});
    EXPECT_EQ(world.bus.disappeared, Keys{});
}

TEST_F(ServedVolumesTest, AnAdoptedVolumeIsKnownWhereverItIsMounted) {
    world.mount(AppWorld::stick, "disk8s1", plainStick());
    EXPECT_EQ(world.adopt(AppWorld::stick), "");
    world.unmount(AppWorld::stick, "disk8s1");
    EXPECT_EQ(world.keys(), Keys{});
    world.mount("/media/elsewhere", "disk9s1", plainStick());
    EXPECT_EQ(world.keys(), Keys{"disk9s1"});
    world.unmount("/media/elsewhere", "disk9s1");
    // Another stick at the place of the first is another one.
    world.mount(AppWorld::stick, "disk9s2", plainStick("BBBB"));
    EXPECT_EQ(world.keys(), Keys{});
}

TEST_F(ServedVolumesTest, FatSticksAreToldApartByTheirNumbers) {
    FakeMount fat = plainStick("");
    fat.fileSystem = "msdos";
    fat.number = "12AB-34CD";
    world.mount(AppWorld::stick, "disk8s1", fat);
    EXPECT_EQ(world.adopt(AppWorld::stick), "");
    world.unmount(AppWorld::stick, "disk8s1");
    FakeMount other = fat;
    other.number = "FFFF-0000";
    world.mount(AppWorld::stick, "disk8s2", other);
    EXPECT_EQ(world.keys(), Keys{});
    world.unmount(AppWorld::stick, "disk8s2");
    other.number = ""; // one that tells nothing of itself is no adopted one either
    world.mount(AppWorld::stick, "disk8s3", other);
    EXPECT_EQ(world.keys(), Keys{});
    world.unmount(AppWorld::stick, "disk8s3");
    world.mount("/media/again", "disk8s4", fat);
    EXPECT_EQ(world.keys(), Keys{"disk8s4"});
}

TEST_F(ServedVolumesTest, ForgettingCountsMoreThanConfigurationAndFamily) {
    world.mount(AppWorld::stick, "disk8s1", AppWorld::family());
    ASSERT_EQ(world.keys(), Keys{"disk8s1"});
    EXPECT_EQ(world.ask(&DrivesService::forget, AppWorld::stick), "");
    EXPECT_EQ(world.keys(), Keys{});
    EXPECT_EQ(world.reason(AppWorld::stick), "it was let go by a person");
    world.restart();
    EXPECT_EQ(world.keys(), Keys{});
    EXPECT_EQ(world.ask(&DrivesService::forget, AppWorld::stick), "\"/media/stick\" is not a served drive");
    EXPECT_EQ(world.adopt(AppWorld::stick), "");
    EXPECT_EQ(world.keys(), Keys{"disk8s1"});
}

TEST_F(ServedVolumesTest, AFolderDriveGoesAndComesWithItsFolder) {
    world.makeFolders("/srv/backup");
    EXPECT_EQ(world.adopt("/srv/backup/"), "");
    ASSERT_EQ(world.keys().size(), 1U);
    EXPECT_TRUE(world.keys()[0].starts_with("diskf"));
    EXPECT_EQ(world.adopt("/srv/backup"), ""); // once more changes nothing
    EXPECT_EQ(world.keys().size(), 1U);
    world.volumes.folderGone("/srv/backup");
    world.loop.runPending();
    EXPECT_EQ(world.keys(), Keys{});
    world.volumes.folderReturned("/srv/backup");
    world.loop.runPending();
    EXPECT_EQ(world.keys().size(), 1U);
    world.restart();
    EXPECT_EQ(world.keys().size(), 1U);
    EXPECT_EQ(world.ask(&DrivesService::forget, "/srv/backup"), "");
    EXPECT_EQ(world.keys(), Keys{});
}

TEST_F(ServedVolumesTest, LettingGoIsAnsweredOnceTheDriveIsGone) {
    world.makeFolders("/srv/backup");
    ASSERT_EQ(world.adopt("/srv/backup"), "");
    std::optional<std::size_t> servedAtTheAnswer;
    world.app->drivesService().forget("/srv/backup", [&](const Result<void>& done) {
        EXPECT_TRUE(done.ok());
        servedAtTheAnswer = world.keys().size();
    });
    EXPECT_FALSE(servedAtTheAnswer);
    world.loop.runPending();
    EXPECT_EQ(servedAtTheAnswer, 0U);
    // Chosen again it is served again when that is answered, and can be let go again at once.
    for (int round = 0; round < 3; ++round) {
        EXPECT_EQ(world.adopt("/srv/backup"), "");
        EXPECT_EQ(world.keys().size(), 1U);
        EXPECT_EQ(world.ask(&DrivesService::forget, "/srv/backup"), "");
    }
}

TEST_F(ServedVolumesTest, TheDiskOfTheHomeFolderIsNoDriveWhoeverMadeIt) {
    for (const char* place : {"/home/ada", "/home"}) {
        SCOPED_TRACE(place);
        AppWorld own;
        own.start();
        own.volumes.mount("disk8s1", place, AppWorld::family());
        own.loop.runPending();
        EXPECT_EQ(own.keys(), Keys{});
        EXPECT_EQ(own.reason(place), "the home folder is on it");
    }
    world.mount("/home/ada/stick", "disk8s2", AppWorld::family());
    EXPECT_EQ(world.keys(), Keys{"disk8s2"});
}

TEST_F(ServedVolumesTest, ANetworkShareIsNotAdopted) {
    FakeMount share;
    share.network = true;
    share.fileSystem = "smbfs";
    share.mountedFrom = "//GUEST:@192.168.1.7/public";
    world.mount("/mnt/share", "share", share);
    EXPECT_EQ(world.reason("/mnt/share"), "it is a network share");
    EXPECT_EQ(world.adopt("/mnt/share"), "\"/mnt/share\": a network share is served as one of a wireless drive only");
    EXPECT_EQ(world.keys(), Keys{});
    EXPECT_EQ(pathsOf(world.files, world.files, "/mnt/share"), Keys{});
}

TEST_F(ServedVolumesTest, WhatCannotBeADriveIsRefused) {
    world.makeFolders("/home/ada/.config/com.corvane.vantaro");
    world.makeFolders("/home/ada/.local/state/vantaro/inside");
    world.makeFolders("/srv");
    ASSERT_TRUE(world.files.create("/srv/file", "", 0644).ok());
    FakeMount readOnly = plainStick();
    readOnly.readOnly = true;
    world.mount("/media/ro", "disk8s1", readOnly);
    const std::vector<std::pair<std::string, std::string>> rows = {
        {"relative", "the path is not absolute"},
        {"/", "the home folder cannot be a drive"},
        {"/home", "the home folder cannot be a drive"},
        {"/home/ada/", "the home folder cannot be a drive"},
        {"/home/ada/.config/com.corvane.vantaro", "the agent keeps files of its own there"},
        {"/home/ada/.local/state", "the agent keeps files of its own there"},
        {"/home/ada/.local/state/vantaro/inside", "the agent keeps files of its own there"},
        {"/media/ro", "the volume is read-only"},
        {"/srv/file", "it is no volume and no folder"},
    };
    for (const auto& [path, reason] : rows) EXPECT_NE(world.adopt(path).find(reason), std::string::npos) << path;
    EXPECT_NE(world.adopt("/nowhere"), "");
    EXPECT_EQ(world.keys(), Keys{});
}

TEST_F(ServedVolumesTest, TheSystemsOwnPlacesAreNoDrives) {
    for (const char* place : {"/usr", "/etc/skel", "/boot/efi", "/dev/disk", "/sys/fs/cgroup", "/var", "/run"}) {
        world.makeFolders(place);
        EXPECT_EQ(world.adopt(place), "\"" + std::string(place) + "\": the system keeps files of its own there");
    }
    for (const char* fileSystem : {"proc", "cgroup2", "devtmpfs"}) {
        const std::string place = std::string("/srv/") + fileSystem;
        FakeMount state;
        state.fileSystem = fileSystem;
        world.makeFolders(place);
        world.volumes.mount(fileSystem, place, state);
        EXPECT_EQ(world.adopt(place), "\"" + place + "\": no file can be kept there");
    }
    EXPECT_EQ(world.keys(), Keys{});
    // People have folders of their own in some of them.
    const Keys places = {"/dev/shm", "/run/media/ada/stick", "/usr/local/backup", "/var/backups", "/srv"};
    for (const std::string& place : places) {
        world.makeFolders(place);
        EXPECT_EQ(world.adopt(place), "") << place;
    }
    EXPECT_EQ(world.keys().size(), places.size());
}

TEST_F(ServedVolumesTest, AHomeAmongTheSystemsFoldersHasRoomForDrives) {
    AppWorld own;
    own.system.homePath = "/usr/home/ada";
    own.makeFolders("/usr/home/ada/backup");
    own.start();
    EXPECT_EQ(own.adopt("/usr/home/ada/backup"), "");
    EXPECT_EQ(own.adopt("/usr/home"), "\"/usr/home\": the home folder cannot be a drive");
}

TEST_F(ServedVolumesTest, ALinkDoesNotHideWhatCannotBeADrive) {
    world.makeFolders("/home/ada/.local/state/vantaro");
    world.makeFolders("/etc");
    world.makeFolders("/links");
    const std::vector<std::array<std::string, 3>> rows = {
        {"/links/home", "/home/ada", "the home folder cannot be a drive"},
        {"/links/above", "/home", "the home folder cannot be a drive"},
        {"/links/state", "/home/ada/.local/state", "the agent keeps files of its own there"},
        {"/links/etc", "/etc", "the system keeps files of its own there"},
    };
    for (const auto& [link, target, reason] : rows) {
        ASSERT_TRUE(world.files.makeLink(link, target).ok());
        EXPECT_EQ(world.adopt(link), "\"" + link + "\": " + reason);
    }
    EXPECT_EQ(world.keys(), Keys{});
}

TEST_F(ServedVolumesTest, WhereThisUserMayNotWriteIsNoDrive) {
    world.mount(AppWorld::stick, "disk8s1", plainStick());
    world.makeFolders("/srv/of others");
    for (const char* place : {AppWorld::stick, "/srv/of others"}) {
        world.disk.faults().fail("checkWritable", place, EACCES);
        EXPECT_EQ(world.adopt(place), "\"" + std::string(place) + "\": this user may not write there");
    }
    EXPECT_EQ(world.keys(), Keys{});
    EXPECT_EQ(pathsOf(world.files, world.files, AppWorld::stick), Keys{});
}

TEST_F(ServedVolumesTest, AFolderThatIsCopiedToDrivesIsNoDrive) {
    world.makeFolders("/home/ada/Letters/backup");
    world.makeFolders("/links");
    EXPECT_EQ(world.adopt("/home/ada/Music"),
              "\"/home/ada/Music\": it is one of the folders that every new drive keeps copies of");
    EXPECT_FALSE(world.read("/home/ada/Music/.VantaroConfig").has_value());
    world.mount(AppWorld::stick, "disk8s1", AppWorld::family());
    const auto stick = world.controllerAt("disk8s1");
    stick->playWorkerByHand();
    const auto setList = [&](const std::string& folder) {
        world.pass(1000);
        SyncWorld::run(*stick);
        world.app->commands().setSyncList({folder}, AppWorld::stick);
        world.pass(1000);
        ASSERT_EQ(stick->shadowedSyncList(), Keys{folder});
    };
    setList("~/Letters");
    ASSERT_TRUE(world.files.makeLink("/links/letters", "/home/ada/Letters").ok());
    const std::string reason = "it is on the sync list of the drive \"/media/stick\" and cannot be a drive itself";
    EXPECT_EQ(world.adopt("/home/ada/Letters"), "\"/home/ada/Letters\": " + reason);
    EXPECT_EQ(world.adopt("/links/letters"), "\"/links/letters\": " + reason);
    EXPECT_EQ(world.keys(), Keys{"disk8s1"});
    // What lies in it may be one, and so may a drive that another came to keep.
    EXPECT_EQ(world.adopt("/home/ada/Letters/backup"), "");
    setList("~/Letters/backup");
    EXPECT_EQ(world.adopt("/home/ada/Letters/backup"), "");
}

TEST_F(ServedVolumesTest, ALinkToADriveIsThatDrive) {
    world.makeFolders("/links");
    world.makeFolders("/srv/backup");
    world.mount(AppWorld::stick, "disk8s1", plainStick());
    ASSERT_TRUE(world.files.makeLink("/links/stick", AppWorld::stick).ok());
    ASSERT_TRUE(world.files.makeLink("/links/backup", "/srv/backup").ok());
    EXPECT_EQ(world.adopt("/links/stick"), "");
    EXPECT_EQ(world.keys(), Keys{"disk8s1"});
    EXPECT_EQ(world.adopt("/srv/backup"), "");
    const Keys both = world.keys();
    ASSERT_EQ(both.size(), 2U);
    for (const char* link : {"/links/stick", "/links/backup"}) EXPECT_EQ(world.adopt(link), "");
    EXPECT_EQ(world.keys(), both);
    // Known as the volume that it is: wherever it is mounted.
    world.unmount(AppWorld::stick, "disk8s1");
    world.mount("/media/elsewhere", "disk9s1", plainStick());
    EXPECT_EQ(world.keys()[0], "disk9s1");
}

} // namespace
} // namespace vt::test

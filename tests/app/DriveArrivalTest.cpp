// What the arrival and departure of drives does, as the application's registry, log and bus show it.
#include "ArrivalWorld.h"

namespace vt::test {
namespace {

class DriveArrivalTest : public ArrivalTest {};

TEST_F(DriveArrivalTest, AConnectedDriveSyncsOneSecondLater) {
    world.mount(AppWorld::stick, "disk8s1", AppWorld::family());
    ASSERT_EQ(world.keys(), Keys{"disk8s1"});
    EXPECT_EQ(world.bus.appeared, Lines{AppWorld::stick});
    EXPECT_TRUE(world.logged("-newDriveAppeared: /media/stick vendor: Talmont withUUIDString: 1111-2222"));
    const auto controller = world.controllerAt("disk8s1");
    world.pass(999);
    EXPECT_FALSE(controller->busy());
    world.pass(1);
    EXPECT_TRUE(controller->busy());
}

TEST_F(DriveArrivalTest, ADriveThatLeavesBeforeItsSecondIsOverSyncsNothing) {
    world.mount(AppWorld::stick, "disk8s1", AppWorld::family());
    const auto controller = world.controllerAt("disk8s1");
    world.unmount(AppWorld::stick, "disk8s1");
    EXPECT_EQ(world.keys(), Keys{});
    EXPECT_EQ(world.bus.disappeared, Lines{AppWorld::stick});
    EXPECT_TRUE(world.logged("-DADiskDescriptionChanged_Proc: unmounting disk8s1"));
    world.threads.bodies.clear(); // its worker
    world.pass(2000);
    EXPECT_TRUE(world.threads.bodies.empty());
}

TEST_F(DriveArrivalTest, WithoutContinuousSyncOrParticipationNothingStarts) {
    struct Row {
        const char* name;
        bool continuous;
        bool participating;
        const char* said;
    };
    const Row rows[] = {
        {"continuous off", false, true, "-newDriveAppeared: continuous sync is OFF for \"/media/stick\"."},
        {"not participating", true, false,
         "-newDriveAppeared: user is not participating in sync operations with \"/media/stick\"."},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        AppWorld own;
        own.start();
        own.mount(AppWorld::stick, "disk8s1", AppWorld::family());
        if (!row.continuous) own.app->commands().setContinuousSyncState(false, AppWorld::stick);
        if (!row.participating) own.app->commands().setParticipateSyncState(false, AppWorld::stick);
        own.mountAgain(AppWorld::stick, "disk8s1");
        ASSERT_TRUE(own.controllerAt("disk8s1"));
        EXPECT_TRUE(own.logged(row.said));
        own.pass(2000);
        EXPECT_FALSE(own.controllerAt("disk8s1")->busy());
    }
}

TEST_F(DriveArrivalTest, ABusyDriveThatAppearsAgainIsAnAlert) {
    mountSilently();
    arrival().newDriveAppeared(AppWorld::stick, "Talmont", "1111-2222", "disk8s1", nullptr);
    world.pass(1000);
    ASSERT_TRUE(world.controllerAt("disk8s1")->busy());
    arrival().newDriveAppeared(AppWorld::stick, "Corvane", std::nullopt, "disk8s1", nullptr);
    ASSERT_EQ(world.alerts.shown.size(), 1U);
    EXPECT_EQ(world.alerts.shown[0].title, "Cannot Start Sync.");
    EXPECT_EQ(world.alerts.shown[0].message, "The drive \"stick\" is already involved in a sync operation.");
    EXPECT_EQ(world.alerts.shown[0].buttons, Lines{"OK"});
    EXPECT_TRUE(world.logged("The drive \"/media/stick\" is already involved in a sync operation."));
    // The controller stays as it was made.
    EXPECT_EQ(world.controllerAt("disk8s1")->deviceVendor(), "Talmont");
    EXPECT_EQ(world.controllerAt("disk8s1")->deviceUUIDString(), "1111-2222");
}

TEST_F(DriveArrivalTest, AppearedTakesDisksThatAreKnownToBeExternalOnly) {
    struct Row {
        const char* name;
        std::optional<bool> internal;
        Keys taken;
    };
    for (const Row& row :
         {Row{"internal", true, {}}, Row{"unknown", std::nullopt, {}}, Row{"external", false, {"disk8s1"}}}) {
        SCOPED_TRACE(row.name);
        AppWorld own;
        own.start();
        own.volumes.stopObserving();
        own.mount(AppWorld::stick, "disk8s1", AppWorld::family());
        auto description = diskAt(AppWorld::stick, "disk8s1");
        if (row.internal) description.insert_or_assign(diskdescription::deviceInternal, *row.internal);
        own.app->arrival().diskAppeared(description);
        EXPECT_EQ(own.keys(), row.taken);
    }
}

TEST_F(DriveArrivalTest, AppearedWithoutAMountPointIsNothing) {
    mountSilently();
    auto description = without(diskAt(AppWorld::stick, "disk8s1"), diskdescription::volumePath);
    description.insert_or_assign(diskdescription::deviceInternal, false);
    arrival().diskAppeared(description);
    EXPECT_EQ(world.keys(), Keys{});
}

TEST_F(DriveArrivalTest, ChangedTakesAnyDiskAndTheNextChangeIsItsDeparture) {
    mountSilently();
    auto description = diskAt(AppWorld::stick, "disk8s1");
    description.insert_or_assign(diskdescription::deviceInternal, true);
    arrival().diskDescriptionChanged(description);
    EXPECT_EQ(world.keys(), Keys{"disk8s1"});
    // Mounted or not, a change of a registered volume is a departure; the one after that is an arrival.
    arrival().diskDescriptionChanged(description);
    EXPECT_EQ(world.keys(), Keys{});
    arrival().diskDescriptionChanged(description);
    EXPECT_EQ(world.keys(), Keys{"disk8s1"});
    arrival().diskDescriptionChanged(without(description, diskdescription::mediaBsdName));
    EXPECT_EQ(world.keys(), Keys{"disk8s1"});
    arrival().diskDisappeared(without(description, diskdescription::volumePath));
    EXPECT_EQ(world.keys(), Keys{});
    EXPECT_TRUE(world.logged("-DADiskDisappeared_Proc: unmounting disk8s1"));
}

TEST_F(DriveArrivalTest, AFatVolumeGetsItsSizeAndRevisionForAUuidFromAChangeOnly) {
    struct Row {
        const char* name;
        const char* content;
        std::optional<std::string> uuid;
        bool appeared;
        std::string expected; // without one, the stand-in of every drive that has none
    };
    const Row rows[] = {
        {"DOS_FAT_32", "DOS_FAT_32", std::nullopt, false, "16004415488-1.00"},
        {"Windows_FAT_32", "Windows_FAT_32", std::nullopt, false, "16004415488-1.00"},
        {"with a UUID", "DOS_FAT_32", "ABCD", false, "ABCD"},
        {"another content", "Linux", std::nullopt, false, "1-1-1"},
        {"appeared", "DOS_FAT_32", std::nullopt, true, "1-1-1"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        AppWorld own;
        own.start();
        own.volumes.stopObserving();
        own.mount(AppWorld::stick, "disk8s1", AppWorld::family());
        auto description = diskAt(AppWorld::stick, "disk8s1");
        description.insert_or_assign(diskdescription::deviceInternal, false);
        description.insert_or_assign(diskdescription::mediaContent, std::string(row.content));
        description.insert_or_assign(diskdescription::mediaSize, std::uint64_t{16'004'415'488});
        description.insert_or_assign(diskdescription::deviceRevision, std::string("1.00"));
        if (row.uuid) description.insert_or_assign(diskdescription::volumeUuid, *row.uuid);
        if (row.appeared)
            own.app->arrival().diskAppeared(description);
        else
            own.app->arrival().diskDescriptionChanged(description);
        ASSERT_TRUE(own.controllerAt("disk8s1"));
        EXPECT_EQ(own.controllerAt("disk8s1")->deviceUUIDString(), row.expected);
    }
}

TEST_F(DriveArrivalTest, TheModelStandsInForAMissingVendor) {
    mountSilently();
    auto description = without(diskAt(AppWorld::stick, "disk8s1"), diskdescription::deviceVendor);
    description.insert_or_assign(diskdescription::deviceModel, std::string("Pushkey 16"));
    arrival().diskDescriptionChanged(description);
    EXPECT_EQ(world.controllerAt("disk8s1")->deviceVendor(), "Pushkey 16");
}

TEST_F(DriveArrivalTest, AnIncompatibleFileSystemIsSilent) {
    FakeMount volume = AppWorld::family();
    volume.fileSystem = "iso9660";
    mountSilently("disk8s1", volume);
    arrival().diskDescriptionChanged(diskAt(AppWorld::stick, "disk8s1"));
    EXPECT_EQ(world.keys(), Keys{"disk8s1"});
    world.pass(2000);
    EXPECT_FALSE(world.controllerAt("disk8s1")->busy());
    EXPECT_EQ(world.read(std::string(AppWorld::stick) + "/.VantaroConfig"), std::nullopt);
    EXPECT_TRUE(world.alerts.shown.empty());
}

TEST_F(DriveArrivalTest, DeviceFiltersBecomeMediaClasses) {
    const std::vector<std::pair<int, int>> rows = {{-1, 0}, {0, 0}, {1, 2}, {2, 3}, {3, 2}, {4, 1},
                                                   {5, 4},  {6, 5}, {7, 6}, {8, 7}, {9, 0}, {100, 0}};
    for (const auto& [filter, expected] : rows)
        EXPECT_EQ(static_cast<int>(mediaClassForDeviceFilter(filter)), expected) << "filter " << filter;
}

TEST_F(DriveArrivalTest, AKindThatIsSwitchedOffGetsAnEmptyList) {
    mountSilently();
    arrival().diskDescriptionChanged(diskAt(AppWorld::stick, "disk8s1"));
    MediaSettings media(world.app->registry());
    media.updateSyncMoviesSettingsForDrive(AppWorld::stick);
    EXPECT_EQ(media.mediaFileExtensions().size(), mediaList(VTMediaClass::appleHigh, MediaKind::movies).size());
    world.controllerAt("disk8s1")->setSyncMoviesState(false);
    media.updateSyncMoviesSettingsForDrive(AppWorld::stick);
    EXPECT_TRUE(media.mediaFileExtensions().empty());
    // Movies, music, pictures, documents.
    media.updateSyncDocumentsSettingsForDrive(AppWorld::stick);
    media.updateSyncMusicSettingsForDrive(AppWorld::stick);
    const auto all = media.mediaFileExtensions();
    const auto& music = mediaList(VTMediaClass::appleHigh, MediaKind::music);
    ASSERT_GT(all.size(), music.size());
    EXPECT_EQ(all.front(), music.front());
    EXPECT_EQ(all.back(), mediaList(VTMediaClass::appleHigh, MediaKind::documents).back());
}

// A FAT stick of the family, every key of its description there.
Value::Dictionary wholeDescription() {
    auto description = diskAt(AppWorld::stick, "disk8s1");
    description.insert_or_assign(diskdescription::deviceInternal, false);
    description.insert_or_assign(diskdescription::deviceModel, std::string("Pushkey"));
    description.insert_or_assign(diskdescription::deviceRevision, std::string("1.00"));
    description.insert_or_assign(diskdescription::mediaContent, std::string("DOS_FAT_32"));
    description.insert_or_assign(diskdescription::mediaSize, std::uint64_t{100});
    description.insert_or_assign(diskdescription::mediaWritable, true);
    description.insert_or_assign(diskdescription::volumeKind, std::string("msdos"));
    description.insert_or_assign(diskdescription::volumeName, std::string("STICK"));
    description.insert_or_assign(diskdescription::volumeNetwork, false);
    description.insert_or_assign(diskdescription::volumeUuid, std::string("UUID"));
    return description;
}

TEST_F(DriveArrivalTest, AValueThatIsMissingOrOfAnotherKindCountsAsMissing) {
    struct Row {
        const char* key;
        std::string appeared; // what each callback makes of it: "vendor uuid", or "" when no drive arrives
        std::string changed;
    };
    const std::string whole = "Talmont UUID";
    const Row rows[] = {
        {diskdescription::volumePath, "", ""},
        {diskdescription::mediaBsdName, whole, ""},
        {diskdescription::deviceInternal, "", whole},
        {diskdescription::deviceVendor, "Pushkey UUID", "Pushkey UUID"},
        {diskdescription::deviceModel, whole, whole},
        {diskdescription::deviceRevision, whole, whole},
        {diskdescription::mediaContent, whole, whole},
        {diskdescription::mediaSize, whole, whole},
        {diskdescription::mediaWritable, whole, whole},
        {diskdescription::volumeKind, whole, whole},
        {diskdescription::volumeName, whole, whole},
        {diskdescription::volumeNetwork, whole, whole},
        {diskdescription::volumeUuid, "Talmont 1-1-1", "Talmont 100-1.00"},
    };
    const std::vector<std::pair<const char*, std::optional<Value>>> kinds = {
        {"missing", std::nullopt}, {"a list", Value(Value::Array{1})}, {"data", Value(Value::Data{"disk8s1"})}};
    for (const Row& row : rows) {
        for (const auto& [kind, value] : kinds) {
            for (const bool isNew : {true, false}) {
                SCOPED_TRACE(std::string(row.key) + ", " + kind + (isNew ? ", appeared" : ", changed"));
                AppWorld own;
                own.start();
                own.volumes.stopObserving();
                own.mount(AppWorld::stick, "disk8s1", AppWorld::family());
                auto description = wholeDescription();
                description.erase(row.key);
                if (value) description.emplace(row.key, *value);
                DriveArrival& arrival = own.app->arrival();
                isNew ? arrival.diskAppeared(description) : arrival.diskDescriptionChanged(description);
                const auto controller = own.controllerAt("disk8s1");
                const std::string made =
                    controller ? controller->deviceVendor() + " " + controller->deviceUUIDString().value_or("-") : "";
                EXPECT_EQ(made, isNew ? row.appeared : row.changed);
                // The drive is told by its name alone when it leaves.
                const bool named = std::string(row.key) != diskdescription::mediaBsdName;
                EXPECT_EQ(arrival.unmountApproval(description), std::nullopt);
                arrival.diskDisappeared(description);
                EXPECT_EQ(own.keys().empty(), named || made.empty());
            }
        }
    }
}

TEST_F(DriveArrivalTest, TheStandInOfAFatVolumeLeavesOutWhatTheDiskDoesNotTell) {
    mountSilently();
    const std::vector<std::pair<std::vector<const char*>, const char*>> rows = {
        {{diskdescription::deviceRevision}, "100-"},
        {{diskdescription::mediaSize}, "-1.00"},
        {{diskdescription::mediaSize, diskdescription::deviceRevision}, "-"},
    };
    for (const auto& [missing, expected] : rows) {
        auto description = without(wholeDescription(), diskdescription::volumeUuid);
        for (const char* key : missing) description.erase(key);
        arrival().diskDescriptionChanged(description);
        ASSERT_TRUE(world.controllerAt("disk8s1"));
        EXPECT_EQ(world.controllerAt("disk8s1")->deviceUUIDString(), expected);
        arrival().diskDisappeared(description);
    }
}

TEST_F(DriveArrivalTest, ADriveWithoutVendorAndModelHasAnEmptyVendor) {
    mountSilently();
    auto description = wholeDescription();
    description.erase(diskdescription::deviceVendor);
    description.erase(diskdescription::deviceModel);
    arrival().diskAppeared(description);
    EXPECT_TRUE(world.logged("-newDriveAppeared: /media/stick vendor:  withUUIDString: UUID"));
    EXPECT_EQ(world.controllerAt("disk8s1")->deviceVendor(), "");
}

// The stick is pulled just before the n-th look at it: what lies under its mount point is never taken for it.
TEST_F(DriveArrivalTest, ADriveThatVanishesBetweenItsEventAndAnyLookLeavesNothingBehind) {
    int looks = 0;
    for (int pulledAt = 1; pulledAt == 1 || looks >= pulledAt - 1; ++pulledAt) {
        SCOPED_TRACE(pulledAt);
        AppWorld own;
        own.start();
        own.volumes.stopObserving();
        own.makeFolders(AppWorld::stick);
        own.mount(AppWorld::stick, "disk8s1", AppWorld::family());
        looks = 0;
        own.volumes.beforeStat = [&](const std::string& path) {
            if (path != AppWorld::stick || ++looks != pulledAt) return;
            own.volumes.pull("disk8s1");
            own.disk.unmount(AppWorld::stick);
        };
        own.app->arrival().diskDescriptionChanged(wholeDescription());
        own.pass(1000);
        own.volumes.beforeStat = {};
        if (looks >= pulledAt) {
            EXPECT_EQ(pathsOf(own.files, own.files, AppWorld::stick), Lines{}) << "the folder below the mount point";
        } else {
            EXPECT_TRUE(own.controllerAt("disk8s1")->busy()) << "nothing happened to it";
        }
        ASSERT_LT(pulledAt, 100);
    }
    EXPECT_GT(looks, 3);
}

// The first look that fails and still finds a controller made is that of the device check.
TEST_F(DriveArrivalTest, ADeviceThatIsNoValidOneIsSaidInTheDebugLogOnly) {
    const std::string invalid = "The drive \"/media/stick\" is not a valid Talmont Pushkey\\U2122 drive.";
    for (const bool debug : {true, false}) {
        SCOPED_TRACE(debug);
        bool made = false;
        for (int failsFrom = 1; !made; ++failsFrom) {
            ASSERT_LT(failsFrom, 20);
            AppWorld own(debug);
            own.start();
            own.volumes.stopObserving();
            own.mount(AppWorld::stick, "disk8s1", AppWorld::family());
            int looks = 0;
            own.volumes.beforeStat = [&](const std::string& path) {
                if (path == AppWorld::stick && ++looks == failsFrom)
                    own.volumes.statErrors.emplace(path, Error::fromErrno(ENODEV, path));
            };
            own.app->arrival().diskDescriptionChanged(wholeDescription());
            made = own.controllerAt("disk8s1") != nullptr;
            const auto lines = own.log();
            const auto said = std::find(lines.begin(), lines.end(), "Cannot Start Sync.");
            EXPECT_EQ(said != lines.end(), made && debug);
            if (made && debug) {
                EXPECT_EQ(*(said - 1),
                          "-isValidDevice: cannot get statfs information about \"/media/stick\" (19, No such "
                          "device)");
                EXPECT_EQ(*(said + 1), invalid);
            }
            EXPECT_TRUE(own.alerts.shown.empty());
            own.volumes.beforeStat = {};
            own.pass(2000);
            EXPECT_FALSE(made && own.controllerAt("disk8s1")->busy()) << "no sync on connect";
            EXPECT_EQ(own.read(std::string(AppWorld::stick) + "/.VantaroConfig"), std::nullopt);
        }
    }
}

} // namespace
} // namespace vt::test

// What a controller finds out about its drive, and its first contact with it.
#include "platform/fake/FakeShellCommands.h"
#include "support/SyncWorld.h"
#include "sync/DiskSize.h"
#include "sync/ItemTree.h"
#include "sync/NameClashes.h"
#include "sync/SyncPaths.h"
#include "sync/report/MRLCopyErrorReporter.h"
#include "sync/report/MRLDeleteErrorReporter.h"
#include "sync/report/MRLErrorReporter.h"

namespace vt::test {
namespace {

TEST(PathsOfSync, areJoinedFromComponents) {
    SyncWorld world;
    const VTSyncController& c = *world.controller;
    EXPECT_EQ(c.pathForPushkeyTarget(), "/media/stick");
    EXPECT_EQ(c.pathForPushkeyTemp(), "/media/stick/ada_Workbench/.Z_VT_W/001B63A1B2C3-501");
    EXPECT_EQ(c.pathForLocalTemp(), "/home/ada/.Z_VT_W/1-1-1");
    EXPECT_EQ(c.pathForScanResults(), "/home/ada/.Z_VT_W/1-1-1/501_syncscan");
}

TEST(PathsOfSync, segmentsKeepUsersAndComputersApart) {
    SyncWorld world;
    for (const auto& [item, segment] :
         std::vector<std::pair<std::string, std::string>>{{"~/Music", "ada_Workbench/Music"},
                                                          {"~/", "ada_Workbench"},
                                                          {"/Volumes/Photos/2008", "/Photos_Workbench/2008"},
                                                          {"/Volumes/X", "/X_Workbench"},
                                                          {"/Users/ann/Music", "/Users/ann/Music"},
                                                          {"~name/x", "~name/x"}})
        EXPECT_EQ(world.controller->pathSegmentFromSyncItem(item), segment) << item;
}

TEST(PathsOfSync, rootsOfRemovableVolumesReadAsVolumes) {
    const std::vector<std::string> roots{"/media/ada/Photos", "/media/ada/Photos/inner"};
    EXPECT_EQ(SyncPaths::volumesForm("/media/ada/Photos/2008", roots), "/Volumes/Photos/2008");
    EXPECT_EQ(SyncPaths::volumesForm("/media/ada/Photos/inner/x", roots), "/Volumes/inner/x");
    EXPECT_EQ(SyncPaths::volumesForm("/media/ada/Photos2", roots), "/media/ada/Photos2");
    const std::vector<std::string> twins{"/mnt/Photos", "/media/ada/Photos"};
    EXPECT_EQ(SyncPaths::volumesForm("/media/ada/Photos/2008", twins), "/Volumes/Photos/2008");
    EXPECT_EQ(SyncPaths::volumesForm("/mnt/Photos/2008", twins), "/mnt/Photos/2008");
}

TEST(PathsOfSync, aVolumeNameThatPointsElsewhereIsNotUsed) {
    FakeSystemIdentity system;
    for (const char* uuid : {"../..", "a/b", "", ".."})
        EXPECT_EQ(SyncPaths("/m", uuid, "H-1", system).localWork(), "/home/ada/.Z_VT_W/1-1-1") << uuid;
    EXPECT_EQ(SyncPaths("/m", "A-B", "H-1", system).localWork(), "/home/ada/.Z_VT_W/A-B");
}

TEST(ControllerDiskSize, readsNumberAndUnit) {
    EXPECT_EQ(parseDiskSize("1.5 GB"), 1'610'612'736);
    EXPECT_EQ(parseDiskSize("750 MB (exactly)"), 786'432'000);
    EXPECT_EQ(parseDiskSize("  12 Ki"), 12'288);
    EXPECT_EQ(parseDiskSize("2 TB"), 2'199'023'255'552);
    EXPECT_EQ(parseDiskSize("77"), 77);
    EXPECT_EQ(parseDiskSize("1.27 KB"), 1228); // one decimal place is kept
    EXPECT_EQ(parseDiskSize("big"), 0);
    EXPECT_EQ(parseDiskSize(""), 0);
}

TEST(ControllerDiskSize, exFatNeedsTheRightSystem) {
    for (const char* version : {"10.6.5", "10.7", "10.8", "12.7"})
        EXPECT_TRUE(systemVersionAllowsExFat(version)) << version;
    for (const char* version : {"10.6.4", "10.6", "10.5.9", "11.0.1", "10", ""})
        EXPECT_FALSE(systemVersionAllowsExFat(version)) << version;
}

struct KindRow {
    const char* name;
    const char* kind;
    const char* content;
    bool compatible;
    bool ntfs;
};

class ControllerKinds : public testing::TestWithParam<KindRow> {};

TEST_P(ControllerKinds, decideWhetherADriveIsCompatible) {
    const KindRow& row = GetParam();
    SyncWorld world;
    world.table.more = {{"NTFS", "NTFS", "Windows_NTFS", true}, {"UFSD_NTFS", "Paragon", std::nullopt, true}};
    FSNamesAndTags names(world.table);
    SyncServices services{world.host,        world.driveFiles, world.volumes,    world.propertyLists,
                          world.preferences, world.system,     world.clock,      world.loop,
                          world.workspace,   world.alerts,     world.exclusions, names};
    FakeMount volume;
    volume.fileSystem = row.kind;
    volume.content = row.content;
    world.mountDrive("/media/k", "disk7s1", volume);
    const auto c = VTSyncController::controllerForMountPoint("/media/k", "", std::nullopt, std::nullopt, services);
    EXPECT_EQ(c->isValidFileSystem(), row.compatible);
    EXPECT_EQ(c->fsIsNTFS(), row.ntfs);
    EXPECT_FALSE(c->fsLimit4G());
}

INSTANTIATE_TEST_SUITE_P(Rows, ControllerKinds,
                         testing::Values(KindRow{"fatByContent", "other", "DOS_FAT_32", true, false},
                                         KindRow{"fatByKind", "msdos", "Windows_FAT_32", true, false},
                                         KindRow{"unknownContentAlone", "other", "Windows_FAT_32", false, false},
                                         KindRow{"hfsInContent", "x", "Apple_HFSX", true, false},
                                         KindRow{"hfsKind", "hfs", "", true, false},
                                         KindRow{"ntfsByContent", "fuseblk", "Windows_NTFS", true, true},
                                         KindRow{"ntfsUnknownPersonality", "Tuxera_NTFS", "x", false, true},
                                         KindRow{"ufsdSecondTry", "ufsd_NTFS", "x", true, true},
                                         KindRow{"ntfsIsCaseSensitive", "ntfs", "x", false, false},
                                         KindRow{"exfat", "exfat", "x", true, false},
                                         KindRow{"native", "btrfs", "x", true, false},
                                         KindRow{"foreign", "zfs", "x", false, false}),
                         [](const auto& row) { return row.param.name; });

TEST(ControllerFacts, theOlderRoadSetsTheFileLimitForFat) {
    SyncWorld world;
    world.host.leopard = false;
    FakeShellCommands shell;
    world.services.shell = &shell;
    world.mountDrive("/media/fat", "disk7s1");
    shell.answers["/usr/sbin/diskutil info \"disk7s1\""] = {
        0, "   Device Node: /dev/disk7s1\n   File System: MS-DOS FAT32\n   Partition Type: DOS_FAT_32\n"
           "   Read Only: No\n   Total Size: 1.5 GB (x)\n   Free Space: 750 MB\n   A: b: c\n"};
    const auto c = world.controllerFor("/media/fat");
    EXPECT_TRUE(c->isValidFileSystem());
    EXPECT_TRUE(c->fsLimit4G());
    EXPECT_EQ(c->totalBytes(), 1'610'612'736U);
    EXPECT_EQ(c->freeBytes(), 786'432'000U);
}

TEST(ControllerFacts, aNetworkVolumeIsCompatibleAndHasItsPathAsTag) {
    SyncWorld world;
    FakeMount share;
    share.network = true;
    share.fileSystem = "smbfs";
    share.mountedFrom = "//GUEST:@10.0.0.1/Public";
    world.mountDrive("/Volumes/Public", "share1", share);
    const auto c = world.controllerFor("/Volumes/Public");
    EXPECT_FALSE(c->isValidDevice());
    world.host.mapped.emplace_back("/Volumes/Public");
    EXPECT_TRUE(c->isValidDevice());
    EXPECT_TRUE(c->isValidFileSystem());
    EXPECT_EQ(c->totalBytes(), 0U);
    EXPECT_EQ(c->diskSlice(), "//GUEST:@10.0.0.1/Public");
}

TEST(ControllerFacts, fileSystemFactsAreNeverRefreshed) {
    SyncWorld world;
    const auto before = world.controller->freeBytes();
    world.volumes.volume("disk8s1").freeBytes = 1;
    EXPECT_EQ(world.controller->freeBytes(), before);
}

TEST(ControllerFacts, aReadOnlyVolumeIsNoValidFileSystem) {
    SyncWorld world;
    FakeMount readOnly;
    readOnly.readOnly = true;
    world.mountDrive("/media/ro", "disk7s1", readOnly);
    EXPECT_FALSE(world.controllerFor("/media/ro")->isValidFileSystem());
}

TEST(ControllerFacts, anUnknownVolumeSaysWhyInTheDebugLog) {
    SyncWorld world;
    world.host.debug = true;
    world.volumes.statErrors.emplace("/media/none", Error::fromErrno(ENOENT, "/media/none"));
    const auto c = world.controllerFor("/media/none");
    EXPECT_FALSE(c->isValidDevice());
    EXPECT_FALSE(c->isValidFileSystem());
    EXPECT_TRUE(world.host.has("-isValidDevice: cannot get statfs information about \"/media/none\" (2, No such file "
                               "or directory)"));
}

TEST(ControllerContact, aFreshDriveIsSetUpWithEverySwitchOn) {
    SyncWorld world;
    world.makeFolders("/home/ada/Music");
    world.system.folders[SystemIdentity::UserFolder::music] = "/home/ada/Music";
    world.mountDrive("/media/new", "disk7s1");
    const auto c = world.controllerFor("/media/new");
    EXPECT_FALSE(c->hasSyncConfiguration());
    EXPECT_TRUE(c->syncIsEnabledForThisDevice());
    EXPECT_EQ(c->deviceUUIDString(), "1-1-1");
    EXPECT_EQ(world.host.seenDevices.back(), "1-1-1");
    EXPECT_TRUE(c->participateSyncState());
    EXPECT_TRUE(c->continuousSyncState());
    EXPECT_EQ(c->shadowedSyncList(), std::vector<std::string>{"~/Music"});
    EXPECT_TRUE(c->hasUserSeenThisDevice());
}

TEST(ControllerContact, aUserWhoLeftIsNotJoinedAgain) {
    SyncWorld world;
    world.controller->setParticipateSyncState(false);
    EXPECT_FALSE(world.controller->syncIsEnabledForThisDevice());
    EXPECT_FALSE(world.controller->participateSyncState());
}

TEST(ControllerContact, quietAndPreviewAreWhatTheyAlwaysAre) {
    SyncWorld world;
    VTSyncController& c = *world.controller;
    const auto stored = [&] { return c.deviceConfiguration().isQuietEnabledForUser(); };
    c.setQuietSyncState(false);
    EXPECT_TRUE(c.quietSyncState());
    EXPECT_TRUE(c.isQuietSync());
    EXPECT_FALSE(stored());
    c.setPreviewEnabledState(false);
    EXPECT_FALSE(c.isPreviewEnabled());
    EXPECT_TRUE(stored());
    c.togglePreviewEnabled();
    EXPECT_FALSE(stored());
}

TEST(ControllerContact, menuItemsFollowTheSwitches) {
    SyncWorld world;
    const VTSyncController& c = *world.controller;
    EXPECT_TRUE(c.validateUserInterfaceItem("toggleContinuousSync:").checked);
    EXPECT_FALSE(c.validateUserInterfaceItem("togglePreviewEnabled:").checked);
    for (const char* action : {"sync:", "continuousSyncNow:", "removeDriveSync:", "other:"})
        EXPECT_TRUE(c.validateUserInterfaceItem(action).enabled) << action;
}

TEST(ControllerContact, theLastSyncTimeKeepsWholeSeconds) {
    SyncWorld world;
    world.controller->updateLastSyncTime(Date::fromNanoseconds(at(1).nanoseconds() + 999'999'999));
    EXPECT_EQ(world.controller->lastSyncTime(), at(1));
    EXPECT_EQ(world.controller->deviceConfiguration().lastSyncDateForUser(), at(1));
}

TEST(ControllerContact, theSwitchesOfEveryUserCanBeRead) {
    SyncWorld world;
    const VTSyncController& mine = *world.controller;
    const std::string other = "0A0B0C0D0E0F-1000";
    FakeSystemIdentity laptop;
    laptop.machine = "Laptop";
    WorldHost host{world.clock};
    host.identifier = other;
    SyncServices services{
        host,        world.driveFiles, world.volumes,   world.propertyLists, world.preferences, laptop,
        world.clock, world.loop,       world.workspace, world.alerts,        world.exclusions,  world.names};
    const auto theirs =
        VTSyncController::controllerForMountPoint(SyncWorld::drive, "Talmont", std::nullopt, std::nullopt, services);
    theirs->playWorkerByHand();
    world.join(*theirs, {"~/Movies"});
    theirs->setSyncMoviesState(false);
    theirs->setSyncDeviceFilter(5);
    theirs->setQuietSyncState(false);
    theirs->updateLastSyncTime(at(3));
    SyncWorld::run(*theirs);
    mine.deviceConfiguration().initializeConfigurationFile();
    world.controller->sync(); // opens the drive, whose file is read anew with the next write
    world.run();
    EXPECT_FALSE(mine.syncMoviesStateForUniqueHostID(other));
    EXPECT_TRUE(mine.syncMoviesStateForUniqueHostID(world.host.identifier));
    EXPECT_TRUE(mine.syncMusicStateForUniqueHostID(other));
    EXPECT_TRUE(mine.syncPicturesStateForUniqueHostID(other));
    EXPECT_TRUE(mine.syncDocumentsStateForUniqueHostID(other));
    EXPECT_FALSE(mine.syncDocumentsStateForUniqueHostID("nobody-1"));
    EXPECT_EQ(mine.syncDeviceFilterForUniqueHostID(other), 5);
    EXPECT_TRUE(mine.continuousSyncStateForUniqueHostID(other));
    EXPECT_TRUE(mine.participateSyncStateForUniqueHostID(other));
    EXPECT_FALSE(mine.participateSyncStateForUniqueHostID("nobody-1"));
    EXPECT_FALSE(mine.quietSyncStateForUniqueHostID(other));
    EXPECT_TRUE(mine.quietSyncState());
    EXPECT_FALSE(mine.isPreviewEnabledForUniqueHostID(other));
    EXPECT_EQ(mine.lastSyncTimeForUniqueHostID(other), at(3));
    EXPECT_EQ(mine.computerNameForUniqueHostID(other), "Laptop");
    EXPECT_FALSE(mine.computerNameForUniqueHostID("nobody-1"));
}

TEST(ControllerContact, whatControllingCodeHangsOnItIsKept) {
    SyncWorld world;
    VTSyncController& controller = *world.controller;
    EXPECT_EQ(controller.defaultResolutionActions().conflict, 0);
    controller.setDefaultResolutionActions({1, 2, 3});
    EXPECT_EQ(controller.defaultResolutionActions().conflict, 1);
    EXPECT_EQ(controller.defaultResolutionActions().missingMac, 2);
    EXPECT_EQ(controller.defaultResolutionActions().missingDrive, 3);
    EXPECT_EQ(controller.itemInventory(), nullptr);
    const auto items = std::make_shared<const ItemTree>(ItemTree{"Music", {{"a.mp3", {}}}});
    controller.setItemInventory(items);
    EXPECT_EQ(controller.itemInventory(), items);
    EXPECT_EQ(items.use_count(), 2);
    controller.setItemInventory(nullptr);
    EXPECT_EQ(items.use_count(), 1);
    EXPECT_EQ(VTSyncController::cascadeWindowFromPoint({3, 4}).x, 3);
    EXPECT_EQ(VTSyncController::cascadeWindowFromPoint({3, 4}).y, 4);
    controller.setCurrentSourcePath("/home/ada/x");
    EXPECT_EQ(controller.getCurrentProgressDict().at("syncCopySourcePath"), Value("/home/ada/x"));
    controller.setCurrentSourcePath(std::nullopt);
    EXPECT_FALSE(controller.currentSourcePath());
    EXPECT_FALSE(controller.getCurrentProgressDict().contains("syncCopySourcePath"));
}

TEST(ControllerContact, aReporterThatIsSetWorksForTheController) {
    SyncWorld world;
    ASSERT_NE(world.controller->deleteReporter(), nullptr);
    const auto before = world.controller->deleteReporter();
    const auto mine = MRLDeleteErrorReporter::create();
    world.controller->setDeleteReporter(mine);
    EXPECT_EQ(world.controller->deleteReporter(), mine);
    EXPECT_EQ(before->delegate(), nullptr);
    EXPECT_NE(mine->delegate(), nullptr);
    const auto copying = MRLCopyErrorReporter::create({}, world.files, world.volumes);
    world.controller->setErrorReporter(copying);
    EXPECT_EQ(world.controller->errorReporter(), copying);
    EXPECT_NE(copying->delegate(), nullptr);
    world.controller->setErrorReporter(nullptr);
    EXPECT_EQ(copying->delegate(), nullptr);
    EXPECT_NE(world.controller->errorReporter(), nullptr); // a new one per call
    world.sync();
    EXPECT_EQ(world.controller->deleteReporter(), nullptr);
}

TEST(ControllerFacts, mountedVolumesHaveReferencesFromOneOn) {
    SyncWorld world; // "/media/stick"
    world.mountDrive("/media/zip", "disk9s1");
    EXPECT_EQ(VTSyncController::getVolumeNameForvRefNum(world.volumes, 1), "stick");
    EXPECT_EQ(VTSyncController::bsdNameForVolumeRefNum(world.volumes, 1), "disk8s1");
    EXPECT_EQ(VTSyncController::getVolumeNameForvRefNum(world.volumes, 2), "zip");
    EXPECT_EQ(VTSyncController::bsdNameForVolumeRefNum(world.volumes, 2), "disk9s1");
    for (const std::int16_t reference : {std::int16_t{-1}, std::int16_t{0}, std::int16_t{3}}) {
        EXPECT_FALSE(VTSyncController::getVolumeNameForvRefNum(world.volumes, reference));
        EXPECT_FALSE(VTSyncController::bsdNameForVolumeRefNum(world.volumes, reference));
    }
}

TEST(ControllerContact, reportersAreMadeOnceAndGoWithTheFirstSync) {
    SyncWorld world;
    EXPECT_EQ(world.controller->errorReporter(), world.controller->errorReporter());
    world.sync();
    EXPECT_NE(world.controller->errorReporter(), world.controller->errorReporter());
}

TEST(ControllerContact, twoComputersOfOneNameAreWarnedAbout) {
    const Value::Dictionary configuration{
        {"AAAAAAAAAAAA-501", Value::Dictionary{{"sync-computer-name", "Workbench"}}},
        {"BBBBBBBBBBBB-501", Value::Dictionary{{"sync-computer-name", "Workbench"}}},
        {"AAAAAAAAAAAA-502", Value::Dictionary{{"sync-computer-name", "Workbench"}}},
        {"ptop-list",
         Value::Dictionary{
             {"AAAAAAAAAAAA-501", Value::Dictionary{{"items-to-sync", Value::Array{"/srv/x", "~/Music"}}}},
             {"BBBBBBBBBBBB-501", Value::Dictionary{{"items-to-sync", Value::Array{"/srv/x", "~/Music"}}}}}}};
    EXPECT_EQ(nameClashes(configuration, "AAAAAAAAAAAA-501", "Workbench"),
              (std::vector<std::string>{"Another computer of this drive is named \"Workbench\" too (BBBBBBBBBBBB-501): "
                                        "their copies may mix.",
                                        "\"/srv/x\" is synchronized to this drive by another user too "
                                        "(BBBBBBBBBBBB-501): their copies may mix."}));
}

class Wireless final : public ConnectedDrive {
  public:
    [[nodiscard]] std::string name() const override { return "RQ41"; }
    [[nodiscard]] int connectionStatus() const override { return status; }
    int status = 0;
};

TEST(ControllerWireless, anUnreachableDriveIsCancelledOnlyWhileBusyAndByItsOwnName) {
    SyncWorld world;
    world.controller->netServiceBecameUnreachable("RQ41");
    world.controller->setNetService(std::make_shared<Wireless>());
    world.controller->netServiceBecameUnreachable("RQ41");
    EXPECT_FALSE(world.controller->cancelPending());
    world.controller->sync();
    world.controller->netServiceBecameUnreachable("other");
    EXPECT_FALSE(world.controller->cancelPending());
    world.controller->netServiceBecameUnreachable("RQ41");
    EXPECT_TRUE(world.controller->cancelPending());
    EXPECT_FALSE(world.controller->cancelRVal());
    world.run();
    EXPECT_TRUE(world.host.has("Synchronization of \"stick\" failed due to connection error."));
    EXPECT_EQ(world.host.notifications().back().at("syncActivityFailureType").integerValue(), 5);
}

TEST(ControllerWireless, aCancelWithTheConnectionUpIsACancel) {
    SyncWorld world;
    const auto service = std::make_shared<Wireless>();
    service->status = 1;
    world.controller->setNetService(service);
    world.controller->sync();
    world.controller->cancelButtonClicked();
    world.run();
    EXPECT_TRUE(world.host.has("Synchronization of \"stick\" canceled."));
    EXPECT_EQ(world.host.notifications().back().at("syncActivityFailureType").integerValue(), 6);
}

} // namespace
} // namespace vt::test

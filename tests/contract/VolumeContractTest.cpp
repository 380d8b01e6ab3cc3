// What every volume service promises, on the fake one and on this computer's.
#include "support/VolumeGrounds.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <fcntl.h>

namespace vt::test {
namespace {

namespace key = diskdescription;
using Events = std::vector<std::string>;

std::string text(const Value::Dictionary& description, const char* name) {
    const auto found = description.find(name);
    return found == description.end() || !found->second.asString() ? "" : *found->second.asString();
}

bool lists(VolumeService& volumes, const std::string& mountPoint) {
    const auto all = volumes.mountedVolumes();
    return std::find(all.begin(), all.end(), mountPoint) != all.end();
}

template <typename Ground> class VolumeContract : public ::testing::Test {
  protected:
    // Events of whatever else this computer has mounted come first; a folder drive marks their end.
    void observe() {
        const std::string mark = ground.makeFolder("mark");
        ASSERT_TRUE(volumes.addFolderDrive(mark).ok());
        volumes.startObserving(recorder);
        ASSERT_TRUE(sees("appeared " + mark));
        ground.loop.runPending();
        recorder.clear();
    }
    bool sees(const std::string& event) {
        return ground.loop.runUntil(
            [&] { return std::find(recorder.events.begin(), recorder.events.end(), event) != recorder.events.end(); });
    }
    bool seesCount(std::size_t count) {
        return ground.loop.runUntil([&] { return recorder.events.size() >= count; });
    }
    // Everything that an earlier step raised has arrived once this folder has.
    Events eventsSoFar() {
        const std::string flush = ground.makeFolder("flush");
        EXPECT_TRUE(volumes.addFolderDrive(flush).ok());
        EXPECT_TRUE(sees("changed " + flush));
        Events events = recorder.events;
        std::erase(events, "changed " + flush);
        return events;
    }

    Result<void> unmounted(const std::string& mountPoint) { return unmountWith(volumes, ground.loop, mountPoint); }
    // Whether a mount was taken off.
    bool detached(const std::string& bsdName, const std::string& mountPoint) {
        return detachWith(volumes, ground.loop, bsdName, mountPoint);
    }

    Ground ground;
    VolumeService& volumes = ground.volumes;
    VolumeRecorder recorder;
};

using Grounds = ::testing::Types<FakeVolumeGround, LinuxVolumeGround>;
TYPED_TEST_SUITE(VolumeContract, Grounds);

TYPED_TEST(VolumeContract, ADiskTellsWhoItIs) {
    const std::string point = this->ground.makeFolder("drive");
    this->ground.mountDisk(point);
    const auto stat = this->volumes.statVolume(point);
    ASSERT_TRUE(stat.ok()) << stat.error().describe();
    EXPECT_EQ(stat->mountedOn, point);
    EXPECT_EQ(stat->typeName, "ext4");
    EXPECT_TRUE(stat->mountedFrom.starts_with("/dev/disk")) << stat->mountedFrom;
    EXPECT_GT(stat->totalBytes, stat->freeBytes);
    EXPECT_FALSE(stat->readOnly);

    const auto description = this->volumes.describe(point + "/");
    ASSERT_TRUE(description.has_value());
    EXPECT_EQ(text(*description, key::volumePath), point);
    EXPECT_EQ("/dev/" + text(*description, key::mediaBsdName), stat->mountedFrom);
    EXPECT_EQ(text(*description, key::volumeKind), "ext4");
    EXPECT_NE(text(*description, key::volumeUuid), "");
    EXPECT_FALSE(description->at(key::deviceInternal).boolValue());
    EXPECT_TRUE(description->at(key::mediaWritable).boolValue());
    EXPECT_GT(description->at(key::mediaSize).unsignedValue(), 0U);

    const DestinationCapabilities can = this->volumes.capabilities(point);
    EXPECT_TRUE(can.caseSensitive && can.holdsLinks && can.holdsOwnership);
    EXPECT_EQ(can.dateGranularity, 1);
}

TYPED_TEST(VolumeContract, AMountedDiskIsListedUntilItIsUnmounted) {
    const std::string point = this->ground.makeFolder("drive");
    EXPECT_FALSE(lists(this->volumes, point));
    this->ground.mountDisk(point);
    EXPECT_TRUE(lists(this->volumes, point));
    ASSERT_TRUE(this->unmounted(point).ok());
    EXPECT_FALSE(lists(this->volumes, point));
    EXPECT_FALSE(this->volumes.describe(point).has_value());
}

TYPED_TEST(VolumeContract, AMountAppearsAndThenGetsItsPath) {
    const std::string point = this->ground.makeFolder("drive");
    this->observe();
    this->ground.mountDisk(point);
    ASSERT_TRUE(this->sees("changed " + point));
    EXPECT_EQ(this->recorder.events, (Events{"appeared", "changed " + point}));
    this->recorder.clear();
    this->ground.unmountDisk(point);
    ASSERT_TRUE(this->seesCount(1));
    EXPECT_EQ(this->recorder.events.front(), "changed");
}

TYPED_TEST(VolumeContract, WhatWasMountedBeforeAppearsWithItsPath) {
    const std::string point = this->ground.makeFolder("drive");
    this->ground.mountDisk(point);
    this->volumes.startObserving(this->recorder);
    EXPECT_TRUE(this->recorder.events.empty());
    ASSERT_TRUE(this->sees("appeared " + point));
    const auto at = std::find(this->recorder.events.begin(), this->recorder.events.end(), "appeared " + point);
    const auto& description = this->recorder.descriptions[static_cast<std::size_t>(at - this->recorder.events.begin())];
    EXPECT_FALSE(description.at(key::deviceInternal).boolValue());
}

TYPED_TEST(VolumeContract, AMovedMountGoesAndComes) {
    const std::string from = this->ground.makeFolder("from");
    const std::string to = this->ground.makeFolder("to");
    this->ground.mountDisk(from);
    this->observe();
    this->ground.moveDisk(from, to);
    ASSERT_TRUE(this->sees("changed " + to));
    EXPECT_EQ(this->recorder.events, (Events{"changed", "changed " + to}));
}

TYPED_TEST(VolumeContract, NamesOfAnyBytesAreKept) {
    const std::string point = this->ground.makeFolder("a b\tc\nd\\040 \xff");
    this->ground.mountDisk(point);
    EXPECT_TRUE(lists(this->volumes, point));
    const auto stat = this->volumes.statVolume(point);
    ASSERT_TRUE(stat.ok());
    EXPECT_EQ(stat->mountedOn, point);
    EXPECT_TRUE(this->volumes.describe(point).has_value());
}

TYPED_TEST(VolumeContract, AFolderDriveIsAVolumeOfItsOwn) {
    const std::string folder = this->ground.makeFolder("folder");
    this->observe();
    ASSERT_TRUE(this->volumes.addFolderDrive(folder + "/").ok());
    ASSERT_TRUE(this->sees("changed " + folder));
    EXPECT_EQ(this->recorder.events, Events{"changed " + folder});
    const auto stat = this->volumes.statVolume(folder);
    ASSERT_TRUE(stat.ok());
    EXPECT_EQ(stat->mountedOn, folder);
    EXPECT_TRUE(stat->mountedFrom.starts_with("/dev/diskf")) << stat->mountedFrom;
    const auto description = this->volumes.describe(folder);
    ASSERT_TRUE(description.has_value());
    EXPECT_EQ("/dev/" + text(*description, key::mediaBsdName), stat->mountedFrom);
    EXPECT_FALSE(description->at(key::deviceInternal).boolValue());
    EXPECT_TRUE(lists(this->volumes, folder));

    this->recorder.clear();
    this->volumes.removeFolderDrive(folder);
    EXPECT_EQ(this->eventsSoFar(), Events{"changed"});
    EXPECT_FALSE(lists(this->volumes, folder));
    const auto after = this->volumes.statVolume(folder);
    EXPECT_TRUE(!after.ok() || !after->mountedFrom.starts_with("/dev/diskf"));
}

TYPED_TEST(VolumeContract, TheDeepestFolderDriveOwnsAPath) {
    const std::string outer = this->ground.makeFolder("outer");
    const std::string inner = this->ground.makeFolder("outer/inner");
    ASSERT_TRUE(this->volumes.addFolderDrive(outer).ok());
    ASSERT_TRUE(this->volumes.addFolderDrive(inner).ok());
    const auto outerStat = this->volumes.statVolume(outer);
    const auto innerStat = this->volumes.statVolume(inner);
    ASSERT_TRUE(outerStat.ok() && innerStat.ok());
    EXPECT_EQ(outerStat->mountedOn, outer);
    EXPECT_EQ(innerStat->mountedOn, inner);
    EXPECT_NE(outerStat->mountedFrom, innerStat->mountedFrom);
}

TYPED_TEST(VolumeContract, AFolderThatGoesIsAnUnplugAndItsReturnAPlug) {
    const std::string folder = this->ground.makeFolder("folder");
    ASSERT_TRUE(this->volumes.addFolderDrive(folder).ok());
    this->observe();
    this->ground.removeFolder(folder);
    ASSERT_TRUE(this->sees("disappeared"));
    EXPECT_EQ(this->recorder.events, (Events{"changed", "disappeared"}));
    EXPECT_FALSE(lists(this->volumes, folder));
    this->recorder.clear();
    this->ground.restoreFolder(folder);
    ASSERT_TRUE(this->sees("changed " + folder));
    EXPECT_EQ(this->recorder.events, (Events{"appeared", "changed " + folder}));
}

TYPED_TEST(VolumeContract, AFolderThatIsAwayIsExpected) {
    const std::string folder = this->ground.makeFolder("folder");
    this->ground.forbidFolder(folder, ENOENT);
    EXPECT_EQ(this->volumes.addFolderDrive(folder).code(), ENOENT);
    this->observe();
    this->ground.restoreFolder(folder);
    ASSERT_TRUE(this->sees("changed " + folder));
    EXPECT_EQ(this->recorder.events, (Events{"appeared", "changed " + folder}));
}

TYPED_TEST(VolumeContract, AFileIsNoFolderDrive) {
    const std::string file = this->ground.makeFolder("file");
    this->ground.forbidFolder(file, ENOTDIR);
    EXPECT_EQ(this->volumes.addFolderDrive(file).code(), ENOTDIR);
    EXPECT_FALSE(lists(this->volumes, file));
}

TYPED_TEST(VolumeContract, UnmountingAFolderDriveLetsItGo) {
    const std::string folder = this->ground.makeFolder("folder");
    ASSERT_TRUE(this->volumes.addFolderDrive(folder).ok());
    ASSERT_TRUE(this->unmounted(folder).ok());
    EXPECT_FALSE(lists(this->volumes, folder));
    EXPECT_EQ(this->unmounted(folder).code(), EINVAL);
}

TYPED_TEST(VolumeContract, APulledDiskLeavesAMountBehindThatIsTakenOff) {
    const std::string point = this->ground.makeFolder("drive");
    this->ground.mountDisk(point);
    const std::string key = text(*this->volumes.describe(point), key::mediaBsdName);
    this->observe();
    EXPECT_FALSE(this->detached(key, point)) << "a mount that is alive is never touched";
    EXPECT_TRUE(lists(this->volumes, point));
    this->ground.pullDisk(point);
    ASSERT_TRUE(this->sees("disappeared"));
    EXPECT_EQ(this->recorder.events, (Events{"changed", "disappeared"}));
    EXPECT_FALSE(lists(this->volumes, point));
    EXPECT_FALSE(this->detached("disk8s99", point)) << "it is not that disk's";
    EXPECT_FALSE(this->detached(key, this->ground.makeFolder("elsewhere")));
    EXPECT_TRUE(this->detached(key, point + "/"));
    EXPECT_FALSE(this->detached(key, point)) << "nothing is left";
}

TYPED_TEST(VolumeContract, NothingArrivesAfterTheEndOfObserving) {
    const std::string point = this->ground.makeFolder("drive");
    this->observe();
    this->ground.mountDisk(point);
    this->volumes.stopObserving();
    this->ground.loop.runPending();
    EXPECT_TRUE(this->recorder.events.empty());
}

// What only real mounts can show.
class LinuxVolumesTest : public VolumeContract<LinuxVolumeGround> {};

TEST_F(LinuxVolumesTest, AMissingPathHasNoVolume) {
    EXPECT_EQ(volumes.statVolume(ground.folder / "missing").code(), ENOENT);
}

TEST_F(LinuxVolumesTest, BindMountsSecondMountsAndRemountsRaiseNothing) {
    const std::string point = ground.makeFolder("drive");
    const std::string other = ground.makeFolder("other");
    ground.mountDisk(point);
    observe();
    ASSERT_EQ(::mount(point.c_str(), other.c_str(), nullptr, MS_BIND, nullptr), 0);
    ASSERT_EQ(::mount(nullptr, point.c_str(), nullptr, MS_REMOUNT | MS_RDONLY, nullptr), 0);
    ASSERT_EQ(::umount2(other.c_str(), 0), 0);
    EXPECT_EQ(eventsSoFar(), Events{});
    EXPECT_TRUE(volumes.statVolume(point)->readOnly);
    EXPECT_FALSE(volumes.describe(point)->at(key::mediaWritable).boolValue());
}

TEST_F(LinuxVolumesTest, AnOpenFileKeepsTheVolume) {
    const std::string point = ground.makeFolder("drive");
    ground.mountDisk(point);
    {
        const UniqueFd open(::open(point.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        ASSERT_TRUE(open.isOpen());
        EXPECT_EQ(unmounted(point).code(), EBUSY);
    }
    EXPECT_TRUE(unmounted(point).ok());
}

TEST_F(LinuxVolumesTest, WhatWasMountedOverAPulledDiskStays) {
    const std::string point = ground.makeFolder("drive");
    ground.mountDisk(point);
    const std::string pulled = text(*volumes.describe(point), key::mediaBsdName);
    ground.pullDisk(point);
    ASSERT_EQ(::mount("memory", point.c_str(), "tmpfs", 0, "size=1m"), 0);
    ground.mounted.push_back(point);
    EXPECT_FALSE(detached(pulled, point));
    EXPECT_EQ(volumes.statVolume(point)->typeName, "tmpfs");
    ASSERT_EQ(::umount2(point.c_str(), 0), 0);
    EXPECT_TRUE(detached(pulled, point));
    EXPECT_FALSE(std::filesystem::exists(point + "/lost+found"));
}

TEST_F(LinuxVolumesTest, AFolderDriveLeavesWithTheDiskThatIsPulled) {
    const std::string point = ground.makeFolder("drive");
    ground.mountDisk(point);
    const std::string folder = ground.makeFolder("drive/folder");
    ASSERT_TRUE(volumes.addFolderDrive(folder).ok());
    observe();
    ground.pullDisk(point);
    ASSERT_TRUE(sees("disappeared"));
    EXPECT_TRUE(ground.loop.runUntil([&] { return !lists(volumes, folder); }));
}

TEST_F(LinuxVolumesTest, ASecondMountOfAServedDriveInTheSystemsPlacesIsNoDeparture) {
    const std::string point = ground.makeFolder("drive");
    ground.mountDisk(point);
    observe();
    ASSERT_EQ(::mount(point.c_str(), "/opt", nullptr, MS_BIND, nullptr), 0);
    ground.mounted.emplace_back("/opt");
    EXPECT_EQ(eventsSoFar(), Events{});
    EXPECT_TRUE(lists(volumes, point));
    ASSERT_EQ(::umount2("/opt", 0), 0);
    EXPECT_EQ(eventsSoFar(), Events{});
}

TEST_F(LinuxVolumesTest, EveryNativeDiskHasADevice) {
    struct Row {
        const char* type;
        std::uintmax_t bytes;
    };
    for (const Row& row : {Row{"xfs", 320U << 20U}, Row{"btrfs", 128U << 20U}}) {
        SCOPED_TRACE(row.type);
        const std::string point = ground.makeFolder(row.type);
        ground.mountImage(ground.makeImage(row.type, row.bytes), point);
        const auto stat = volumes.statVolume(point);
        ASSERT_TRUE(stat.ok());
        EXPECT_EQ(stat->typeName, row.type);
        EXPECT_TRUE(stat->mountedFrom.starts_with("/dev/disk7s")) << stat->mountedFrom;
        EXPECT_TRUE(lists(volumes, point));
        EXPECT_NE(text(*volumes.describe(point), key::volumeUuid), "");
    }
}

TEST_F(LinuxVolumesTest, ATmpfsIsListedButIsNoDisk) {
    const std::string point = ground.makeFolder("memory");
    ASSERT_EQ(::mount("memory", point.c_str(), "tmpfs", 0, "size=1m"), 0);
    ground.mounted.push_back(point);
    const auto stat = volumes.statVolume(point);
    ASSERT_TRUE(stat.ok());
    EXPECT_EQ(stat->mountedFrom, "memory");
    EXPECT_EQ(stat->typeName, "tmpfs");
    EXPECT_EQ(stat->totalBytes, 1U << 20U);
    EXPECT_TRUE(lists(volumes, point));
    EXPECT_FALSE(volumes.describe(point).has_value());
}

TEST_F(LinuxVolumesTest, AFolderDriveGoesWithTheVolumeThatItLiesOn) {
    const std::string point = ground.makeFolder("memory");
    ASSERT_EQ(::mount("memory", point.c_str(), "tmpfs", 0, "size=1m"), 0);
    ASSERT_TRUE(volumes.addFolderDrive(point).ok());
    observe();
    // Any event of another disk makes the watch look into the folder, which is busy at that moment.
    ASSERT_TRUE(ground.loop.runUntil([&] { return ::umount2(point.c_str(), 0) == 0; }));
    ASSERT_TRUE(sees("disappeared"));
    // The empty folder below the mount is another one: it is never taken for the drive.
    EXPECT_EQ(eventsSoFar(), (Events{"changed", "disappeared"}));
    EXPECT_FALSE(volumes.statVolume(point)->mountedFrom.starts_with("/dev/diskf"));
    recorder.clear();
    ASSERT_EQ(::mount("memory", point.c_str(), "tmpfs", 0, "size=1m"), 0);
    ground.mounted.push_back(point);
    ASSERT_TRUE(sees("changed " + point));
}

TEST_F(LinuxVolumesTest, FoldersWithOneInodeNumberHaveTwoNames) {
    std::vector<std::string> names;
    for (const char* name : {"one", "two"}) {
        const std::string point = ground.makeFolder(name);
        ASSERT_EQ(::mount("memory", point.c_str(), "tmpfs", 0, "size=1m"), 0);
        ground.mounted.push_back(point);
        ASSERT_TRUE(volumes.addFolderDrive(point).ok());
        names.push_back(volumes.statVolume(point)->mountedFrom);
    }
    EXPECT_EQ(names[1], names[0] + "s1");
}

TEST_F(LinuxVolumesTest, ALinkLeadsToTheVolumeBehindIt) {
    const std::string point = ground.makeFolder("drive");
    ground.mountDisk(point);
    std::filesystem::create_symlink(point, ground.folder / "link");
    EXPECT_EQ(volumes.statVolume(ground.folder / "link")->mountedOn, point);
    ASSERT_TRUE(volumes.addFolderDrive(ground.makeFolder("folder")).ok());
    std::filesystem::create_symlink(ground.folder / "folder", ground.folder / "folder-link");
    EXPECT_EQ(volumes.statVolume(ground.folder / "folder-link")->mountedOn, ground.folder / "folder");
}

} // namespace
} // namespace vt::test

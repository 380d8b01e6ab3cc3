// The small parts behind the volume service: names, tables, shares and calls with a time limit.
#include "platform/linux/volumes/DeviceNumber.h"
#include "platform/linux/volumes/DiskDescriptions.h"
#include "platform/linux/volumes/FileSystemTraits.h"
#include "platform/linux/volumes/MountPlaces.h"
#include "platform/linux/volumes/NetworkShares.h"
#include "platform/linux/volumes/TimedCall.h"
#include "platform/linux/volumes/VolumeSurvey.h"

#include <gtest/gtest.h>

#include <future>

namespace vt::test {
namespace {

TEST(DeviceNumber, NamesGoBothWays) {
    EXPECT_EQ((DeviceNumber{7, 12}.bsdName()), "disk7s12");
    EXPECT_EQ(DeviceNumber::fromBsdName("/dev/disk259s3"), (DeviceNumber{259, 3}));
    for (const char* other : {"", "disk", "disk7", "disk7s", "disks1", "diskf12", "disk07s1", "disk7s1x", "disk-1s1",
                              "disk99999999999s1", "/dev/sda1"})
        EXPECT_FALSE(DeviceNumber::fromBsdName(other).has_value()) << other;
    const DeviceNumber large{1048575, 4095};
    EXPECT_EQ(DeviceNumber::fromKernel(large.kernel()), large);
}

TEST(FileSystemTraits, TypesHaveTheSystemsNames) {
    struct Row {
        const char* type;
        const char* statName;
        const char* kind;
        const char* content;
        bool caseSensitive;
        bool holdsLinks;
        std::int64_t dates;
        std::uint64_t largest;
    };
    const std::vector<Row> rows = {
        {"ext4", "ext4", "ext4", "Linux", true, true, 1, ~0ULL},
        {"vfat", "msdos", "msdos", "Windows_FAT_32", false, false, 2'000'000'000, 0xFFFF'FFFF},
        {"exfat", "exfat", "exfat", "Windows_exFAT", false, false, 10'000'000, ~0ULL},
        {"fuseblk.exfat", "exfat", "exfat", "Windows_exFAT", false, false, 1'000'000'000, ~0ULL},
        {"fuseblk.ntfs", "ntfs", "NTFS", "Windows_NTFS", true, true, 100, ~0ULL},
        {"hfsplus", "hfs", "hfs", "Apple_HFS", false, true, 1'000'000'000, ~0ULL},
        {"cifs", "smbfs", "smbfs", "", false, false, 100, ~0ULL},
        {"fuse.gvfsd-fuse", "smbfs", "smbfs", "", false, false, 1'000'000'000, ~0ULL},
        {"unheard-of", "unheard-of", "unheard-of", "", true, true, 1, ~0ULL},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.type);
        const FileSystemTraits traits = fileSystemTraits(row.type);
        EXPECT_EQ(traits.statName, row.statName);
        EXPECT_EQ(traits.kind, row.kind);
        EXPECT_EQ(traits.content, row.content);
        EXPECT_EQ(traits.capabilities.caseSensitive, row.caseSensitive);
        EXPECT_EQ(traits.capabilities.holdsLinks, row.holdsLinks);
        EXPECT_EQ(traits.capabilities.dateGranularity, row.dates);
        EXPECT_EQ(traits.capabilities.largestFile, row.largest);
    }
    EXPECT_FALSE(fileSystemTraits("vfat").numberIsUuid);
    EXPECT_TRUE(fileSystemTraits("btrfs").native);
}

TEST(NetworkShares, KernelMountsAreNamedByTheirAddress) {
    MountEntry mount;
    mount.type = "cifs";
    mount.source = "//drive.local/Public";
    EXPECT_EQ(shareOfKernelMount(mount), "//GUEST:@drive.local/Public");
    mount.superOptions = "rw,vers=3.0,addr=192.168.1.7,uid=0";
    EXPECT_EQ(shareOfKernelMount(mount), "//GUEST:@192.168.1.7/Public");
    mount.source = "//drive.local";
    EXPECT_EQ(shareOfKernelMount(mount), "//GUEST:@192.168.1.7/");
}

TEST(NetworkShares, DesktopEntriesAreRead) {
    EXPECT_EQ(shareOfDesktopEntry("smb-share:server=192.168.1.7,share=my%20files"), "//GUEST:@192.168.1.7/my files");
    EXPECT_EQ(shareOfDesktopEntry("smb-share:port=4450,server=a,share=b,user=x"), "//GUEST:@a/b");
    for (const char* other :
         {"", "smb-share:", "smb-share:server=a", "smb-share:share=b", "sftp:host=a", "%", "smb-share:server=%"})
        EXPECT_FALSE(shareOfDesktopEntry(other).has_value()) << other;
    EXPECT_EQ(desktopShareFolder("/run/user/1/gvfs/s/a/b", "/run/user/1/gvfs"), "/run/user/1/gvfs/s");
    EXPECT_EQ(desktopShareFolder("/run/user/1/gvfs", "/run/user/1/gvfs"), "");
}

TEST(FolderUuid, TheSamePathHasTheSameOne) {
    EXPECT_EQ(folderUuid("/home/a/Drive"), folderUuid("/home/a/Drive"));
    EXPECT_NE(folderUuid("/home/a/Drive"), folderUuid("/home/a/Drives"));
    EXPECT_EQ(folderUuid("/a").size(), 36U);
}

TEST(MountPlaces, APersonMountsDrivesAnywhereButInTheSystemsOwnPlaces) {
    const std::vector<std::pair<MountPlace, std::vector<const char*>>> rows = {
        {MountPlace::drive,
         {"/media",
          "/mnt",
          "/media/STICK",
          "/media/user/STICK",
          "/run/media/user/STICK",
          "/run/media/STICK",
          "/mnt/backup",
          "/home/user",
          "/home/user/mnt",
          "/root/mnt",
          "/tmp/x",
          "/srv/backup",
          "/opt/backup",
          "/var/mnt/backup",
          "/var/home/user/mnt",
          "/var/backups",
          "/var/local/disk",
          "/var/www",
          "/var/tmp/x",
          "/data",
          "/volumes/x",
          "/usrdata",
          "/bootdisk",
          "/libs",
          "/runs/x"}},
        {MountPlace::system,
         {"/",        "/home", "/root",     "/tmp",     "/srv",       "/opt",       "/var", "/var/home",
          "/var/tmp", "/boot", "/boot/efi", "/efi",     "/usr",       "/usr/local", "/etc", "/etc/hosts",
          "/bin",     "/sbin", "/lib",      "/lib64/x", "/nix/store", "/sysroot"}},
        {MountPlace::program,
         {"/proc", "/sys/fs/cgroup", "/dev/shm", "/run", "/run/media", "/run/user/1000/doc", "/run/timeshift/1/backup",
          "/snap/core/1", "/var/lib/docker/x", "/var/log", "/var/cache/x", "/var/spool/x", "/var/run/x"}},
    };
    for (const auto& [place, paths] : rows)
        for (const char* path : paths) EXPECT_EQ(mountPlace(path), place) << path;
}

MountEntry mounted(std::uint32_t minor, const std::string& target, const std::string& root = "/") {
    MountEntry entry;
    entry.device = {8, minor};
    entry.target = target;
    entry.root = root;
    entry.type = "ext4";
    return entry;
}

std::map<std::string, std::string> targets(const MountTable& table, const VolumeSnapshot& before = {}) {
    std::map<std::string, std::string> result;
    for (const auto& [key, entry] : VolumeSurvey::disks(table, before)) result[key] = entry.target;
    return result;
}

TEST(VolumeSurvey, ADeviceIsOneVolumeAtItsFirstMount) {
    using Targets = std::map<std::string, std::string>;
    EXPECT_EQ(targets({mounted(1, "/mnt/a"), mounted(1, "/mnt/b")}), (Targets{{"disk8s1", "/mnt/a"}}));
    VolumeSnapshot before;
    before["disk8s1"].mountPoint = "/mnt/b";
    EXPECT_EQ(targets({mounted(1, "/mnt/a"), mounted(1, "/mnt/b"), mounted(1, "/mnt/c")}, before),
              (Targets{{"disk8s1", "/mnt/b"}}));
    EXPECT_EQ(targets({mounted(1, "/"), mounted(1, "/mnt/a"), mounted(2, "/mnt/b")}), (Targets{{"disk8s2", "/mnt/b"}}));
}

TEST(VolumeSurvey, AnotherMountOfAKnownDriveIsNoDepartureWhereverItIs) {
    using Targets = std::map<std::string, std::string>;
    VolumeSnapshot before;
    before["disk8s1"].mountPoint = "/mnt/a";
    for (const char* second : {"/run/timeshift/1/backup", "/var/lib/docker/volumes/x/_data", "/etc/x", "/opt"}) {
        EXPECT_EQ(targets({mounted(1, "/mnt/a"), mounted(1, second)}, before), (Targets{{"disk8s1", "/mnt/a"}}))
            << second;
        EXPECT_EQ(targets({mounted(1, second), mounted(1, "/mnt/a")}, before), (Targets{{"disk8s1", "/mnt/a"}}))
            << second;
    }
    // One that is not known is a drive unless the system stands on it.
    EXPECT_EQ(targets({mounted(1, "/mnt/a"), mounted(1, "/run/x")}), (Targets{{"disk8s1", "/mnt/a"}}));
    EXPECT_EQ(targets({mounted(1, "/mnt/a"), mounted(1, "/opt")}), Targets{});
    EXPECT_EQ(targets({mounted(1, "/run/x")}), Targets{});
}

TEST(TimedCalls, AnAnswerInTimeIsPassedOn) {
    TimedCalls calls(std::chrono::seconds(100));
    const auto answer = calls.run<int>("x", [] { return Result<int>(7); });
    EXPECT_EQ(answer.valueOr(0), 7);
    EXPECT_EQ(calls.run<void>("x", [] { return Result<void>(Error::fromErrno(EIO, "x")); }).code(), EIO);
}

TEST(TimedCalls, ACallThatHangsIsGivenUpAndNotRepeated) {
    TimedCalls calls(std::chrono::milliseconds(20));
    const auto release = std::make_shared<std::promise<void>>();
    const auto ended = std::make_shared<std::promise<void>>();
    const auto hang = [wait = release->get_future().share(), ended] {
        wait.wait();
        ended->set_value();
        return Result<int>(1);
    };
    EXPECT_EQ(calls.run<int>("server", hang).code(), ETIMEDOUT);
    bool called = false;
    EXPECT_EQ(calls
                  .run<int>("server",
                            [&called] {
                                called = true;
                                return Result<int>(2);
                            })
                  .code(),
              ETIMEDOUT);
    EXPECT_FALSE(called);
    release->set_value();
    ended->get_future().wait();
}

} // namespace
} // namespace vt::test

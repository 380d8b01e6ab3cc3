#include "config/utilities/SystemStrings.h"

#include "config/utilities/Packages.h"
#include "platform/fake/FakeClock.h"
#include "platform/fake/FakeFiles.h"
#include "platform/fake/FakeSystemIdentity.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <map>

namespace vt {
namespace {

// Volumes by mount point; nothing ever happens to them.
class StillVolumes : public VolumeService {
  public:
    std::map<std::string, VolumeStat> stats;
    std::map<std::string, Value::Dictionary> descriptions;

    [[nodiscard]] Result<VolumeStat> statVolume(const std::string& path) override {
        const auto found = stats.find(path);
        if (found == stats.end()) return Error::fromErrno(ENOENT, path);
        return found->second;
    }
    [[nodiscard]] DestinationCapabilities capabilities(const std::string&) override { return {}; }
    [[nodiscard]] std::vector<std::string> mountedVolumes() override { return {}; }
    [[nodiscard]] std::optional<Value::Dictionary> describe(const std::string& mountPoint) override {
        const auto found = descriptions.find(mountPoint);
        return found == descriptions.end() ? std::nullopt : std::optional<Value::Dictionary>(found->second);
    }
    void startObserving(VolumeObserver&) override {}
    void stopObserving() override {}
    [[nodiscard]] Result<void> addFolderDrive(const std::string&) override { return {}; }
    void removeFolderDrive(const std::string&) override {}
    void unmount(const std::string&, UnmountDone) override {}
    void detachGone(const std::string&, const std::string&, DetachDone) override {}
};

VolumeStat mountedFrom(const std::string& name) {
    VolumeStat stat;
    stat.mountedFrom = name;
    return stat;
}

TEST(SystemStrings, DeviceNodesAreThoseOfDisks) {
    StillVolumes volumes;
    volumes.stats["/media/stick"] = mountedFrom("/dev/disk3s2");
    volumes.stats["/media/share"] = mountedFrom("//GUEST:@10.0.0.5/Public");
    volumes.stats["/media/odd"] = mountedFrom("/dev/dis");
    EXPECT_EQ(stringWithDevNodeFromMountPoint(volumes, "/media/stick"), "disk3s2");
    EXPECT_EQ(stringWithDevNodeFromMountPoint(volumes, "/media/share"), std::nullopt);
    EXPECT_EQ(stringWithDevNodeFromMountPoint(volumes, "/media/odd"), std::nullopt);
    EXPECT_EQ(stringWithDevNodeFromMountPoint(volumes, "/nowhere"), std::nullopt);
}

TEST(SystemStrings, AddressesComeWithAndWithoutColons) {
    FakeSystemIdentity system;
    EXPECT_EQ(stringWithPrimaryMACAddressWithColons(system, true), "0A:1B:2C:3D:4E:5F");
    EXPECT_EQ(stringWithPrimaryMACAddressWithColons(system, false), "0A1B2C3D4E5F");
    system.address.reset();
    EXPECT_EQ(stringWithPrimaryMACAddressWithColons(system, true), std::nullopt);
}

TEST(SystemStrings, AHostWithoutANameIsMacintosh) {
    FakeSystemIdentity system;
    EXPECT_EQ(stringWithHostname(system), "workbench.local");
    system.host.reset();
    EXPECT_EQ(stringWithHostname(system), "Macintosh");
    EXPECT_EQ(stringWithMachineName(system), "Workbench");
}

TEST(SystemStrings, ADisplayNameIsTheLabelOfAMountPointElseTheLastComponent) {
    StillVolumes volumes;
    volumes.descriptions["/media/stick"] = {{diskdescription::volumePath, Value("/media/stick")},
                                            {diskdescription::volumeName, Value("Ada's drive")}};
    volumes.descriptions["/media/bare"] = {{diskdescription::volumePath, Value("/media/bare")}};
    EXPECT_EQ(displayNameAtPath(volumes, "/media/stick"), "Ada's drive");
    EXPECT_EQ(displayNameAtPath(volumes, "/media/bare"), "bare");
    EXPECT_EQ(displayNameAtPath(volumes, "/home/ada/Film.mov"), "Film.mov");
}

class RealPaths : public testing::Test {
  protected:
    RealPaths() {
        for (const char* path : {"/a", "/a/b", "/a/b/Tree.app"}) EXPECT_TRUE(files.makeDirectory(path, 0755).ok());
        for (const char* path : {"/a/b/file", "/a/b/File.app"}) EXPECT_TRUE(files.create(path, "", 0644).ok());
        link("/a/relative", "b/../b");
        link("/a/absolute", "/a/b");
        link("/a/b/chain", "../relative/file");
        link("/a/gone", "nowhere");
        link("/a/circle", "circle");
        link("/a/Link.app", "b/Tree.app");
    }
    void link(const std::string& path, const std::string& target) { EXPECT_TRUE(files.makeLink(path, target).ok()); }

    FakeClock clock;
    FakeDisk disk{clock};
    FakeFiles files{disk};
};

TEST_F(RealPaths, EveryLinkIsResolved) {
    EXPECT_EQ(stringWithRealPath(files, "/"), "/");
    EXPECT_EQ(stringWithRealPath(files, "/a/b/file"), "/a/b/file");
    EXPECT_EQ(stringWithRealPath(files, "/a//./b/../b/file/"), "/a/b/file");
    EXPECT_EQ(stringWithRealPath(files, "/a/relative/file"), "/a/b/file");
    EXPECT_EQ(stringWithRealPath(files, "/a/absolute/chain"), "/a/b/file");
}

TEST_F(RealPaths, WhatLeadsNowhereHasNone) {
    for (const char* path : {"/a/gone", "/a/circle", "/a/missing/file", "/a/b/file/below", "relative", ""})
        EXPECT_EQ(stringWithRealPath(files, path), std::nullopt) << path;
}

TEST_F(RealPaths, APackageIsAFolderWithAKnownExtension) {
    EXPECT_TRUE(isPackagePath(files, "/a/b/Tree.app"));
    EXPECT_FALSE(isPackagePath(files, "/a/b/File.app"));
    EXPECT_FALSE(isPackagePath(files, "/a/Link.app"));
    EXPECT_FALSE(isPackagePath(files, "/a/b"));
    EXPECT_FALSE(isPackagePath(files, "/a/Missing.app"));
}

TEST(Packages, NamesAreKnownInAnyCase) {
    for (const char* name : {"A.app", "A.bundle", "Fotos.PhotoLibrary", "x.rtfd", "x.pages", "x.numbers", "x.key",
                             "x.framework", "x.plugin", "x.photoslibrary", "/drive/a.b/x.xcodeproj", "a.wdgt"})
        EXPECT_TRUE(isPackageName(name)) << name;
    for (const char* name : {"app", ".app", "A.app.txt", "A.appl", "A.", "", "A.app/file", "A.zip"})
        EXPECT_FALSE(isPackageName(name)) << name;
}

} // namespace
} // namespace vt

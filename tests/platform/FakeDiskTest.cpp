// What the fake disk adds to the file contracts: faults, hooks, limits, coarse dates, names without case, pulled
// drives.
#include "support/CopyWitness.h"
#include "support/TreeLiteral.h"

#include "platform/fake/FakeClock.h"
#include "platform/fake/FakeDriveFiles.h"

#include <cerrno>
#include <gmock/gmock.h>

namespace vt::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class FakeDiskTest : public testing::Test {
  protected:
    FakeDiskVolume& mount() { return _disk.mount("/media/stick"); }

    FakeClock _clock;
    FakeDisk _disk{_clock};
    FakeFiles _files{_disk};
    FakeItemCopy _copier{_disk};
    CopyWitness _witness;
};

TEST_F(FakeDiskTest, everyMatchingCallFailsUntilTheFaultsAreCleared) {
    buildTree(_files, _files, "/home", {file("a/x", "1"), file("b/x", "2")});
    _disk.faults().fail("read", "/home/a", EIO);
    EXPECT_EQ(_files.read("/home/a/x", 10).code(), EIO);
    EXPECT_EQ(_files.read("/home/a/x", 10).code(), EIO);
    EXPECT_TRUE(_files.read("/home/b/x", 10).ok());
    EXPECT_TRUE(_files.attributes("/home/a/x").ok());
    _disk.faults().clear();
    EXPECT_TRUE(_files.read("/home/a/x", 10).ok());
}

TEST_F(FakeDiskTest, onlyTheNthCallFailsWhenANumberIsGiven) {
    _disk.faults().fail("makeDirectory", "", ENOSPC, 2);
    EXPECT_TRUE(_files.makeDirectory("/a", 0755).ok());
    EXPECT_EQ(_files.makeDirectory("/b", 0755).code(), ENOSPC);
    EXPECT_TRUE(_files.makeDirectory("/b", 0755).ok());
}

TEST_F(FakeDiskTest, theLogTellsEveryCallInOrder) {
    buildTree(_files, _files, "/home", {file("a", "1")});
    _disk.faults().clearLog();
    EXPECT_TRUE(_files.move("/home/a", "/home/b", Replace::never).ok());
    EXPECT_TRUE(_files.attributes("/home/b").ok());
    EXPECT_THAT(_disk.faults().log(), ElementsAre("move /home/a -> /home/b", "attributes /home/b"));
}

TEST_F(FakeDiskTest, aHookRunsJustBeforeTheCallAndMayChangeTheDisk) {
    buildTree(_files, _files, "/home", {file("a", "1")});
    _disk.faults().before("copyFile", "/home/a",
                          [&](const std::string& path) { EXPECT_TRUE(_files.append(path, "23").ok()); });
    EXPECT_TRUE(_copier.copyItem("/home/a", "/home/b", _witness).done);
    EXPECT_EQ(_files.read("/home/b", 10).valueOr(""), "123");
}

TEST_F(FakeDiskTest, aFullVolumeTakesNoMore) {
    mount().capacity = 10;
    EXPECT_TRUE(_files.create("/media/stick/a", "123456", 0644).ok());
    EXPECT_EQ(_files.create("/media/stick/b", "123456", 0644).code(), ENOSPC);
    EXPECT_EQ(_files.append("/media/stick/a", "12345").code(), ENOSPC);
    buildTree(_files, _files, "/home", {file("a", "12345")});
    EXPECT_FALSE(_copier.copyItem("/home/a", "/media/stick/c", _witness).done);
    EXPECT_EQ(_witness.errors(), std::vector<int>{ENOSPC});
    EXPECT_THAT(pathsOf(_files, _files, "/media/stick"), ElementsAre("a"));
}

TEST_F(FakeDiskTest, namesWithoutCaseAreOneAndKeepTheirSpelling) {
    mount().capabilities.caseSensitive = false;
    EXPECT_TRUE(_files.create("/media/stick/Photo.JPG", "x", 0644).ok());
    EXPECT_EQ(_files.create("/media/stick/photo.jpg", "y", 0644).code(), EEXIST);
    EXPECT_TRUE(_files.attributes("/media/stick/PHOTO.jpg").ok());
    EXPECT_TRUE(_files.move("/media/stick/Photo.JPG", "/media/stick/photo.jpg", Replace::always).ok());
    EXPECT_THAT(_files.listNames("/media/stick").valueOr({}), ElementsAre("photo.jpg"));
}

TEST_F(FakeDiskTest, coarseDatesAreRoundedAndACopyIsNeverLaterThanItsSource) {
    constexpr std::int64_t twoSeconds = 2'000'000'000;
    const Date odd = Date::fromSeconds(1'000'000'001, 5);
    buildTree(_files, _files, "/home", {file("a", "x", odd)});
    FakeDiskVolume& volume = mount();
    volume.capabilities.dateGranularity = twoSeconds;
    EXPECT_TRUE(_files.create("/media/stick/f", "", 0644).ok());
    EXPECT_TRUE(_files.setModified("/media/stick/f", odd).ok());
    EXPECT_EQ(_files.attributes("/media/stick/f")->modified, Date::fromSeconds(1'000'000'000));
    volume.roundsDatesUp = true;
    EXPECT_TRUE(_files.setModified("/media/stick/f", odd).ok());
    EXPECT_EQ(_files.attributes("/media/stick/f")->modified, Date::fromSeconds(1'000'000'002));
    EXPECT_TRUE(_copier.copyItem("/home/a", "/media/stick/a", _witness).done);
    EXPECT_EQ(_files.attributes("/media/stick/a")->modified, Date::fromSeconds(1'000'000'000));
}

TEST_F(FakeDiskTest, aDateThatCannotBeSetFailsTheFile) {
    buildTree(_files, _files, "/home", {file("a", "x")});
    _disk.faults().fail("setDates", "", EPERM);
    EXPECT_FALSE(_copier.copyItem("/home/a", "/home/b", _witness).done);
    EXPECT_EQ(_witness.errors(), std::vector<int>{EPERM});
    EXPECT_EQ(_files.attributes("/home/b").code(), ENOENT);
}

TEST_F(FakeDiskTest, aPulledVolumeAnswersNothingAndTheFolderUnderAnUnmountedOneShows) {
    mount();
    EXPECT_TRUE(_files.create("/media/stick/f", "x", 0644).ok());
    _disk.pull("/media/stick", EIO);
    EXPECT_EQ(_files.attributes("/media/stick/f").code(), EIO);
    EXPECT_EQ(_files.create("/media/stick/g", "x", 0644).code(), EIO);
    EXPECT_TRUE(_files.attributes("/media").ok());
    _disk.unmount("/media/stick");
    EXPECT_THAT(_files.listNames("/media/stick").valueOr({"?"}), IsEmpty());
}

TEST_F(FakeDiskTest, aDriveThatIsPulledDuringACopyIsOneError) {
    mount();
    buildTree(_files, _files, "/home", {file("a", std::string(3 * 1024 * 1024, 'x'))});
    _disk.faults().before("copyData", "/home/a", [&](const std::string&) { _disk.pull("/media/stick", ENODEV); });
    EXPECT_FALSE(_copier.copyItem("/home/a", "/media/stick/a", _witness).done);
    EXPECT_EQ(_witness.errors(), std::vector<int>{ENODEV});
}

TEST_F(FakeDiskTest, twoVolumesAreTwoDevices) {
    mount();
    buildTree(_files, _files, "/home", {file("a", "x"), folder("m")});
    EXPECT_EQ(_files.move("/home/a", "/media/stick/a", Replace::never).code(), EXDEV);
    EXPECT_NE(_files.attributes("/home")->device, _files.attributes("/media/stick")->device);
    EXPECT_EQ(_files.remove("/media", [](const Error&) { return true; }).code(), EXDEV);
    EXPECT_EQ(_files.remove("/media/stick", {}).code(), EBUSY);
    mount().readOnly = true;
    EXPECT_EQ(_files.create("/media/stick/a", "", 0644).code(), EROFS);
}

TEST_F(FakeDiskTest, linksAreRefusedWhereTheVolumeHoldsNone) {
    mount().capabilities.holdsLinks = false;
    EXPECT_EQ(_files.makeLink("/media/stick/l", "x").code(), EPERM);
}

TEST_F(FakeDiskTest, aDirectoryHandleRecognisesItsVolume) {
    FakeDriveFilesFactory factory(_disk);
    mount();
    const auto first = factory.open("/media/stick");
    ASSERT_TRUE(first.ok());
    const std::string identity = (*first)->identity().valueOr("");
    EXPECT_EQ((*factory.open("/media/stick"))->identity().valueOr("?"), identity);
    _disk.unmount("/media/stick");
    EXPECT_NE((*factory.open("/media/stick"))->identity().valueOr(identity), identity);
    EXPECT_EQ(factory.open("/nowhere").code(), ENOENT);
}

} // namespace
} // namespace vt::test

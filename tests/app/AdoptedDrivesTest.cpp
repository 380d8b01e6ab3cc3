// The list of adopted drives: kept across starts, whatever the paths' bytes, and never lost to a broken file.
#include "app/AdoptedDrives.h"
#include "AppWorld.h"

namespace vt::test {
namespace {

constexpr const char* listFile = "/home/ada/.config/com.corvane.vantaro/adopted-drives.plist";

class AdoptedDrivesTest : public ::testing::Test {
  protected:
    AppWorld world;
    ApplicationServices services = world.services();
    WorldHost host{world.clock};
    AdoptedDrives drives{services, host};
    const AdoptedDrive volume{"/media/stick", "1111-2222", false};
    const AdoptedDrive folder{"/srv/caf\xe9 \n", std::nullopt, true};

    AdoptedDrives readAgain() {
        AdoptedDrives again(services, host);
        again.load();
        return again;
    }
};

TEST_F(AdoptedDrivesTest, WhatIsRememberedIsThereAtTheNextStart) {
    ASSERT_TRUE(drives.remember(volume).ok());
    ASSERT_TRUE(drives.remember(folder).ok());
    const auto again = readAgain();
    EXPECT_TRUE(again.isAdopted(volume));
    EXPECT_EQ(again.folders(), std::vector<std::string>{folder.path});
    EXPECT_FALSE(again.isForgotten(volume));
}

TEST_F(AdoptedDrivesTest, AVolumeIsKnownByItsNumberAndElseByItsPlace) {
    ASSERT_TRUE(drives.remember(volume).ok());
    ASSERT_TRUE(drives.remember({"/media/old", std::nullopt, false}).ok());
    EXPECT_TRUE(drives.isAdopted({"/media/elsewhere", "1111-2222", false}));
    EXPECT_FALSE(drives.isAdopted({"/media/stick", "3333", false}));
    EXPECT_FALSE(drives.isAdopted({"/media/stick", std::nullopt, false}));
    EXPECT_FALSE(drives.isAdopted({"/media/stick", "1111-2222", true}));
    EXPECT_TRUE(drives.isAdopted({"/media/old", std::nullopt, false}));
    EXPECT_FALSE(drives.isAdopted({"/media/old", "4444", false}));
}

TEST_F(AdoptedDrivesTest, AForgottenVolumeStaysForgottenUntilItIsAdoptedAgain) {
    ASSERT_TRUE(drives.remember(volume).ok());
    ASSERT_TRUE(drives.forget(volume).ok());
    EXPECT_TRUE(readAgain().isForgotten(volume));
    EXPECT_FALSE(readAgain().isAdopted(volume));
    ASSERT_TRUE(drives.remember(volume).ok());
    EXPECT_FALSE(readAgain().isForgotten(volume));
    // A folder is nothing once it is let go: there is nothing to remember.
    ASSERT_TRUE(drives.remember(folder).ok());
    ASSERT_TRUE(drives.forget(folder).ok());
    EXPECT_FALSE(readAgain().isForgotten(folder));
}

TEST_F(AdoptedDrivesTest, ABrokenListIsKeptAndSaidAndReadAsEmpty) {
    for (const std::string content : {"<plist><dict>", "", "<?xml version=\"1.0\"?><plist><array/></plist>"}) {
        world.makeFolders(paths::parent(listFile));
        ASSERT_TRUE(world.files.writeAtomically(listFile, content, 0600).ok());
        host.forget();
        const auto again = readAgain();
        EXPECT_TRUE(again.folders().empty());
        EXPECT_EQ(world.read(std::string(listFile) + ".broken"), content);
        EXPECT_TRUE(
            host.has(std::string("The list of adopted drives is broken and is kept as \"") + listFile + ".broken\"."));
    }
}

TEST_F(AdoptedDrivesTest, AListThatCannotBeReadIsKeptBeforeAnotherTakesItsPlace) {
    ASSERT_TRUE(drives.remember(volume).ok());
    const auto before = world.read(listFile);
    world.disk.faults().fail("read", listFile, EIO);
    auto again = readAgain();
    EXPECT_TRUE(host.has(std::string("The list of adopted drives cannot be read: ") +
                         Error::fromErrno(EIO, listFile).describe() + "."));
    EXPECT_EQ(world.files.attributes(std::string(listFile) + ".broken").code(), ENOENT);
    ASSERT_TRUE(again.remember(folder).ok());
    world.disk.faults().clear();
    EXPECT_EQ(world.read(std::string(listFile) + ".broken"), before);
    EXPECT_EQ(readAgain().folders(), std::vector<std::string>{folder.path});
}

TEST_F(AdoptedDrivesTest, AnAdoptionThatCannotBeRememberedIsNone) {
    world.disk.faults().fail("makeDirectory", paths::parent(listFile), EROFS);
    for (int attempt = 0; attempt < 2; ++attempt) {
        const auto remembered = drives.remember(volume);
        ASSERT_FALSE(remembered.ok());
        EXPECT_EQ(remembered.error().text, "the folder cannot be made");
        EXPECT_EQ(remembered.error().path, paths::parent(listFile));
        EXPECT_FALSE(drives.isAdopted(volume));
    }
    world.disk.faults().clear();
    EXPECT_TRUE(drives.remember(volume).ok());
    EXPECT_TRUE(readAgain().isAdopted(volume));
}

TEST_F(AdoptedDrivesTest, EntriesThatMakeNoSenseAreLeftOut) {
    world.makeFolders(paths::parent(listFile));
    const std::string content =
        "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict><key>adopted-drives</key><array><string>/x</string>"
        "<dict><key>path</key><string>/as/text</string><key>folder</key><true/></dict>"
        "<dict><key>path</key><data>cmVsYXRpdmU=</data><key>folder</key><true/></dict>"
        "<dict><key>path</key><data>L3Nydi9v</data><key>folder</key><true/></dict></array>"
        "<key>forgotten-drives</key><string>none</string></dict></plist>";
    ASSERT_TRUE(world.files.writeAtomically(listFile, content, 0600).ok());
    EXPECT_EQ(readAgain().folders(), std::vector<std::string>{"/srv/o"});
}

} // namespace
} // namespace vt::test

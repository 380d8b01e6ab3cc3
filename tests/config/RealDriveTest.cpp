// The configuration on this computer's own file system: what only a real one can put in a file's place.
#include "ConfigurationWorld.h"
#include "platform/linux/LinuxFiles.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sys/stat.h>

namespace vt::test {
namespace {

namespace fs = std::filesystem;

struct ConfigurationOnARealDrive : testing::Test {
    ConfigurationWorld world;
    LinuxFiles files;
    fs::path drive;
    fs::path file;

    void SetUp() override {
        std::string name = (fs::temp_directory_path() / "vantaro-config-XXXXXX").string();
        ASSERT_NE(mkdtemp(name.data()), nullptr);
        drive = name;
        file = drive / ".VantaroConfig";
    }
    void TearDown() override { fs::remove_all(drive); }
    std::shared_ptr<VTConfigurationFile> open() {
        return VTConfigurationFile::configWithMountPoint(
            drive.string(), VTConfigurationFile::ptop,
            {files, files, world.propertyLists, world.preferences, world.system, world.host, world.clock, world.log});
    }
    fs::path kept() const { return drive / "Archived Vantaro Backups" / "2013-05-21" / ".VantaroConfig"; }
};

TEST_F(ConfigurationOnARealDrive, WritesReadsAndRemoves) {
    const auto config = open();
    ASSERT_TRUE(config->addUserToList());
    ASSERT_TRUE(config->setSyncItemList(Items{"~/Music"}));
    EXPECT_EQ(open()->syncItemList(), Items{"~/Music"});
    EXPECT_EQ(static_cast<unsigned>(fs::status(file).permissions()), 0666U);
    std::ofstream(drive / ".d$f.mark") << "x";
    EXPECT_TRUE(config->removeSyncConfiguration());
    EXPECT_FALSE(fs::exists(file));
    EXPECT_FALSE(fs::exists(drive / ".d$f.mark"));
    EXPECT_TRUE(fs::exists(kept()));
}

TEST_F(ConfigurationOnARealDrive, APipeInItsPlaceIsNeverOpened) {
    ASSERT_EQ(mkfifo(file.c_str(), 0666), 0);
    const auto config = open();
    EXPECT_FALSE(config->dictionary());
    EXPECT_TRUE(config->addUserToList());
    EXPECT_TRUE(fs::is_fifo(kept()));
    EXPECT_TRUE(fs::is_regular_file(file));
}

TEST_F(ConfigurationOnARealDrive, ALinkInItsPlaceIsNeitherReadNorWrittenThrough) {
    std::ofstream(drive / "target") << "untouched";
    fs::create_symlink("target", file);
    const auto config = open();
    EXPECT_FALSE(config->dictionary());
    EXPECT_TRUE(config->addUserToList());
    EXPECT_TRUE(fs::is_symlink(kept()));
    EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(file)));
    std::string text;
    std::getline(std::ifstream(drive / "target"), text);
    EXPECT_EQ(text, "untouched");
}

TEST_F(ConfigurationOnARealDrive, AFolderInItsPlaceStays) {
    fs::create_directory(file);
    EXPECT_FALSE(open()->addUserToList());
    EXPECT_TRUE(fs::is_directory(file));
    EXPECT_FALSE(fs::exists(kept()));
}

} // namespace
} // namespace vt::test

#include "platform/linux/LinuxFileSystemTable.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>

namespace vt {
namespace {

namespace fs = std::filesystem;

struct KnownFileSystems : testing::Test {
    fs::path folder;
    void SetUp() override {
        std::string name = (fs::temp_directory_path() / "vantaro-fs-XXXXXX").string();
        ASSERT_NE(mkdtemp(name.data()), nullptr);
        folder = name;
    }
    void TearDown() override { fs::remove_all(folder); }
    void addProgram(const std::string& name) {
        std::ofstream(folder / name) << "#!/bin/sh\n";
        fs::permissions(folder / name, fs::perms::owner_all);
    }
    std::map<std::string, FileSystemPersonality> all(const std::string& kernelList = "") {
        std::ofstream(folder / "filesystems") << kernelList;
        std::map<std::string, FileSystemPersonality> found;
        for (const auto& bundle : LinuxFileSystemTable({folder.string()}, (folder / "filesystems").string()).bundles())
            for (const auto& personality : *bundle.personalities) found[personality.personality] = personality;
        return found;
    }
};

TEST_F(KnownFileSystems, CarryTheKindsAndContentsOfDiskDescriptions) {
    const auto found = all();
    EXPECT_EQ(found.at("msdos").contentHint, "Windows_FAT_32");
    EXPECT_EQ(found.at("MS-DOS FAT32").contentHint, "DOS_FAT_32");
    EXPECT_EQ(found.at("NTFS").contentHint, "Windows_NTFS");
    EXPECT_EQ(found.at("hfs").contentHint, "Apple_HFS");
    EXPECT_TRUE(found.contains("exfat"));
    EXPECT_FALSE(found.contains("NTFS-3G"));
    for (const auto& [name, personality] : found) EXPECT_FALSE(personality.canFormat) << name;
}

TEST_F(KnownFileSystems, AreFormattableWhereTheirProgramIsFound) {
    addProgram("mkfs.ntfs");
    addProgram("mkfs.fat");
    std::ofstream(folder / "mkfs.exfat") << "not a program";
    const auto found = all();
    EXPECT_TRUE(found.at("NTFS").canFormat);
    EXPECT_TRUE(found.at("msdos").canFormat);
    EXPECT_FALSE(found.at("exfat").canFormat);
}

TEST_F(KnownFileSystems, IncludeWhatTheKernelOffersBesides) {
    addProgram("mkfs.other");
    const auto found = all("nodev\tproc\n\text4\nnodev\toverlay\n\tother\n\tvfat\n");
    EXPECT_EQ(found.at("overlay").name, "overlay");
    EXPECT_FALSE(found.at("overlay").canFormat);
    EXPECT_TRUE(found.at("other").canFormat);
    EXPECT_FALSE(found.contains("vfat"));
}

TEST_F(KnownFileSystems, OfThisComputerCanBeListed) {
    LinuxFileSystemTable table;
    EXPECT_FALSE(table.bundles().empty());
    EXPECT_FALSE(table.ntfsDriverDisabled());
}

} // namespace
} // namespace vt

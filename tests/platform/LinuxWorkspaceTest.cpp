#include "platform/linux/LinuxWorkspace.h"

#include "platform/fake/FakeSystemIdentity.h"
#include "platform/linux/Spawn.h"
#include "support/VolumeGrounds.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <sys/stat.h>

namespace vt::test {
namespace {

namespace fs = std::filesystem;

void write(const std::string& path, const std::string& content) {
    std::ofstream(path) << content;
}

std::string read(const std::string& path) {
    std::stringstream text;
    text << std::ifstream(path).rdbuf();
    return text.str();
}

class LinuxWorkspaceTest : public ::testing::Test {
  protected:
    void SetUp() override {
        system.dataFolder = folder / "home/.local/share";
        system.user = ::getuid();
        fs::create_directories(system.dataFolder);
    }
    std::string trash(const std::string& below) const { return system.dataFolder + "/Trash/" + below; }

    TemporaryFolder folder;
    FakeSystemIdentity system;
    LinuxWorkspace workspace{system};
};

TEST_F(LinuxWorkspaceTest, HomesTrashTakesWhatLiesOnHomesVolume) {
    write(folder / "a b\n\xff.txt", "content");
    ASSERT_TRUE(workspace.recycle(folder / "a b\n\xff.txt").ok());
    EXPECT_FALSE(fs::exists(folder / "a b\n\xff.txt"));
    EXPECT_EQ(read(trash("files/a b\n\xff.txt")), "content");
    const std::string info = read(trash("info/a b\n\xff.txt.trashinfo"));
    const std::string expected = "[Trash Info]\nPath=" + folder.path() + "/a%20b%0A%FF.txt\nDeletionDate=";
    EXPECT_EQ(info.substr(0, expected.size()), expected);
    EXPECT_EQ(info.size(), expected.size() + std::string("2013-05-21T14:03:07\n").size());
    EXPECT_EQ(fs::status(trash("files")).permissions(), fs::perms::owner_all);
}

TEST_F(LinuxWorkspaceTest, ATakenNameGetsANumber) {
    for (const char* content : {"one", "two", "three"}) {
        write(folder / "name", content);
        ASSERT_TRUE(workspace.recycle(folder / "name").ok());
    }
    EXPECT_EQ(read(trash("files/name")), "one");
    EXPECT_EQ(read(trash("files/name.2")), "two");
    EXPECT_EQ(read(trash("files/name.3")), "three");
    EXPECT_TRUE(fs::exists(trash("info/name.3.trashinfo")));
}

TEST_F(LinuxWorkspaceTest, ALongNameIsShortenedInTheTrash) {
    const std::string name(255, 'n');
    write(folder / name, "content");
    ASSERT_TRUE(workspace.recycle(folder / name).ok());
    EXPECT_TRUE(fs::exists(trash("files/" + std::string(245, 'n'))));
}

TEST_F(LinuxWorkspaceTest, ALinkIsMovedAndNeverFollowed) {
    write(folder / "target", "content");
    fs::create_symlink(folder / "target", folder / "link");
    ASSERT_TRUE(workspace.recycle(folder / "link").ok());
    EXPECT_TRUE(fs::is_symlink(trash("files/link")));
    EXPECT_TRUE(fs::exists(folder / "target"));
}

TEST_F(LinuxWorkspaceTest, WhatIsNotThereIsAnError) {
    EXPECT_EQ(workspace.recycle(folder / "missing").code(), ENOENT);
}

TEST_F(LinuxWorkspaceTest, AnotherVolumeHasATrashOfItsOwn) {
    enterPrivateMounts();
    const std::string drive = folder / "drive";
    fs::create_directories(drive);
    ASSERT_EQ(::mount("memory", drive.c_str(), "tmpfs", 0, "size=1m"), 0);
    fs::create_directories(drive + "/sub");
    write(drive + "/sub/file", "content");
    ASSERT_TRUE(workspace.recycle(drive + "/sub/file").ok());
    const std::string own = drive + "/.Trash-" + std::to_string(::getuid());
    EXPECT_EQ(read(own + "/files/file"), "content");
    EXPECT_NE(read(own + "/info/file.trashinfo").find("\nPath=sub/file\n"), std::string::npos);

    // A prepared shared trash goes before it, but only with the sticky bit.
    fs::create_directories(drive + "/.Trash");
    write(drive + "/second", "content");
    ASSERT_TRUE(workspace.recycle(drive + "/second").ok());
    EXPECT_TRUE(fs::exists(own + "/files/second"));
    ::chmod((drive + "/.Trash").c_str(), 01777);
    write(drive + "/third", "content");
    ASSERT_TRUE(workspace.recycle(drive + "/third").ok());
    EXPECT_TRUE(fs::exists(drive + "/.Trash/" + std::to_string(::getuid()) + "/files/third"));
    ::umount2(drive.c_str(), MNT_DETACH);
}

TEST_F(LinuxWorkspaceTest, ATrashThatIsALinkIsRefused) {
    fs::create_directories(folder / "elsewhere");
    fs::create_symlink(folder / "elsewhere", system.dataFolder + "/Trash");
    write(folder / "file", "content");
    EXPECT_EQ(workspace.recycle(folder / "file").code(), ENOTDIR);
    EXPECT_TRUE(fs::exists(folder / "file"));
}

TEST_F(LinuxWorkspaceTest, OpeningStartsTheProgramAndDoesNotWait) {
    const std::string pipe = folder / "pipe";
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    write(folder / "opener", "#!/bin/sh\necho \"$1\" > '" + pipe + "'\n");
    fs::permissions(folder / "opener", fs::perms::owner_all);
    LinuxWorkspace own(system, folder / "opener");
    ASSERT_TRUE(own.open("file:///a b"));
    EXPECT_EQ(read(pipe), "file:///a b\n"); // waits for the program
    EXPECT_FALSE(own.open(""));
    EXPECT_FALSE(own.open("--help"));
    EXPECT_FALSE(LinuxWorkspace(system, folder / "no such program").open("/a"));
}

TEST(Spawn, ExitCodesAndSignalsAreTold) {
    EXPECT_EQ(runAndWait({"true"}).valueOr(-1), 0);
    EXPECT_EQ(runAndWait({"sh", "-c", "exit 3"}).valueOr(-1), 3);
    EXPECT_EQ(runAndWait({"sh", "-c", "kill -9 $$"}).valueOr(-1), 137);
    EXPECT_EQ(runAndWait({"/no/such/program"}).code(), ENOENT);
}

} // namespace
} // namespace vt::test

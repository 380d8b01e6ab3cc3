#include "config/utilities/FileCreation.h"

#include "platform/fake/FakeClock.h"
#include "platform/fake/FakeFiles.h"

#include <gtest/gtest.h>

#include <cerrno>

namespace vt {
namespace {

class NotedLines : public LogSink {
  public:
    std::vector<std::string> lines;
    void logMessage(std::string_view text) override { lines.emplace_back(text); }
    void debugMessage(std::string_view) override {}
    [[nodiscard]] bool debugEnabled() const override { return false; }
};

class FileCreation : public testing::Test {
  protected:
    bool makeFolder(const std::string& path, bool recurse, const std::uint32_t* mode = nullptr) {
        return createDirectoryAtPath(files, path, mode, recurse, true);
    }
    bool makeFile(const std::string& path, const std::string& contents, bool createPathElements) {
        return createFileAtPath(files, files, log, path, contents, nullptr, createPathElements, false);
    }
    bool isFolder(const std::string& path) {
        const auto attributes = files.attributes(path);
        return attributes && attributes->isDirectory();
    }

    FakeClock clock;
    FakeDisk disk{clock};
    FakeFiles files{disk};
    NotedLines log;
};

TEST_F(FileCreation, MakesMissingParentsOnlyWhenAsked) {
    EXPECT_FALSE(makeFolder("/a/b/c", false));
    EXPECT_FALSE(isFolder("/a"));
    EXPECT_TRUE(makeFolder("/a//b/./c/", true));
    EXPECT_TRUE(isFolder("/a/b/c"));
    EXPECT_EQ(files.attributes("/a/b")->mode, 0755U);
    EXPECT_TRUE(makeFolder("/", true));
}

TEST_F(FileCreation, GivesTheModeToEveryFolderThatItMakes) {
    const std::uint32_t mode = 0777;
    EXPECT_TRUE(makeFolder("/a/b", true, &mode));
    EXPECT_EQ(files.attributes("/a")->mode, 0777U);
    EXPECT_EQ(files.attributes("/a/b")->mode, 0777U);
}

TEST_F(FileCreation, WhatStandsThereIsGoodOnlyAsAFolder) {
    ASSERT_TRUE(files.create("/file", "x", 0644).ok());
    ASSERT_TRUE(files.makeDirectory("/folder", 0755).ok());
    EXPECT_TRUE(makeFolder("/folder", false));
    EXPECT_FALSE(makeFolder("/file", true));
    EXPECT_FALSE(makeFolder("/file/below", true));
    EXPECT_EQ(files.read("/file", 9).valueOr(""), "x");
}

TEST_F(FileCreation, FollowsOneLinkAndNotASecond) {
    ASSERT_TRUE(files.makeDirectory("/folder", 0755).ok());
    ASSERT_TRUE(files.makeLink("/one", "folder").ok());
    ASSERT_TRUE(files.makeLink("/two", "/one").ok());
    ASSERT_TRUE(files.makeLink("/gone", "nowhere").ok());
    EXPECT_TRUE(makeFolder("/one", true));
    EXPECT_TRUE(makeFolder("/one/below", true));
    EXPECT_TRUE(isFolder("/folder/below"));
    EXPECT_FALSE(makeFolder("/two", true));
    EXPECT_FALSE(makeFolder("/two/below2", true));
    EXPECT_FALSE(makeFolder("/gone/below", true));
}

TEST_F(FileCreation, AFailureOnTheWayEndsIt) {
    disk.faults().fail("makeDirectory", "/a/b", EACCES);
    EXPECT_FALSE(makeFolder("/a/b/c", true));
    EXPECT_TRUE(isFolder("/a")); // nothing is rolled back
}

TEST_F(FileCreation, MakesAVeryDeepFolder) {
    std::string path;
    for (int i = 0; i < 500; ++i) path += "/d";
    EXPECT_TRUE(makeFolder(path, true));
    EXPECT_TRUE(isFolder(path));
}

TEST_F(FileCreation, MakesAFileAndItsFolders) {
    EXPECT_TRUE(makeFile("/Library/Logs/Vantaro.log", "text", true));
    EXPECT_EQ(files.read("/Library/Logs/Vantaro.log", 99).valueOr(""), "text");
    EXPECT_TRUE(log.lines.empty());
}

TEST_F(FileCreation, AnExistingFileGetsTheNewContents) {
    EXPECT_TRUE(makeFile("/file", "old", false));
    EXPECT_TRUE(makeFile("/file", "new", false));
    EXPECT_EQ(files.read("/file", 99).valueOr(""), "new");
}

TEST_F(FileCreation, MissingFoldersAreMadeOnlyWhenAsked) {
    EXPECT_FALSE(makeFile("/a/b/file", "", false));
    EXPECT_FALSE(isFolder("/a"));
    EXPECT_TRUE(log.lines.empty());
}

TEST_F(FileCreation, FailingTwiceIsLogged) {
    disk.faults().fail("create", "/a/file", EACCES);
    EXPECT_FALSE(makeFile("/a/file", "", true));
    EXPECT_EQ(log.lines, std::vector<std::string>{"Unable to create file at /a/file."});
}

TEST_F(FileCreation, AFolderInTheFilesPlaceStays) {
    ASSERT_TRUE(files.makeDirectory("/a", 0755).ok());
    EXPECT_FALSE(makeFile("/a", "x", true));
    EXPECT_TRUE(isFolder("/a"));
}

} // namespace
} // namespace vt

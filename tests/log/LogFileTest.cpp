// The log's file on a real file system.
#include "log/LogFile.h"
#include "platform/linux/LinuxFiles.h"
#include "support/TemporaryFolder.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace vt::test {
namespace {

TEST(LogFileOnDisk, WhatALinkLeadsToIsNeverReplacedByAFileWhereItIsNone) {
    const TemporaryFolder folder;
    LinuxFiles files;
    LogFile log(files, files);
    ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
    std::filesystem::create_symlink("pipe", folder / "log");
    log.setPath(folder / "log");
    EXPECT_FALSE(log.write(folder / "log", "text"));
    EXPECT_EQ(files.attributes(folder / "pipe")->kind, FileKind::other);
    EXPECT_TRUE(files.attributes(folder / "log")->isLink());
}

TEST(LogFileOnDisk, ALinkToALinkThatLeadsToNoFileStaysAsItIs) {
    const TemporaryFolder folder;
    LinuxFiles files;
    LogFile log(files, files);
    ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
    std::filesystem::create_symlink("pipe", folder / "between");
    std::filesystem::create_symlink("between", folder / "log");
    log.setPath(folder / "log");
    EXPECT_FALSE(log.write(folder / "log", "text"));
    EXPECT_TRUE(files.attributes(folder / "between")->isLink());
    EXPECT_EQ(files.attributes(folder / "pipe")->kind, FileKind::other);
}

} // namespace
} // namespace vt::test

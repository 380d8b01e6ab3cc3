#include "TreeFixture.h"

#include "sync/report/MRLDeleteErrorReporter.h"

#include <cerrno>

namespace vt::test {
namespace {

using ::testing::internal::CaptureStderr;
using ::testing::internal::GetCapturedStderr;

class TreeCopyTest : public TreeFixture {};

TEST_F(TreeCopyTest, NewFileIsCopiedWithItsDateAndCounted) {
    computer({file("a.txt", "hello", Date::fromSeconds(1'300'000'000, 5))});
    EXPECT_TRUE(copy("a.txt", "deep/er/a.txt"));
    EXPECT_EQ(contentOf(d("deep/er/a.txt")), "hello");
    EXPECT_EQ(files.attributes(d("deep/er/a.txt"))->modified, Date::fromSeconds(1'300'000'000, 5));
    EXPECT_EQ(controller->events, (Lines{"path /home/ann/a.txt", "reset", "path none", "copied 512"}));
    EXPECT_TRUE(controller->failed.empty());
}

TEST_F(TreeCopyTest, MissingSourceIsFalseAndOwedToNobody) {
    EXPECT_FALSE(copy("nothing", "nothing"));
    EXPECT_TRUE(controller->failed.empty());
    EXPECT_TRUE(controller->events.empty());
}

TEST_F(TreeCopyTest, SourceThatCannotBeLookedAtIsOwed) {
    computer({file("a.txt", "x")});
    disk.faults().fail("attributes", h("a.txt"), EIO);
    EXPECT_FALSE(copy("a.txt", "a.txt"));
    EXPECT_EQ(controller->failed, (Lines{h("a.txt")}));
}

TEST_F(TreeCopyTest, FileOntoExistingFileIsFalseAndLeavesItAlone) {
    computer({file("a.txt", "new")});
    onDrive({file("a.txt", "old")});
    CaptureStderr();
    EXPECT_FALSE(copy("a.txt", "a.txt"));
    EXPECT_NE(GetCapturedStderr().find("object exists in destination path /mnt/drive/a.txt"), std::string::npos);
    EXPECT_EQ(contentOf(d("a.txt")), "old");
    EXPECT_TRUE(log.lines.empty());
    EXPECT_TRUE(controller->log.empty());
}

TEST_F(TreeCopyTest, RefusedFileIsFalseAndCountsAsFiltered) {
    computer({file("a.txt", "hello")});
    filter.refused = {"a.txt"};
    EXPECT_FALSE(copy("a.txt", "sub/a.txt"));
    EXPECT_EQ(controller->filtered, 512U);
    EXPECT_EQ(drivePaths(), (Lines{"sub/"})); // its folder was made before the question
}

TEST_F(TreeCopyTest, FailedCopyCountsAsCopiedAndLeavesNoFile) {
    computer({file("a.txt", std::string(600, 'x'))});
    disk.faults().fail("copyData", "", EIO);
    controller->answer = false;
    EXPECT_FALSE(copy("a.txt", "a.txt"));
    EXPECT_EQ(controller->copied, 1024U);
    EXPECT_TRUE(drivePaths().empty());
    EXPECT_EQ(controller->failed, (Lines{h("a.txt")}));
    EXPECT_TRUE(controller->cancelled);
}

TEST_F(TreeCopyTest, SkippedCopyIsTrueAndOwed) {
    computer({file("a.txt", "x")});
    disk.faults().fail("copyData", "", EIO);
    EXPECT_TRUE(copy("a.txt", "a.txt"));
    EXPECT_TRUE(drivePaths().empty());
    EXPECT_EQ(controller->failed, (Lines{h("a.txt") + " skipped"}));
    EXPECT_EQ(controller->alerts.size(), 1U);
}

TEST_F(TreeCopyTest, ParentThatCannotBeMadeIsLoggedWithItsPath) {
    computer({file("a.txt", "x")});
    onDrive({file("sub", "a file")});
    EXPECT_FALSE(copy("a.txt", "sub/a.txt"));
    EXPECT_EQ(log.lines, (Lines{"Unable to create directory at /mnt/drive/sub."}));
}

TEST_F(TreeCopyTest, DestinationWithoutParentIsFalse) {
    computer({file("a.txt", "x")});
    EXPECT_FALSE(tree().copyPathOntoPath(h("a.txt"), "bare", true, reporter.get()));
}

TEST_F(TreeCopyTest, NewFolderIsCopiedAndCommitted) {
    computer({file("F/a", "1"), file("F/sub/b", "2")});
    EXPECT_TRUE(copy("F", "F"));
    EXPECT_EQ(drivePaths(), (Lines{"F/", "F/a", "F/sub/", "F/sub/b"}));
    const Lines commits{"commit /mnt/drive/F/sub", "commit /mnt/drive/F"};
    Lines seen;
    for (const auto& event : controller->events)
        if (event.starts_with("commit")) seen.push_back(event);
    EXPECT_EQ(seen, commits);
}

TEST_F(TreeCopyTest, FolderWithNothingAcceptableIsNotMadeAndTrue) {
    computer({file("F/a", "12345"), file("F/b", std::string(513, 'x'))});
    filter.refused = {"a", "b"};
    EXPECT_TRUE(copy("F", "F"));
    EXPECT_TRUE(drivePaths().empty());
    EXPECT_EQ(controller->filtered, 512U + 1024U);
    EXPECT_TRUE(controller->events.empty());
}

TEST_F(TreeCopyTest, EmptyNewFolderIsNotMadeAndTrue) {
    computer({folder("F")});
    EXPECT_TRUE(copy("F", "F"));
    EXPECT_TRUE(drivePaths().empty());
}

TEST_F(TreeCopyTest, PlainSubfolderIsAcceptableAndMakesTheFolder) {
    computer({file("F/a", "1"), file("F/sub/b", "2")});
    filter.refused = {"a", "b"};
    EXPECT_TRUE(copy("F", "F"));
    EXPECT_EQ(drivePaths(), (Lines{"F/"}));
}

TEST_F(TreeCopyTest, AcceptableFileBelowARefusedFolderMakesTheFolderOnly) {
    computer({file("F/refused/deep/ok", "1")});
    filter.refused = {"refused", "deep"};
    EXPECT_TRUE(copy("F", "F"));
    EXPECT_EQ(drivePaths(), (Lines{"F/"}));
    EXPECT_EQ(controller->filtered, 512U);
}

TEST_F(TreeCopyTest, FolderThatCannotBeMadeIsLogged) {
    computer({file("F/a", "1")});
    disk.faults().fail("makeDirectory", d("F"), ENOSPC);
    EXPECT_FALSE(copy("F", "F"));
    EXPECT_EQ(log.lines, (Lines{"Unable to create directory at /mnt/drive/F."}));
    EXPECT_EQ(controller->failed, (Lines{h("F")}));
}

TEST_F(TreeCopyTest, FirstFailureEndsAFolderWhichIsCommittedAllTheSame) {
    computer({file("F/a", "1"), file("F/b", "2"), file("F/c", "3")});
    onDrive({folder("F")});
    disk.faults().fail("copyFile", h("F/b"), EIO);
    controller->answer = false;
    EXPECT_FALSE(copy("F", "F"));
    EXPECT_EQ(drivePaths(), (Lines{"F/", "F/a"}));
    EXPECT_EQ(log.lines, (Lines{"Copy of /home/ann/F/b onto /mnt/drive/F/b failed."}));
    EXPECT_EQ(controller->events.back(), "commit /mnt/drive/F");
}

TEST_F(TreeCopyTest, NestedFailureIsLoggedAtEveryLevel) {
    computer({file("F/sub/a", "1")});
    onDrive({file("F/sub/a", "old")});
    EXPECT_FALSE(copy("F", "F"));
    EXPECT_EQ(log.lines, (Lines{"Copy of /home/ann/F/sub/a onto /mnt/drive/F/sub/a failed.",
                                "Copy of /home/ann/F/sub onto /mnt/drive/F/sub failed."}));
}

TEST_F(TreeCopyTest, EmptyFolderOntoAFolderIsTrueWithoutACommit) {
    computer({folder("F")});
    onDrive({folder("F")});
    EXPECT_TRUE(copy("F", "F"));
    EXPECT_TRUE(controller->events.empty());
}

TEST_F(TreeCopyTest, RefusedEntrySetsTheFoldersResultToTrue) {
    computer({file("F/z", "1")});
    onDrive({folder("F")});
    filter.refused = {"z"};
    EXPECT_TRUE(copy("F", "F"));
    EXPECT_EQ(controller->filtered, 512U);
    EXPECT_EQ(controller->events, (Lines{"commit /mnt/drive/F"}));
}

TEST_F(TreeCopyTest, FolderMeetsFileAsksTheHandlerWhoseGoOnIsTheResult) {
    computer({file("F/a", "1"), file("g", "2")});
    onDrive({file("F", "file"), folder("g")});
    EXPECT_TRUE(copy("F", "F"));
    EXPECT_TRUE(copy("g", "g"));
    EXPECT_EQ(controller->failed, (Lines{h("F") + " skipped", h("g") + " skipped"}));
    EXPECT_TRUE(controller->log.empty()); // counted, not logged
    EXPECT_EQ(reporter->errorCount(), 2);
    EXPECT_EQ(contentOf(d("F")), "file");
    controller->answer = false;
    EXPECT_FALSE(copy("F", "F"));
    EXPECT_EQ(controller->failed.back(), h("F"));
    EXPECT_FALSE(tree().copyPathOntoPath(h("F"), d("F"), true, nullptr));
}

TEST_F(TreeCopyTest, PackageIsCopiedAsOneItemWithoutACommit) {
    computer({file("P.rtfd/TXT.rtf", "text"), file("P.rtfd/in/pic.png", "pic")});
    EXPECT_TRUE(copy("P.rtfd", "P.rtfd"));
    EXPECT_EQ(drivePaths(), (Lines{"P.rtfd/", "P.rtfd/TXT.rtf", "P.rtfd/in/", "P.rtfd/in/pic.png"}));
    EXPECT_EQ(controller->events, (Lines{"path /home/ann/P.rtfd", "reset", "path none", "copied 1024"}));
}

TEST_F(TreeCopyTest, PackageOntoPackageGoesOnAfterFailuresAndNamesThePackages) {
    computer({file("P.app/a", "1"), file("P.app/b", "2"), file("P.app/c", "3")});
    onDrive({file("P.app/a", "old")});
    EXPECT_TRUE(copy("P.app", "P.app")); // the last entry decides
    EXPECT_EQ(log.lines, (Lines{"Copy of /home/ann/P.app to /mnt/drive/P.app failed."}));
    EXPECT_EQ(drivePaths(), (Lines{"P.app/", "P.app/a", "P.app/b", "P.app/c"}));
    EXPECT_EQ(contentOf(d("P.app/a")), "old");
}

TEST_F(TreeCopyTest, LastEntryOfAPackageDecides) {
    computer({file("P.app/a", "1"), file("P.app/z", "2")});
    onDrive({file("P.app/z", "old")});
    EXPECT_FALSE(copy("P.app", "P.app"));
    EXPECT_TRUE(files.attributes(d("P.app/a")).ok());
}

TEST_F(TreeCopyTest, RefusedPackageEntriesLeaveTheResultAlone) {
    computer({file("P.app/a", "1")});
    onDrive({folder("P.app")});
    filter.refused = {"a"};
    EXPECT_FALSE(copy("P.app", "P.app"));
    EXPECT_EQ(controller->filtered, 512U);
}

TEST_F(TreeCopyTest, PackageOntoFileMeetsItsMissingFolderForEveryEntry) {
    computer({file("P.app/a", "1"), file("P.app/b", "2")});
    onDrive({file("P.app", "a file")});
    EXPECT_FALSE(copy("P.app", "P.app"));
    EXPECT_EQ(contentOf(d("P.app")), "a file");
    EXPECT_EQ(log.lines.size(), 4U);
    EXPECT_EQ(log.lines.front(), "Unable to create directory at /mnt/drive/P.app.");
}

TEST_F(TreeCopyTest, LinkInANewFolderIsCopiedAsALink) {
    computer({file("F/a", "1"), link("F/l", "a"), link("F/dangling", "/nowhere")});
    EXPECT_TRUE(copy("F", "F"));
    EXPECT_EQ(*files.readLink(d("F/l")), "a");
    EXPECT_EQ(*files.readLink(d("F/dangling")), "/nowhere");
    EXPECT_EQ(controller->copied, 512U);
}

TEST_F(TreeCopyTest, LinkCountsAsRefusedWhereTheDriveHoldsNone) {
    disk.volumeOf(drive).capabilities.holdsLinks = false;
    computer({file("F/a", "1"), link("F/l", "a")});
    EXPECT_TRUE(copy("F", "F"));
    EXPECT_EQ(drivePaths(), (Lines{"F/", "F/a"}));
    EXPECT_TRUE(controller->failed.empty());
    computer({link("top", "F")});
    EXPECT_TRUE(copy("top", "top"));
    EXPECT_FALSE(files.attributes(d("top")).ok());
}

TEST_F(TreeCopyTest, LinkThatCannotBeReadIsFalse) {
    computer({link("l", "a")});
    disk.faults().fail("readLink", h("l"), EIO);
    EXPECT_FALSE(copy("l", "l"));
    EXPECT_EQ(controller->failed, (Lines{h("l")}));
}

TEST_F(TreeCopyTest, LinksAndFailuresOfLateComeLast) {
    computer({file("F/a", "1"), file("F/bad/x", "2"), link("F/b", "a"), file("F/c", "3")});
    services.failedBefore = [&](const std::string& path) { return path == h("F/bad"); };
    EXPECT_TRUE(copy("F", "F"));
    Lines order;
    for (const auto& event : controller->events)
        if (event.starts_with("path /")) order.push_back(event.substr(5));
    EXPECT_EQ(order, (Lines{h("F/a"), h("F/c"), h("F/b"), h("F/bad/x")}));
}

TEST_F(TreeCopyTest, FailureOfLateDoesNotKeepTheOthersFromTheDrive) {
    computer({file("F/a", "1"), file("F/b", "2")});
    services.failedBefore = [&](const std::string& path) { return path == h("F/a"); };
    disk.faults().fail("copyFile", h("F/a"), EIO);
    controller->answer = false;
    EXPECT_FALSE(copy("F", "F"));
    EXPECT_EQ(drivePaths(), (Lines{"F/", "F/b"}));
}

TEST_F(TreeCopyTest, FolderThatCannotBeListedIsTrueLoggedAndOwed) {
    computer({file("F/a", "1"), file("F/locked/x", "2"), file("F/z", "3")});
    disk.faults().fail("list", h("F/locked"), EACCES);
    EXPECT_TRUE(copy("F", "F"));
    EXPECT_EQ(drivePaths(), (Lines{"F/", "F/a", "F/z"}));
    EXPECT_EQ(log.lines, (Lines{"Unable to list \"/home/ann/F/locked\" - Permission denied."}));
    EXPECT_EQ(controller->failed, (Lines{h("F/locked")}));
}

TEST_F(TreeCopyTest, ClosedFolderIsNotEntered) {
    computer({file("F/a", "1"), file("F/mnt/deep/x", "2")});
    const auto root = files.attributes(h("F/mnt"))->inode;
    services.closed = [root](const FileAttributes& item) { return item.inode == root; };
    EXPECT_TRUE(copy("F", "F"));
    EXPECT_EQ(drivePaths(), (Lines{"F/", "F/a"}));
    EXPECT_EQ(log.lines, (Lines{"\"/home/ann/F/mnt\" is the root of a served drive and is left out."}));
}

TEST_F(TreeCopyTest, SecondNameForATargetIsLoggedAndSkipped) {
    disk.volumeOf(drive).capabilities.caseSensitive = false;
    computer({file("F/A.txt", "1"), file("F/a.TXT", "2"), file("F/b", "3")});
    EXPECT_TRUE(copy("F", "F"));
    EXPECT_EQ(contentOf(d("F/A.txt")), "1");
    EXPECT_EQ(drivePaths(), (Lines{"F/", "F/A.txt", "F/b"}));
    ASSERT_EQ(log.lines.size(), 1U);
    EXPECT_NE(log.lines[0].find("Skipping \"/home/ann/F/a.TXT\""), std::string::npos);
}

TEST_F(TreeCopyTest, LimitHoldsOnlyWhereTheDestinationExists) {
    volumes.types[drive] = "msdos";
    computer({file("limited", "x")});
    EXPECT_TRUE(copy("limited", "limited")); // not there yet
    computer({file("F/limited", "x"), file("F/z", "y")});
    onDrive({folder("F")});
    EXPECT_TRUE(copy("F", "F"));
    EXPECT_EQ(drivePaths(), (Lines{"F/", "F/z", "limited"}));
    EXPECT_FALSE(copy("limited", "limited"));
    EXPECT_EQ(controller->filtered, 1024U);
}

TEST_F(TreeCopyTest, FilesOfFourGigabytesFailBeforeTheirFirstByteOnFat) {
    disk.volumeOf(drive).capabilities.largestFile = 100;
    computer({file("big", std::string(101, 'x'))});
    EXPECT_TRUE(copy("big", "big"));
    EXPECT_EQ(controller->log, (Lines{"Unable to copy \"/home/ann/big\" to \"/mnt/drive/big\" - File too large."}));
    EXPECT_EQ(asked("copyData"), 0);
    EXPECT_TRUE(drivePaths().empty());
}

TEST_F(TreeCopyTest, HandlerWithoutAgentQuestionsLetsACopyFailSilently) {
    computer({file("a", "1")});
    disk.faults().fail("copyFile", "", EIO);
    auto other = MRLDeleteErrorReporter::create(controller);
    EXPECT_FALSE(tree().copyPathOntoPath(h("a"), d("a"), true, other.get()));
    EXPECT_TRUE(controller->alerts.empty());
}

TEST_F(TreeCopyTest, CancelDuringACopyIsNoFailureOfThePath) {
    computer({file("F/a", std::string(3U << 20U, 'x')), file("F/b", "2")});
    disk.faults().before("copyData", h("F/a"), [&](const std::string&) { controller->cancelled = true; });
    CaptureStderr();
    EXPECT_FALSE(copy("F", "F"));
    EXPECT_NE(GetCapturedStderr().find("Cancelling copy"), std::string::npos);
    EXPECT_EQ(drivePaths(), (Lines{"F/"}));
    EXPECT_TRUE(controller->failed.empty());
    EXPECT_TRUE(controller->alerts.empty());
}

TEST_F(TreeCopyTest, StrangeNamesPassUnharmed) {
    const std::string strange[] = {"a b", "quote\"'", "new\nline", "not\xff utf8", "%@ %s %n", "-rf", "*"};
    std::vector<TreeItem> items;
    for (const auto& name : strange) items.push_back(file("F/" + name, name));
    computer(items);
    EXPECT_TRUE(copy("F", "F"));
    for (const auto& name : strange) EXPECT_EQ(contentOf(d("F/" + name)), name);
    disk.faults().fail("copyFile", "", EIO);
    computer({file("%1$@\xff", "x")});
    EXPECT_TRUE(copy("%1$@\xff", "%@"));
    EXPECT_EQ(controller->log,
              (Lines{"Unable to copy \"/home/ann/%1$@\xEF\xBF\xBD\" to \"/mnt/drive/%@\" - Input/output error."}));
}

TEST_F(TreeCopyTest, DeepTreeDoesNotNeedADeepStack) {
    std::string path = h("T");
    files.makeDirectory(path, 0755).ignore();
    for (int i = 0; i < 300; ++i) {
        path += "/d";
        files.makeDirectory(path, 0755).ignore();
    }
    files.create(path + "/leaf", "x", 0644).ignore();
    EXPECT_TRUE(copy("T", "T"));
    EXPECT_EQ(contentOf(drive + path.substr(std::string(home).size()) + "/leaf"), "x");
}

TEST_F(TreeCopyTest, NewFileCostsNoLookBesideTheListing) {
    computer({file("F/a", "1"), file("F/b", "2"), file("F/sub/c", "3"), link("F/l", "a")});
    disk.faults().clearLog();
    volumes.statCalls = 0;
    EXPECT_TRUE(copy("F", "F"));
    EXPECT_EQ(asked("attributes", h("F/a")) + asked("attributes", d("F/a")), 0);
    EXPECT_EQ(asked("attributes", h("F/sub/c")) + asked("attributes", d("F/sub/c")), 0);
    EXPECT_EQ(asked("list", h("F")), 1); // shared between the search and the copy
    EXPECT_EQ(asked("list", h("F/sub")), 1);
    EXPECT_EQ(asked("attributesFollowing"), 1); // the link
    EXPECT_TRUE(filter.looks.empty());
    EXPECT_EQ(volumes.statCalls, 0);
    EXPECT_EQ(filter.questions.size(), 5U); // each item once: what the search found is not asked again
}

TEST_F(TreeCopyTest, ExistingFolderAsksForItsVolumeOnce) {
    computer({file("F/a", "1"), file("F/sub/b", "2")});
    onDrive({folder("F/sub")});
    volumes.statCalls = 0;
    EXPECT_TRUE(copy("F", "F"));
    EXPECT_EQ(volumes.statCalls, 1);
}

} // namespace
} // namespace vt::test

#include "TreeFixture.h"

#include "sync/tree/ReplacementGuard.h"

#include <cerrno>

namespace vt::test {
namespace {

class TreeMoveTest : public TreeFixture {
  protected:
    [[nodiscard]] bool locked(const std::string& path) { return files.attributes(path)->immutable; }
    void lock(const std::string& path) { ASSERT_TRUE(files.setImmutable(path, true).ok()); }
};

TEST_F(TreeMoveTest, MissingSourceIsFalse) {
    EXPECT_FALSE(move("gone", "x"));
}

TEST_F(TreeMoveTest, AbsentDestinationGetsItsParentsAndOneRename) {
    onDrive({file("w/F/a", "1"), file("w/F/sub/b", "2")});
    EXPECT_TRUE(move("w/F", "x/y/F"));
    EXPECT_EQ(drivePaths(), (Lines{"w/", "x/", "x/y/", "x/y/F/", "x/y/F/a", "x/y/F/sub/", "x/y/F/sub/b"}));
    EXPECT_EQ(asked("move"), 1);
}

TEST_F(TreeMoveTest, LockedFileIsUnlockedMovedAndLockedAgain) {
    onDrive({file("w/a", "1")});
    lock(d("w/a"));
    EXPECT_TRUE(move("w/a", "a"));
    EXPECT_TRUE(locked(d("a")));
}

TEST_F(TreeMoveTest, LockingAgainDecidesTheResultOnlyAtAnAbsentDestination) {
    onDrive({file("w/a", "1"), file("w/b", "2"), file("b", "old")});
    lock(d("w/a"));
    lock(d("w/b"));
    disk.faults().fail("setImmutable", d("a"), EIO);
    disk.faults().fail("setImmutable", d("b"), EIO);
    EXPECT_FALSE(move("w/a", "a"));
    EXPECT_TRUE(files.attributes(d("a")).ok());
    EXPECT_TRUE(move("w/b", "b"));
    EXPECT_EQ(contentOf(d("b")), "2");
}

TEST_F(TreeMoveTest, FailedUnlockOfTheSourceIsLogged) {
    onDrive({file("w/a", "1")});
    lock(d("w/a"));
    disk.faults().fail("setImmutable", d("w/a"), EPERM);
    EXPECT_FALSE(move("w/a", "a"));
    EXPECT_EQ(log.lines, (Lines{"unlocking source failed"}));
}

TEST_F(TreeMoveTest, FailedUnlockOfTheDestinationIsNotLogged) {
    onDrive({file("w/a", "1"), file("a", "old")});
    lock(d("a"));
    disk.faults().fail("setImmutable", d("a"), EPERM);
    EXPECT_FALSE(move("w/a", "a"));
    EXPECT_TRUE(log.lines.empty());
    EXPECT_EQ(contentOf(d("a")), "old");
}

TEST_F(TreeMoveTest, FileOverFileIsOneRename) {
    onDrive({file("w/a", "new"), file("a", "old")});
    disk.faults().clearLog();
    EXPECT_TRUE(move("w/a", "a"));
    EXPECT_EQ(contentOf(d("a")), "new");
    EXPECT_EQ(asked("remove"), 0);
    EXPECT_EQ(asked("move"), 1);
}

TEST_F(TreeMoveTest, LockedTargetIsReplacedAndItsLockStaysWhenItIsNot) {
    onDrive({file("w/a", "new"), file("a", "old"), file("w/b", "new"), file("b", "old")});
    lock(d("a"));
    lock(d("b"));
    EXPECT_TRUE(move("w/a", "a"));
    EXPECT_EQ(contentOf(d("a")), "new");
    EXPECT_FALSE(locked(d("a")));
    disk.faults().fail("move", d("b"), EIO);
    controller->answer = false;
    EXPECT_FALSE(move("w/b", "b"));
    EXPECT_EQ(contentOf(d("b")), "old");
    EXPECT_TRUE(locked(d("b")));
}

TEST_F(TreeMoveTest, FailedRenameAsksTheHandlerWhoseGoOnIsTheResult) {
    onDrive({file("w/a", "new"), file("a", "old")});
    disk.faults().fail("move", d("a"), EIO);
    EXPECT_TRUE(move("w/a", "a"));
    EXPECT_EQ(controller->log, (Lines{"Unable to copy \"/mnt/drive/w/a\" to \"/mnt/drive/a\" - Input/output error."}));
    EXPECT_EQ(contentOf(d("a")), "old");
    EXPECT_EQ(contentOf(d("w/a")), "new");
    controller->answer = false;
    EXPECT_FALSE(move("w/a", "a"));
    EXPECT_FALSE(tree().movePathOntoPath(d("w/a"), d("a"), true, nullptr));
}

TEST_F(TreeMoveTest, FoldersMergeAndTheEmptiedSourceStays) {
    onDrive({file("w/F/a", "new"), file("w/F/sub/b", "2"), file("F/a", "old"), file("F/c", "3"), folder("F/sub")});
    EXPECT_TRUE(move("w/F", "F"));
    EXPECT_EQ(drivePaths(), (Lines{"F/", "F/a", "F/c", "F/sub/", "F/sub/b", "w/", "w/F/", "w/F/sub/"}));
    EXPECT_EQ(contentOf(d("F/a")), "new");
}

TEST_F(TreeMoveTest, EmptyFolderOntoAFolderIsTrue) {
    onDrive({folder("w/F"), file("F/a", "1")});
    EXPECT_TRUE(move("w/F", "F"));
}

TEST_F(TreeMoveTest, FirstFailureStopsAFolder) {
    onDrive({file("w/F/a", "1"), file("w/F/b", "2"), file("w/F/c", "3"), folder("F")});
    disk.faults().fail("move", d("w/F/b"), EIO);
    controller->answer = false;
    EXPECT_FALSE(move("w/F", "F"));
    EXPECT_EQ(drivePaths(), (Lines{"F/", "F/a", "w/", "w/F/", "w/F/b", "w/F/c"}));
}

TEST_F(TreeMoveTest, FolderMeetsFileAsksTheHandler) {
    onDrive({file("w/F/a", "1"), file("F", "file")});
    EXPECT_TRUE(move("w/F", "F"));
    EXPECT_EQ(contentOf(d("F")), "file");
    controller->answer = false;
    EXPECT_FALSE(move("w/F", "F"));
    EXPECT_FALSE(tree().movePathOntoPath(d("w/F"), d("F"), true, nullptr));
}

TEST_F(TreeMoveTest, PackageIsExchangedByOneRename) {
    onDrive({file("w/P.app/new", "1"), file("P.app/old", "2")});
    disk.faults().clearLog();
    EXPECT_TRUE(move("w/P.app", "P.app"));
    EXPECT_EQ(drivePaths(), (Lines{"P.app/", "P.app/new", "w/"}));
    EXPECT_EQ(asked("move"), 1);
}

TEST_F(TreeMoveTest, PackageWithoutExchangeIsRemovedFirst) {
    onDrive({file("w/P.app/new", "1"), file("P.app/old", "2")});
    disk.faults().fail("move", d("P.app"), EINVAL, 1);
    EXPECT_TRUE(move("w/P.app", "P.app"));
    EXPECT_EQ(drivePaths(), (Lines{"P.app/", "P.app/new", "w/"}));
}

TEST_F(TreeMoveTest, PackageThatCannotBeRemovedIsAskedAboutAndFalse) {
    onDrive({file("w/P.app/new", "1"), file("P.app/old", "2")});
    disk.faults().fail("move", d("P.app"), EINVAL, 1);
    disk.faults().fail("remove", d("P.app"), EIO);
    controller->answer = false;
    EXPECT_FALSE(move("w/P.app", "P.app"));
    EXPECT_EQ(controller->log, (Lines{"Unable to copy \"/mnt/drive/P.app\"- Input/output error."}));
    EXPECT_EQ(contentOf(d("w/P.app/new")), "1");
}

TEST_F(TreeMoveTest, PackageReplacesAFileAndBack) {
    onDrive({file("w/P.app/new", "1"), file("P.app", "file"), file("w/Q.app", "file"), file("Q.app/old", "2")});
    EXPECT_TRUE(move("w/P.app", "P.app"));
    EXPECT_TRUE(move("w/Q.app", "Q.app"));
    EXPECT_EQ(drivePaths(), (Lines{"P.app/", "P.app/new", "Q.app", "w/"}));
}

TEST_F(TreeMoveTest, SomethingThatAppearsAtAFreePlaceIsNotReplaced) {
    onDrive({file("w/a", "new")});
    disk.faults().before("move", d("w/a"),
                         [&](const std::string&) { files.create(d("a"), "the person's", 0644).ignore(); });
    controller->answer = false;
    EXPECT_FALSE(move("w/a", "a"));
    EXPECT_EQ(contentOf(d("a")), "the person's");
    EXPECT_EQ(contentOf(d("w/a")), "new");
}

TEST_F(TreeMoveTest, LinksAreReplacedNotFollowed) {
    onDrive({file("w/a", "new"), link("a", "target"), file("target", "stays")});
    EXPECT_TRUE(move("w/a", "a"));
    EXPECT_EQ(contentOf(d("a")), "new");
    EXPECT_EQ(contentOf(d("target")), "stays");
}

} // namespace
} // namespace vt::test

#include "sync/workfolders/WorkFolders.h"

#include "TreeFixture.h"

#include "platform/fake/FakeWorkspace.h"
#include "sync/keep/BesideNames.h"
#include "sync/workfolders/SpaceCheck.h"

#include <cerrno>

namespace vt::test {
namespace {

class WorkFoldersTest : public TreeFixture {
  protected:
    [[nodiscard]] WorkFolders folders() {
        return WorkFolders({root, work, local}, {files,
                                                 workspace,
                                                 operations,
                                                 [&](const std::string& line) { debug.push_back(line); },
                                                 [&](const std::string& line) { lines.push_back(line); },
                                                 [&] { return reporter; },
                                                 [&] { return stops; },
                                                 [&](const std::string& path) { left.push_back(path); },
                                                 {},
                                                 &besides,
                                                 [&] { ++commits; }});
    }
    std::string root = "/mnt/drive/ann_box";
    std::string work = root + "/.Z_VT_W/ID-1000";
    std::string local = "/home/ann/.Z_VT_W/UUID";
    FakeWorkspace workspace;
    TreeOperations operations = tree();
    Lines debug, lines, left;
    bool stops = false;
    int commits = 0;
    BesideNames besides{files, root, work + ".replaced", [&](const std::string& line) { lines.push_back(line); }};
};

TEST_F(WorkFoldersTest, PreparationMakesTheThreeFoldersOpenToAll) {
    EXPECT_TRUE(folders().prepare());
    EXPECT_EQ(files.attributes(root)->mode, 0777U);
    EXPECT_EQ(files.attributes(work)->mode, 0777U);
    EXPECT_TRUE(files.attributes(local)->isDirectory());
    EXPECT_EQ(debug, (Lines{"-deleteTempFolders: deleting global \"" + work + "\".",
                            "-deleteTempFolders: \"" + work + "\" was  NOT deleted.",
                            "-deleteTempFolders: recycling \"" + work + "\" failed.",
                            "-deleteTempFolders: deleting local \"" + local + "\".",
                            "-deleteTempFolders: \"" + local + "\" was  NOT deleted.",
                            "-deleteTempFolders: recycling \"" + local + "\" failed.", "-sync: creating " + work + ".",
                            "-sync: creating " + local + "."}));
    EXPECT_TRUE(lines.empty());
    EXPECT_TRUE(workspace.recycled().empty()); // never what is missing
}

TEST_F(WorkFoldersTest, ExistingTargetRootIsLeftAsItIs) {
    files.makeDirectory(root, 0700).ignore();
    EXPECT_TRUE(folders().prepare());
    EXPECT_EQ(files.attributes(root)->mode, 0700U);
}

TEST_F(WorkFoldersTest, PreparationRemovesWhatAnEarlierSyncStaged) {
    EXPECT_TRUE(folders().prepare());
    files.create(work + "/stale", "x", 0644).ignore();
    files.create(local + "/stale", "x", 0644).ignore();
    debug.clear();
    EXPECT_TRUE(folders().prepare());
    EXPECT_FALSE(files.attributes(work + "/stale").ok());
    EXPECT_FALSE(files.attributes(local + "/stale").ok());
    EXPECT_EQ(debug[1], "-deleteTempFolders: \"" + work + "\" was  deleted.");
}

TEST_F(WorkFoldersTest, TargetThatCannotBeMadeIsNo) {
    disk.faults().fail("makeDirectory", root, EROFS);
    EXPECT_FALSE(folders().prepare());
    EXPECT_EQ(lines, (Lines{"-sync: unable to create target folder " + root + "."}));
    EXPECT_FALSE(files.attributes(local).ok());
}

TEST_F(WorkFoldersTest, GoneVolumeIsNo) {
    disk.pull(drive, ENODEV);
    EXPECT_FALSE(folders().prepare());
    EXPECT_EQ(lines, (Lines{"-sync: unable to create target folder " + root + "."}));
}

TEST_F(WorkFoldersTest, DriveWorkFolderThatCannotBeMadeIsNoAndEndsThePreparation) {
    disk.faults().fail("makeDirectory", work, ENOSPC);
    EXPECT_FALSE(folders().prepare());
    EXPECT_EQ(lines, (Lines{"-sync: unable to create temporary folder " + work + " for Mac->Pushkey copying."}));
    EXPECT_FALSE(files.attributes(local).ok());
}

TEST_F(WorkFoldersTest, ComputerWorkFolderThatCannotBeMadeIsOnlyLogged) {
    disk.faults().fail("makeDirectory", local, EACCES);
    EXPECT_TRUE(folders().prepare());
    EXPECT_EQ(lines, (Lines{"-sync: unable to create temporary folder " + local + " for Pushkey->Mac copying."}));
}

TEST_F(WorkFoldersTest, CommitMovesEntriesAndRemovesTheFolder) {
    onDrive({file("ann_box/.Z_VT_W/ID-1000/a", "new"), file("ann_box/.Z_VT_W/ID-1000/D/b", "new"),
             file("ann_box/a", "old"), folder("ann_box/D")});
    EXPECT_TRUE(folders().processTempFolders());
    EXPECT_EQ(contentOf(root + "/a"), "new");
    EXPECT_EQ(contentOf(root + "/D/b"), "new");
    EXPECT_FALSE(files.attributes(work).ok());
    EXPECT_EQ(debug, (Lines{"-processTempFolders: finishing Mac->Pushkey sync.",
                            "                : moving \"" + work + "/D\" ->\"" + root + "/D\".",
                            "                : moving \"" + work + "/a\" ->\"" + root + "/a\"."}));
    EXPECT_TRUE(left.empty());
    EXPECT_EQ(commits, 1);
}

TEST_F(WorkFoldersTest, FolderOutsideTheWorkFolderIsRefusedButLogged) {
    onDrive({file("elsewhere/a", "1")});
    EXPECT_FALSE(folders().processATempFolder(d("elsewhere")));
    EXPECT_EQ(debug, (Lines{"-processTempFolders: finishing Mac->Pushkey sync."}));
    EXPECT_EQ(contentOf(d("elsewhere/a")), "1");
    EXPECT_EQ(commits, 0);
}

TEST_F(WorkFoldersTest, NewFolderIsCommittedByOneRename) {
    onDrive({file("ann_box/.Z_VT_W/ID-1000/N/M/a", "1"), file("ann_box/.Z_VT_W/ID-1000/N/M/b", "2")});
    files.setImmutable(work + "/N/M/b", true).ignore();
    disk.faults().clearLog();
    EXPECT_TRUE(folders().processATempFolder(work + "/N/M"));
    EXPECT_EQ(contentOf(root + "/N/M/a"), "1");
    EXPECT_TRUE(files.attributes(root + "/N/M/b")->immutable);
    EXPECT_EQ(asked("move"), 1);
    EXPECT_EQ(debug.size(), 3U); // as if entry by entry
    EXPECT_EQ(debug[2], "                : moving \"" + work + "/N/M/b\" ->\"" + root + "/N/M/b\".");
}

TEST_F(WorkFoldersTest, FailedRenameOfAWholeFolderGoesEntryByEntry) {
    onDrive({file("ann_box/.Z_VT_W/ID-1000/N/a", "1")});
    disk.faults().fail("move", work + "/N", EIO, 1);
    EXPECT_TRUE(folders().processATempFolder(work + "/N"));
    EXPECT_EQ(contentOf(root + "/N/a"), "1");
}

TEST_F(WorkFoldersTest, EmptyFolderMakesNothing) {
    onDrive({folder("ann_box/.Z_VT_W/ID-1000/N")});
    EXPECT_TRUE(folders().processATempFolder(work + "/N"));
    EXPECT_FALSE(files.attributes(root + "/N").ok());
    EXPECT_FALSE(files.attributes(work + "/N").ok());
}

TEST_F(WorkFoldersTest, FirstRefusedMoveStopsTheCommitAndTheRestIsLeftBehind) {
    onDrive({file("ann_box/.Z_VT_W/ID-1000/a", "1"), file("ann_box/.Z_VT_W/ID-1000/b", "2"),
             file("ann_box/.Z_VT_W/ID-1000/c/P.app/in", "3")});
    disk.faults().fail("move", work + "/b", EIO);
    controller->answer = false;
    EXPECT_TRUE(folders().processTempFolders()); // the answer is that of the removal
    EXPECT_EQ(contentOf(root + "/a"), "1");
    EXPECT_EQ(left, (Lines{work + "/b", work + "/c/P.app"}));
    EXPECT_FALSE(files.attributes(work).ok());
}

TEST_F(WorkFoldersTest, ConflictThatThePersonGoesOnWithIsLeftBehind) {
    onDrive({file("ann_box/.Z_VT_W/ID-1000/F/a", "1"), file("ann_box/F", "file")});
    EXPECT_TRUE(folders().processTempFolders());
    EXPECT_EQ(left, (Lines{work + "/F/a"}));
    EXPECT_EQ(contentOf(root + "/F"), "file");
}

TEST_F(WorkFoldersTest, CancelWithNoStopsTheCommitAndRemovesTheFolderAllTheSame) {
    onDrive({file("ann_box/.Z_VT_W/ID-1000/N/a", "1")});
    stops = true;
    EXPECT_TRUE(folders().processATempFolder(work + "/N"));
    EXPECT_FALSE(files.attributes(root + "/N").ok());
    EXPECT_FALSE(files.attributes(work + "/N").ok());
    EXPECT_EQ(left, (Lines{work + "/N/a"}));
}

TEST_F(WorkFoldersTest, CommitAnswersWhetherItsFolderCouldBeRemoved) {
    onDrive({file("ann_box/.Z_VT_W/ID-1000/a", "1")});
    disk.faults().fail("remove", work, EACCES);
    EXPECT_FALSE(folders().processTempFolders());
    EXPECT_EQ(contentOf(root + "/a"), "1");
}

TEST_F(WorkFoldersTest, NewFoldersAreCommittedDuringTheCopyInnermostFirst) {
    computer({file("F/a", "1"), file("F/sub/b", "2"), file("F/sub/deep/c", "3")});
    EXPECT_TRUE(folders().prepare());
    controller->commit = [&](const std::string& folder) { return folders().processATempFolder(folder); };
    EXPECT_TRUE(operations.copyPathOntoPath(h("F"), work + "/F", true, reporter.get()));
    EXPECT_EQ(pathsOf(files, files, root + "/F"), (Lines{"a", "sub/", "sub/b", "sub/deep/", "sub/deep/c"}));
    EXPECT_TRUE(left.empty());
    EXPECT_TRUE(controller->failed.empty());
}

TEST_F(WorkFoldersTest, DeletionAnswersWhetherNeitherFolderIsThere) {
    EXPECT_TRUE(folders().deleteTempFolders());
    EXPECT_TRUE(folders().prepare());
    disk.faults().fail("remove", work, EACCES);
    EXPECT_FALSE(folders().deleteTempFolders());
    EXPECT_FALSE(files.attributes(local).ok());
}

TEST_F(WorkFoldersTest, MissingFolderRunsIntoTheRecycleAttemptWhichFails) {
    EXPECT_TRUE(folders().deleteTempFolders()); // neither is there afterwards
    EXPECT_EQ(debug, (Lines{"-deleteTempFolders: deleting global \"" + work + "\".",
                            "-deleteTempFolders: \"" + work + "\" was  NOT deleted.",
                            "-deleteTempFolders: recycling \"" + work + "\" failed.",
                            "-deleteTempFolders: deleting local \"" + local + "\".",
                            "-deleteTempFolders: \"" + local + "\" was  NOT deleted.",
                            "-deleteTempFolders: recycling \"" + local + "\" failed."}));
    EXPECT_TRUE(workspace.recycled().empty()) << "what is missing cannot be put into a trash";
    EXPECT_TRUE(lines.empty());
}

TEST_F(WorkFoldersTest, WholeFolderThatCannotBeRemovedIsRecycledAHalfRemovedOneNever) {
    EXPECT_TRUE(folders().prepare());
    files.create(work + "/a", "1", 0644).ignore();
    files.create(work + "/b", "2", 0644).ignore();
    workspace.onRecycle = [&](const std::string& path) { files.move(path, d("trash"), Replace::never).ignore(); };
    disk.faults().fail("remove", work, EIO, 3); // the folder, "a", then "b"
    debug.clear();
    EXPECT_FALSE(folders().deleteTempFolders());
    EXPECT_TRUE(workspace.recycled().empty());
    EXPECT_EQ(debug[2], "-deleteTempFolders: recycling \"" + work + "\" failed.");
    disk.faults().clear();
    disk.faults().fail("remove", work, EACCES);
    debug.clear();
    EXPECT_TRUE(folders().deleteTempFolders());
    EXPECT_EQ(workspace.recycled(), (Lines{work}));
    EXPECT_EQ(debug[2], "-deleteTempFolders: recycling \"" + work + "\" succeeded.");
}

TEST_F(WorkFoldersTest, ShortageOfSpaceIsLoggedBeforeCopying) {
    volumes.freeBytes[drive] = 1000;
    const auto note = [&](const std::string& line) { lines.push_back(line); };
    EXPECT_TRUE(checkSpaceForStaging(volumes, drive, 1000, note));
    EXPECT_TRUE(checkSpaceForStaging(volumes, "/gone", 5000, note));
    EXPECT_TRUE(lines.empty());
    EXPECT_FALSE(checkSpaceForStaging(volumes, drive, 1001, note));
    EXPECT_EQ(lines, (Lines{"\"/mnt/drive\" has 1000 bytes free, but 1001 bytes are to be copied."}));
}

} // namespace
} // namespace vt::test

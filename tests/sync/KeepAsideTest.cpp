#include "sync/keep/KeepAside.h"
#include "SeenItems.h"

#include "TreeFixture.h"

#include "platform/fake/FakeWorkspace.h"
#include "sync/keep/BesideNames.h"
#include "sync/workfolders/CommitGuard.h"
#include "sync/workfolders/WorkFolders.h"

#include <cerrno>

namespace vt::test {
namespace {

class KeepAsideTest : public TreeFixture {
  protected:
    KeepAsideTest() { services.guard = &guard; }
    [[nodiscard]] bool replace(const std::string& name) {
        return tree().movePathOntoPath(work + "/" + name, root + "/" + name, true, reporter.get());
    }
    void staged(const std::string& name, const std::string& content, Date modified = Date::fromSeconds(2000)) {
        buildTree(files, files, drive, {file("r/.w/" + name, content, modified)});
    }
    void present(const std::string& name, const std::string& content, Date modified = Date::fromSeconds(1000)) {
        buildTree(files, files, drive, {file("r/" + name, content, modified)});
    }
    void expectAsItIs(const std::string& name, bool both = false) {
        const auto item = *files.attributes(root + "/" + name);
        seen.items[root + "/" + name] = {item.modified, item.size, both};
    }
    [[nodiscard]] std::string archived(const std::string& below) const { return archive + "/" + below; }

    std::string root = "/mnt/drive/r";
    std::string work = root + "/.w";
    bool on = true;
    Lines lines;
    std::function<void(const std::string&)> note = [this](const std::string& line) { lines.push_back(line); };
    KeepAside keep{drive, {files, clock, [this] { return on; }, note}};
    BesideNames besides{files, root, root + "/.marks", note};
    SeenItems seen;
    CommitGuard guard{root, work, {keep, besides, nullptr, note, {}, nullptr, seen.answer()}};
    // The fake clock stands at noon or so of this day in any time zone that tests run in.
    std::string archive = "/mnt/drive/Archived Vantaro Backups/2013-05-21";
};

TEST_F(KeepAsideTest, FileGoesToTheArchiveUnderItsPathOnTheDrive) {
    present("a b/x", "1");
    EXPECT_EQ(keep.setAside(root + "/a b/x"), archived("r/a b/x"));
    EXPECT_EQ(contentOf(archived("r/a b/x")), "1");
    EXPECT_FALSE(files.attributes(root + "/a b/x").ok());
    EXPECT_EQ(lines, (Lines{"Kept the drive's \"/mnt/drive/r/a b/x\" as \"" + archived("r/a b/x") + "\"."}));
}

TEST_F(KeepAsideTest, TakenNamesGetANumber) {
    for (const char* content : {"1", "2", "3"}) {
        present("x", content);
        EXPECT_TRUE(keep.setAside(root + "/x").has_value());
    }
    EXPECT_EQ(contentOf(archived("r/x")), "1");
    EXPECT_EQ(contentOf(archived("r/x -1")), "2");
    EXPECT_EQ(contentOf(archived("r/x -2")), "3");
}

TEST_F(KeepAsideTest, WithoutAnArchiveItStaysInItsFolder) {
    buildTree(files, files, drive, {file("Archived Vantaro Backups", "in the way")});
    present("x", "1");
    EXPECT_EQ(keep.setAside(root + "/x"), root + "/x (kept 2013-05-21)");
    present("x", "2");
    EXPECT_EQ(keep.setAside(root + "/x"), root + "/x (kept 2013-05-21) -1");
}

TEST_F(KeepAsideTest, ImpossibleIsLoggedAndTheStepGoesAhead) {
    present("x", "1");
    disk.faults().fail("move", root + "/x", EIO);
    EXPECT_EQ(keep.setAside(root + "/x"), std::nullopt);
    EXPECT_EQ(lines, (Lines{"\"/mnt/drive/r/x\" could not be kept aside - Input/output error."}));
}

TEST_F(KeepAsideTest, SwitchedOffOrMissingDoesNothing) {
    EXPECT_EQ(keep.setAside(root + "/gone"), std::nullopt);
    present("x", "1");
    on = false;
    EXPECT_EQ(keep.setAside(root + "/x"), std::nullopt);
    EXPECT_EQ(contentOf(root + "/x"), "1");
    EXPECT_TRUE(lines.empty());
}

TEST_F(KeepAsideTest, LockedFileIsKeptLocked) {
    present("x", "1");
    files.setImmutable(root + "/x", true).ignore();
    const auto kept = keep.setAside(root + "/x");
    ASSERT_TRUE(kept);
    EXPECT_TRUE(files.attributes(*kept)->immutable);
    EXPECT_TRUE(keep.putBack(*kept, root + "/x"));
    EXPECT_TRUE(files.attributes(root + "/x")->immutable);
}

TEST_F(KeepAsideTest, OlderDriveFileOfAKind2EntryIsReplacedWithoutAnArchive) {
    staged("x", "new");
    present("x", "old");
    expectAsItIs("x");
    EXPECT_TRUE(replace("x"));
    EXPECT_EQ(contentOf(root + "/x"), "new");
    EXPECT_FALSE(files.attributes(archive).ok());
}

TEST_F(KeepAsideTest, FileChangedOnBothSidesIsSetAsideAndItsPlaceIsNeverEmpty) {
    staged("x", "computer's");
    present("x", "drive's");
    expectAsItIs("x", true);
    disk.faults().before("move", "",
                         [&](const std::string&) { EXPECT_TRUE(disk.find(root + "/x", false)->node != nullptr); });
    EXPECT_TRUE(replace("x"));
    EXPECT_EQ(contentOf(root + "/x"), "computer's");
    EXPECT_EQ(contentOf(archived("r/x")), "drive's");
}

TEST_F(KeepAsideTest, FileThatIsNotWhatTheComparisonSawIsSetAsideAndReported) {
    staged("x", "computer's");
    present("x", "old");
    expectAsItIs("x");
    present("y", "appeared");
    staged("y", "computer's");
    files.setModified(root + "/x", Date::fromSeconds(1500)).ignore();
    EXPECT_TRUE(replace("x"));
    EXPECT_TRUE(replace("y"));
    EXPECT_EQ(contentOf(archived("r/x")), "old");
    EXPECT_EQ(contentOf(archived("r/y")), "appeared");
    EXPECT_EQ(lines[0], "\"/mnt/drive/r/x\" changed on the drive while it was synchronized.");
    EXPECT_EQ(lines[2], "\"/mnt/drive/r/y\" appeared on the drive while it was synchronized.");
}

TEST_F(KeepAsideTest, FileEqualToTheStagedOneIsNotSetAside) {
    staged("x", "same", Date::fromSeconds(1000));
    present("x", "same", Date::fromSeconds(1000));
    EXPECT_TRUE(replace("x"));
    EXPECT_FALSE(files.attributes(archive).ok());
}

TEST_F(KeepAsideTest, WithoutExchangeAFailedMovePutsTheFileBack) {
    staged("x", "new");
    present("x", "drive's");
    disk.faults().fail("move", work + "/x", EINVAL, 1); // no exchange
    disk.faults().fail("move", work + "/x", EIO, 2);
    controller->answer = false;
    EXPECT_FALSE(replace("x"));
    EXPECT_EQ(contentOf(root + "/x"), "drive's");
    EXPECT_EQ(contentOf(work + "/x"), "new");
    EXPECT_FALSE(files.attributes(archived("r/x")).ok());
}

TEST_F(KeepAsideTest, WithoutExchangeTheOldFileIsKeptFirst) {
    staged("x", "new");
    present("x", "drive's");
    disk.faults().fail("move", work + "/x", EINVAL, 1);
    EXPECT_TRUE(replace("x"));
    EXPECT_EQ(contentOf(root + "/x"), "new");
    EXPECT_EQ(contentOf(archived("r/x")), "drive's");
}

TEST_F(KeepAsideTest, PackageReplacedAfterASkipIsSetAside) {
    computer({file("P.app/a", "1"), file("P.app/b", "2")});
    buildTree(files, files, drive, {file("r/P.app/a", "old"), file("r/P.app/b", "old"), folder("r/.w")});
    seen.items[root + "/P.app"] = {};
    services.staging = &guard;
    disk.faults().fail("copyFile", h("P.app/b"), EIO);
    EXPECT_TRUE(tree().copyPathOntoPath(h("P.app"), work + "/P.app", true, reporter.get()));
    EXPECT_EQ(controller->failed, (Lines{h("P.app") + " skipped"}));
    EXPECT_TRUE(replace("P.app"));
    EXPECT_EQ(pathsOf(files, files, root + "/P.app"), (Lines{"a"}));
    EXPECT_EQ(contentOf(archived("r/P.app/b")), "old");
}

TEST_F(KeepAsideTest, WholePackageIsReplacedWithoutAnArchive) {
    computer({file("P.app/a", "1")});
    buildTree(files, files, drive, {file("r/P.app/old", "old"), folder("r/.w")});
    seen.items[root + "/P.app"] = {};
    services.staging = &guard;
    EXPECT_TRUE(tree().copyPathOntoPath(h("P.app"), work + "/P.app", true, reporter.get()));
    EXPECT_TRUE(replace("P.app"));
    EXPECT_EQ(pathsOf(files, files, root + "/P.app"), (Lines{"a"}));
    EXPECT_FALSE(files.attributes(archive).ok());
}

TEST_F(KeepAsideTest, OldPackageWaitsBesideItsPlaceWhereTheDriveCannotExchange) {
    buildTree(files, files, drive, {file("r/P.app/old", "1"), file("r/.w/P.app/new", "2")});
    seen.items[root + "/P.app"] = {};
    disk.faults().fail("move", work + "/P.app", EINVAL, 1);
    const std::string beside = BesideNames::besidePath(root + "/P.app");
    bool waited = false;
    disk.faults().before("move", work + "/P.app",
                         [&](const std::string&) { waited = waited || disk.find(beside, false)->node != nullptr; });
    EXPECT_TRUE(replace("P.app"));
    EXPECT_TRUE(waited);
    EXPECT_EQ(pathsOf(files, files, root), (Lines{".marks/", ".w/", "P.app/", "P.app/new"}));
    besides.putBack();
    EXPECT_EQ(pathsOf(files, files, root), (Lines{".w/", "P.app/", "P.app/new"}));
}

TEST_F(KeepAsideTest, PreparationPutsBackWhatACrashLeftBeside) {
    buildTree(files, files, drive, {file("r/in/P.app/old", "1"), file("r/Q.app/old", "1")});
    ASSERT_TRUE(besides.stand(root + "/in/P.app"));
    ASSERT_TRUE(besides.stand(root + "/Q.app"));
    buildTree(files, files, drive, {file("r/Q.app/new", "2")}); // this one arrived before the crash
    BesideNames later{files, root, root + "/.marks", note};
    later.putBack();
    EXPECT_EQ(pathsOf(files, files, root), (Lines{"Q.app/", "Q.app/new", "in/", "in/P.app/", "in/P.app/old"}));
    EXPECT_EQ(lines, (Lines{"Put \"/mnt/drive/r/in/P.app\" back on the drive."}));
}

TEST_F(KeepAsideTest, WhatCouldNotBePutBackIsTriedAgain) {
    buildTree(files, files, drive, {file("r/in/P.app/old", "1"), file("r/Q.app/old", "1")});
    ASSERT_TRUE(besides.stand(root + "/in/P.app"));
    ASSERT_TRUE(besides.stand(root + "/Q.app"));
    disk.faults().fail("move", BesideNames::besidePath(root + "/in/P.app"), EIO, 1);
    besides.putBack();
    EXPECT_FALSE(files.attributes(root + "/in/P.app").ok());
    EXPECT_EQ(contentOf(root + "/Q.app/old"), "1");
    besides.putBack();
    EXPECT_EQ(pathsOf(files, files, root), (Lines{"Q.app/", "Q.app/old", "in/", "in/P.app/", "in/P.app/old"}));
}

TEST_F(KeepAsideTest, PackageThatCouldNotBeReplacedReturnsFromBeside) {
    buildTree(files, files, drive, {file("r/P.app/old", "1"), file("r/.w/P.app/new", "2")});
    seen.items[root + "/P.app"] = {};
    disk.faults().fail("move", work + "/P.app", EINVAL, 1);
    disk.faults().fail("move", work + "/P.app", EIO, 2);
    controller->answer = false;
    EXPECT_FALSE(replace("P.app"));
    EXPECT_EQ(contentOf(root + "/P.app/old"), "1");
}

// Something of an earlier replacement could not be removed, and still cannot: its mark must stay, the item too.
TEST_F(KeepAsideTest, TakenNameBesideKeepsItsMarkAndTheItem) {
    const std::string beside = BesideNames::besidePath(root + "/P.app");
    buildTree(files, files, drive, {file("r/P.app/old", "1"), file("r/.w/P.app/new", "2"), folder("r/.marks/P.app")});
    buildTree(files, files, drive, {file(beside.substr(std::string(drive).size() + 1) + "/older", "0")});
    seen.items[root + "/P.app"] = {};
    disk.faults().fail("move", work + "/P.app", EINVAL, 1);
    disk.faults().fail("remove", beside, EIO);
    EXPECT_TRUE(replace("P.app")); // the person goes on
    EXPECT_EQ(controller->log.back(), "Unable to copy \"" + work + "/P.app\" to \"" + root + "/P.app\" - File exists.");
    EXPECT_EQ(pathsOf(files, files, root + "/P.app"), (Lines{"old"}));
    EXPECT_EQ(contentOf(beside + "/older"), "0");
    EXPECT_TRUE(files.attributes(root + "/.marks/P.app").ok());
    disk.faults().clear();
    besides.putBack();
    EXPECT_FALSE(files.attributes(beside).ok());
    EXPECT_FALSE(files.attributes(root + "/.marks").ok());
}

TEST_F(KeepAsideTest, PackageStaysWhereItsMarkCannotBeMade) {
    buildTree(files, files, drive, {file("r/P.app/old", "1"), file("r/.w/P.app/new", "2")});
    seen.items[root + "/P.app"] = {};
    disk.faults().fail("move", work + "/P.app", EINVAL, 1);
    disk.faults().fail("makeDirectory", root + "/.marks", ENOSPC);
    controller->answer = false;
    EXPECT_FALSE(replace("P.app"));
    EXPECT_EQ(pathsOf(files, files, root + "/P.app"), (Lines{"old"}));
}

TEST_F(KeepAsideTest, NamesNearTheLimitAreCutForTheirNumber) {
    const std::string longName(255, 'n');
    for (int i = 0; i < 2; ++i) {
        present(longName, std::to_string(i));
        const auto kept = keep.setAside(root + "/" + longName);
        ASSERT_TRUE(kept);
        EXPECT_EQ(contentOf(*kept), std::to_string(i));
    }
}

} // namespace
} // namespace vt::test

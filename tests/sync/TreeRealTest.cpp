// The tree operations, work folders and safeguards on real folders, through the adapters.
#include "SeenItems.h"
#include "TreeFixture.h"

#include "platform/fake/FakeWorkspace.h"
#include "platform/linux/LinuxFiles.h"
#include "platform/linux/LinuxItemCopy.h"
#include "support/Child.h"
#include "support/TemporaryFolder.h"
#include "sync/journal/CopyJournal.h"
#include "sync/keep/BesideNames.h"
#include "sync/keep/KeepAside.h"
#include "sync/workfolders/CommitGuard.h"
#include "sync/workfolders/WorkFolders.h"

#include <cerrno>
#include <cstdlib>
#include <optional>
#include <sys/stat.h>

namespace vt::test {
namespace {

class TreeRealTest : public ::testing::Test {
  protected:
    TreeRealTest() {
        services.guard = &guard;
        services.staging = &guard;
        tree.emplace(services);
        folders.emplace(WorkFolderPaths{root, work, state.path() + "/local"},
                        WorkFolders::Services{files, workspace, *tree, [](const std::string&) {},
                                              [this](const std::string& line) { lines.push_back(line); },
                                              [this] { return reporter; }, [] { return false; },
                                              [this](const std::string& path) { left.push_back(path); },
                                              [] { return false; }, &besides, [this] { journal.noteCommitted(); }});
        controller->commit = [this](const std::string& folder) { return folders->processATempFolder(folder); };
        volumes.mounted = {drive.path()};
        EXPECT_TRUE(folders->prepare());
        journal.beginPass({root});
    }
    bool sync(const std::string& name) {
        const bool copied = tree->copyPathOntoPath(home / name, work + "/" + name, true, reporter.get());
        return copied && folders->processTempFolders() && journal.flush().ok();
    }

    TemporaryFolder home, drive, state;
    LinuxFiles files;
    LinuxItemCopy copier;
    FakeClock clock;
    FakeDisk disk{clock};
    DiskVolumes volumes{disk};
    NotingFilter filter;
    NotingLog log;
    FakeWorkspace workspace;
    Lines lines, left;
    std::function<void(const std::string&)> note = [this](const std::string& line) { lines.push_back(line); };
    std::string root = drive / "ann_box";
    std::string work = root + "/.Z_VT_W/ID-1000";
    std::shared_ptr<NotingController> controller = std::make_shared<NotingController>();
    std::shared_ptr<MRLCopyErrorReporter> reporter = MRLCopyErrorReporter::create(controller, files, volumes);
    CopyJournal journal{state / "journal",
                        {files, files, clock, [this] { return files.flushVolume(drive.path()); }, "boot", note}};
    KeepAside keep{drive.path(), {files, clock, [] { return true; }, note}};
    BesideNames besides{files, root, work + ".replaced", note};
    SeenItems seen;
    CommitGuard guard{root, work, {keep, besides, &journal, note, {}, nullptr, seen.answer()}};
    TreeOperations::Services services{files, copier, volumes, filter, log};
    std::optional<TreeOperations> tree;
    std::optional<WorkFolders> folders;
};

TEST_F(TreeRealTest, NewTreeArrivesWithContentDatesAndLinks) {
    buildTree(files, files, home.path(),
              {file("F/a", "1", Date::fromSeconds(1'000'000'000, 123'456'789), 0640), file("F/sub/deep/b", "2"),
               link("F/link", "a", Date::fromSeconds(900'000'000, 987'654'321)), folder("F/empty"),
               file("F/P.app/in/c", "3"), file("F/new\nline \xff %@ \"", "4")});
    EXPECT_TRUE(sync("F"));
    EXPECT_EQ(pathsOf(files, files, root + "/F"), (Lines{"P.app/", "P.app/in/", "P.app/in/c", "a", "link",
                                                         "new\nline \xff %@ \"", "sub/", "sub/deep/", "sub/deep/b"}));
    const auto copied = *files.attributes(root + "/F/a");
    EXPECT_EQ(copied.modified, Date::fromSeconds(1'000'000'000, 123'456'789));
    EXPECT_EQ(copied.mode, 0640U);
    EXPECT_EQ(files.attributes(root + "/F/link")->modified, Date::fromSeconds(900'000'000, 987'654'321));
    EXPECT_FALSE(files.attributes(work).ok());
    EXPECT_TRUE(left.empty());
    EXPECT_TRUE(lines.empty());
    EXPECT_TRUE(files.listNames(state / "journal")->empty());
}

TEST_F(TreeRealTest, EditedFilesReplaceOldOnesAndStrangersAreKept) {
    buildTree(files, files, home.path(), {file("a", "new"), file("P.rtfd/x", "new")});
    buildTree(files, files, root, {file("a", "old", Date::fromSeconds(1000)), file("P.rtfd/y", "old")});
    seen.items[root + "/P.rtfd"] = {};
    EXPECT_TRUE(tree->copyPathOntoPath(home / "a", work + "/a", true, reporter.get()));
    EXPECT_TRUE(tree->copyPathOntoPath(home / "P.rtfd", work + "/P.rtfd", true, reporter.get()));
    EXPECT_TRUE(folders->processTempFolders());
    EXPECT_EQ(*files.read(root + "/a", 100), "new");
    EXPECT_EQ(pathsOf(files, files, root + "/P.rtfd"), (Lines{"x"}));
    // Nobody had announced "a".
    EXPECT_EQ(*files.read(drive / "Archived Vantaro Backups/2013-05-21/ann_box/a", 100), "old");
}

TEST_F(TreeRealTest, APackageWhoseFoldersAreClosedIsReplacedByItsOwner) {
    buildTree(files, files, home.path(), {file("P.rtfd/shut/x", "new")});
    buildTree(files, files, root, {file("P.rtfd/shut/x", "old"), file("P.rtfd/y", "old")});
    for (const std::string& package : {home / "P.rtfd", root + "/P.rtfd"}) {
        ASSERT_TRUE(files.setMode(package + "/shut", 0555).ok());
        ASSERT_TRUE(files.setMode(package, 0500).ok());
    }
    for (const auto& folder : {home.path(), drive.path(), state.path()})
        ASSERT_EQ(std::system(("chown -R nobody '" + folder + "'").c_str()), 0);
    seen.items[root + "/P.rtfd"] = {};
    const std::string answer = asUser(65534, [&]() -> std::string {
        const bool copied = tree->copyPathOntoPath(home / "P.rtfd", work + "/P.rtfd", true, reporter.get());
        const bool committed = folders->processTempFolders();
        return expectEqual("copied", copied, true) + expectEqual("committed", committed, true) +
               expectEqual("left behind", left.size(), 0U) + expectEqual("alerts", controller->alerts.size(), 0U) +
               expectEqual("work folder", files.attributes(work).code(), ENOENT);
    });
    EXPECT_EQ(answer, "");
    EXPECT_EQ(pathsOf(files, files, root + "/P.rtfd"), (Lines{"shut/", "shut/x"}));
    EXPECT_EQ(*files.read(root + "/P.rtfd/shut/x", 10), "new");
    EXPECT_EQ(files.attributes(root + "/P.rtfd")->mode, 0500U);
    EXPECT_EQ(files.attributes(root + "/P.rtfd/shut")->mode, 0555U);
}

TEST_F(TreeRealTest, TreesDeeperThanAPathMayBeLongAreCopied) {
    const std::string name(60, 'd');
    std::string below = "/T";
    ASSERT_TRUE(files.makeDirectory(home.path() + below, 0755).ok());
    for (int i = 0; i < 90; ++i) {
        below += "/" + name;
        ASSERT_TRUE(files.makeDirectory(home.path() + below, 0755).ok()) << i;
    }
    ASSERT_TRUE(files.create(home.path() + below + "/leaf", "x", 0644).ok());
    EXPECT_TRUE(sync("T"));
    EXPECT_EQ(*files.read(root + below + "/leaf", 100), "x");
    EXPECT_TRUE(left.empty());
}

TEST_F(TreeRealTest, PipesAreAskedAboutAndNeverOpened) {
    buildTree(files, files, home.path(), {file("F/a", "1")});
    ASSERT_EQ(::mkfifo((home / "F/pipe").c_str(), 0600), 0);
    EXPECT_TRUE(sync("F"));
    EXPECT_EQ(controller->alerts.size(), 1U);
    EXPECT_EQ(controller->failed, (Lines{home / "F/pipe" + std::string(" skipped")}));
    EXPECT_EQ(pathsOf(files, files, root + "/F"), (Lines{"a"}));
}

TEST_F(TreeRealTest, ManySmallFilesInOneFolderTakeOneCommitRename) {
    std::vector<TreeItem> items;
    for (int i = 0; i < 500; ++i) items.push_back(file("F/" + std::to_string(i), std::to_string(i)));
    buildTree(files, files, home.path(), items);
    EXPECT_TRUE(sync("F"));
    EXPECT_EQ(files.listNames(root + "/F")->size(), 500U);
    EXPECT_EQ(controller->copied, 500U * 512);
}

} // namespace
} // namespace vt::test

// Every file operation of a copy, a move and a commit fails once, with every kind of error and both answers of the
// person. What must hold whatever happens: a file is whole, old or new; nothing partial stays; what did not arrive was
// reported; the progress reaches its end.
#include "SeenItems.h"
#include "TreeFixture.h"

#include "platform/fake/FakeWorkspace.h"
#include "sync/keep/BesideNames.h"
#include "sync/keep/KeepAside.h"
#include "sync/workfolders/CommitGuard.h"
#include "sync/workfolders/WorkFolders.h"

#include <cerrno>
#include <optional>

namespace vt::test {
namespace {

struct Fault {
    std::string operation;
    int code = 0;
    bool goesOn = false;
};

std::string nameOf(const ::testing::TestParamInfo<Fault>& info) {
    return info.param.operation + "_" + std::to_string(info.param.code) + (info.param.goesOn ? "_goOn" : "_stop");
}

std::vector<Fault> faultsOf(const std::vector<std::string>& operations) {
    std::vector<Fault> all;
    for (const auto& operation : operations)
        for (const int code : {ENOSPC, EIO, EACCES, EROFS, ENOENT, ENAMETOOLONG, ELOOP, ENODEV})
            for (const bool goesOn : {false, true}) all.push_back({operation, code, goesOn});
    return all;
}

class TreeFaultsTest : public TreeFixture, public ::testing::WithParamInterface<Fault> {
  protected:
    TreeFaultsTest() {
        controller->answer = GetParam().goesOn;
        services.guard = &guard;
        services.staging = &guard;
        operations.emplace(services);
        controller->commit = [this](const std::string& folder) { return folders().processATempFolder(folder); };
    }
    [[nodiscard]] WorkFolders folders() {
        return WorkFolders({root, work, h(".work")},
                           {files, workspace, *operations, [](const std::string&) {}, [](const std::string&) {},
                            [this] { return reporter; },
                            [this] { return controller->cancelled && !controller->cancelValue; },
                            [this](const std::string& path) { left.push_back(path); }});
    }
    // How often the operation is called in a run without faults; then each of these calls fails once, in a fresh tree.
    template <typename Run> void eachCallFails(const Run& run) {
        build();
        disk.faults().clearLog();
        run();
        const int calls = asked(GetParam().operation);
        ASSERT_GT(calls, 0) << "the operation is not used";
        for (int nth = 1; nth <= calls; ++nth) {
            SCOPED_TRACE("call " + std::to_string(nth));
            build();
            disk.faults().fail(GetParam().operation, "", GetParam().code, nth);
            run();
            disk.faults().clear();
            check();
        }
    }
    void build() {
        disk.faults().clear();
        files.remove(h("F"), {}).ignore();
        files.remove(root, {}).ignore();
        files.remove(d("Archived Vantaro Backups"), {}).ignore();
        *controller = NotingController{};
        controller->answer = GetParam().goesOn;
        controller->commit = [this](const std::string& folder) { return folders().processATempFolder(folder); };
        log.lines.clear();
        left.clear();
        guard.clear();
        computer({file("F/a", sourceContent), file("F/new/b", sourceContent), file("F/P.app/in/c", sourceContent),
                  file("F/z", sourceContent), link("F/link", "a")});
        buildTree(files, files, root, {file("F/z", "old"), file("F/P.app/old", "old"), folder(".w")});
        seen.items[root + "/F/z"] = {};
        seen.items[root + "/F/P.app"] = {};
    }
    // Content at every final path is whole.
    void check() {
        for (const std::string name : {"a", "new/b", "z", "P.app/in/c", "P.app/old"}) {
            const std::string content = contentOf(root + "/F/" + name);
            const bool old = content == "old" && (name == "z" || name == "P.app/old");
            EXPECT_TRUE(old || content == sourceContent || content == "<nothing>") << name << ": " << content;
            if (name == "z") {
                EXPECT_NE(content, "<nothing>");
            }
        }
        const bool oldPackage = contentOf(root + "/F/P.app/old") == "old";
        const bool newPackage = contentOf(root + "/F/P.app/in/c") == sourceContent;
        EXPECT_FALSE(oldPackage && newPackage);
        // The controller's own folder is the only other place; nothing partial lies anywhere.
        for (const auto& [path, entry] : snapshotTree(files, files, drive))
            if (entry.kind == FileKind::regular) {
                EXPECT_TRUE(entry.content == sourceContent || entry.content == "old") << path;
            }
    }

    const std::string sourceContent = std::string(1500, 's');
    std::string root = "/mnt/drive/r";
    std::string work = root + "/.w";
    FakeWorkspace workspace;
    KeepAside keep{drive, {files, clock, [] { return true; }, [](const std::string&) {}}};
    BesideNames besides{files, root, root + "/.marks", [](const std::string&) {}};
    SeenItems seen;
    CommitGuard guard{root, work, {keep, besides, nullptr, [](const std::string&) {}, {}, nullptr, seen.answer()}};
    std::optional<TreeOperations> operations; // made once the services are complete
    Lines left;
};

class TreeCopyFaultsTest : public TreeFaultsTest {};

TEST_P(TreeCopyFaultsTest, CopyOfANewFolderLeavesNothingPartial) {
    eachCallFails([this] {
        const bool result = operations->copyPathOntoPath(h("F"), work + "/F", true, reporter.get());
        // Whatever is missing was told, unless the drive said so by itself or the source is taken for gone.
        const bool complete = contentOf(root + "/F/a") == sourceContent &&
                              contentOf(root + "/F/new/b") == sourceContent &&
                              contentOf(root + "/F/z") == sourceContent;
        if (!complete) {
            const bool told = !result || !controller->failed.empty() || !left.empty() || !log.lines.empty() ||
                              !controller->log.empty();
            EXPECT_TRUE(told);
        }
        EXPECT_TRUE(controller->events.empty() || !controller->events.back().starts_with("path /"));
    });
}

INSTANTIATE_TEST_SUITE_P(All, TreeCopyFaultsTest,
                         ::testing::ValuesIn(faultsOf({"attributes", "attributesFollowing", "list", "makeDirectory",
                                                       "move", "remove", "readLink", "makeLink", "copyFile", "copyData",
                                                       "copyFolder", "setDates"})),
                         nameOf);

class TreeCommitFaultsTest : public TreeFaultsTest {};

TEST_P(TreeCommitFaultsTest, CommitOverOldContentKeepsOldOrNew) {
    eachCallFails([this] {
        buildTree(files, files, work,
                  {file("F/z", sourceContent), file("F/P.app/in/c", sourceContent), file("F/a", sourceContent)});
        (void)folders().processTempFolders();
        for (const std::string name : {"z", "a", "P.app/in/c"}) {
            if (contentOf(root + "/F/" + name) == sourceContent) continue;
            EXPECT_FALSE(left.empty()) << name << " did not arrive and nobody was told";
        }
    });
}

INSTANTIATE_TEST_SUITE_P(All, TreeCommitFaultsTest,
                         ::testing::ValuesIn(faultsOf({"attributes", "list", "move", "remove"})), nameOf);

class TreeSourceChangesTest : public TreeFixture {};

TEST_F(TreeSourceChangesTest, SourceThatVanishesBeforeItsCopyIsAskedAbout) {
    computer({file("F/a", "1"), file("F/b", "2")});
    disk.faults().before("copyFile", h("F/a"), [&](const std::string&) { files.remove(h("F/b"), {}).ignore(); });
    EXPECT_TRUE(copy("F", "F"));
    EXPECT_EQ(drivePaths(), (Lines{"F/", "F/a"}));
    EXPECT_EQ(controller->alerts.size(), 1U);
    EXPECT_EQ(controller->failed, (Lines{h("F/b") + " skipped"}));
}

TEST_F(TreeSourceChangesTest, SourceThatChangesIsCopiedAsItIsInTheEnd) {
    computer({file("a", "first", Date::fromSeconds(1000))});
    bool changed = false;
    disk.faults().before("copyData", h("a"), [&](const std::string&) {
        if (changed) return;
        changed = true;
        files.writeAtomically(h("a"), "second and longer", 0644).ignore();
    });
    EXPECT_TRUE(copy("a", "a"));
    const auto source = *files.attributes(h("a"));
    const auto copied = *files.attributes(d("a"));
    EXPECT_TRUE(contentOf(d("a")) == "second and longer" || copied.modified < source.modified);
}

TEST_F(TreeSourceChangesTest, PulledDriveStopsTheCopy) {
    computer({file("F/a", "1"), file("F/b", "2")});
    disk.faults().before("copyData", h("F/a"), [&](const std::string&) { disk.pull(drive, ENODEV); });
    volumes.mounted = {};
    EXPECT_FALSE(copy("F", "F"));
    EXPECT_EQ(controller->alerts,
              (Lines{"Copy Failed.|There was a problem with the connection to the wireless device."}));
    EXPECT_FALSE(controller->cancelled);
}

} // namespace
} // namespace vt::test

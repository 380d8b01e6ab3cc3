// A file that cannot be copied keeps its own copy in doubt, and nobody else's.
#include "support/SyncWorld.h"

namespace vt::test {
namespace {

using Names = std::vector<std::string>;

constexpr const char* archive = "/media/stick/Archived Vantaro Backups";

// A sync whose content never reached the drive for certain, and after it a power cut: of everything that has changed on
// the drive since then only the time is known.
struct CutWorld : SyncWorld {
    explicit CutWorld(Names list = {"~/Music"}) : syncItems(std::move(list)) { restartAgent("first"); }
    void restartAgent(const char* boot) {
        system.boot = boot;
        controller = controllerFor(drive);
        join(*controller, syncItems);
    }
    void cut() {
        disk.faults().fail("flushVolume", drive, EIO);
        sync();
        disk.faults().clear();
        clock.setNow(at(10));
        restartAgent("second");
    }
    // What the sync has copied, by the names in the home folder.
    Names copiedBySync() {
        disk.faults().clearLog();
        clock.advance(std::chrono::minutes(1));
        sync();
        Names copied;
        const std::string call = std::string("copyFile ") + home + "/";
        for (const std::string& line : disk.faults().log())
            if (line.starts_with(call)) copied.push_back(line.substr(call.size()));
        std::ranges::sort(copied);
        return copied;
    }
    // As a write that the cut has lost: the folder's own date tells nothing.
    void loseContent(const std::string& name) {
        const std::string copy = paths::join(copies, name);
        const Date modified = files.attributes(copy)->modified;
        const Date folderDate = files.attributes(paths::parent(copy))->modified;
        write(copy, "", modified);
        EXPECT_TRUE(files.setModified(paths::parent(copy), folderDate).ok());
    }
    [[nodiscard]] std::optional<std::string> copyOf(const std::string& name) { return read(paths::join(copies, name)); }

    Names syncItems;
};

TEST(DoubtsOfFailures, anUnreadableFileIsTriedAloneByTheNextSyncs) {
    CutWorld world;
    world.computer({file("Music/a.mp3", "a", at(-10)), file("Music/bad.mp3", "whole", at(-10))});
    world.cut();
    world.loseContent("Music/a.mp3");
    world.loseContent("Music/bad.mp3");
    world.disk.faults().fail("copyFile", "/home/ada/Music/bad.mp3", EACCES);
    EXPECT_EQ(world.copiedBySync(), (Names{"Music/a.mp3", "Music/bad.mp3"}));
    EXPECT_EQ(world.copyOf("Music/a.mp3"), "a");
    world.computer({file("Music/c.mp3", "c", at(11))});
    EXPECT_EQ(world.copiedBySync(), (Names{"Music/bad.mp3", "Music/c.mp3"}));
    EXPECT_EQ(world.copiedBySync(), (Names{"Music/bad.mp3"}));
    world.disk.faults().clear();
    EXPECT_EQ(world.copiedBySync(), (Names{"Music/bad.mp3"}));
    EXPECT_EQ(world.copyOf("Music/bad.mp3"), "whole");
    EXPECT_EQ(world.copiedBySync(), Names{});
    EXPECT_FALSE(world.exists(archive));
}

// A power cut takes the agent's memory with it.
TEST(DoubtsOfFailures, anUnreadableFileStaysInDoubtOverFurtherStarts) {
    CutWorld world;
    world.computer({file("Music/a.mp3", "a", at(-10)), file("Music/bad.mp3", "whole", at(-10))});
    world.cut();
    world.loseContent("Music/bad.mp3");
    world.disk.faults().fail("copyFile", "/home/ada/Music/bad.mp3", EACCES);
    world.sync();
    for (const char* boot : {"third", "fourth"}) {
        world.restartAgent(boot);
        EXPECT_EQ(world.copiedBySync(), (Names{"Music/bad.mp3"}));
    }
    world.disk.faults().clear();
    world.sync();
    EXPECT_EQ(world.copyOf("Music/bad.mp3"), "whole");
}

// Somebody's edit on the drive is no copy of ours, however often ours has failed meanwhile.
TEST(DoubtsOfFailures, whatSomebodyChangedOnTheDriveIsStillSetAsideWhenTheFileCanBeReadAgain) {
    CutWorld world;
    world.computer({file("Music/bad.mp3", "ours", at(-10))});
    world.cut();
    world.write("/media/stick/ada_Workbench/Music/bad.mp3", "theirs", at(5));
    world.disk.faults().fail("copyFile", "/home/ada/Music/bad.mp3", EACCES);
    for (int pass = 0; pass < 2; ++pass) world.sync();
    EXPECT_EQ(world.copyOf("Music/bad.mp3"), "theirs");
    world.disk.faults().clear();
    world.sync();
    EXPECT_EQ(world.copyOf("Music/bad.mp3"), "ours");
    EXPECT_EQ(world.read(std::string(archive) + "/2013-05-21/ada_Workbench/Music/bad.mp3"), "theirs");
}

TEST(DoubtsOfFailures, aPackageOfWhichSomethingCannotBeReadStaysInDoubtAsAWhole) {
    CutWorld world;
    world.computer({file("Music/a.mp3", "a", at(-10)), file("Music/b.pages/text", "text", at(-10)),
                    file("Music/b.pages/more", "more", at(-10))});
    world.cut();
    world.loseContent("Music/b.pages/text");
    world.disk.faults().fail("copyFile", "/home/ada/Music/b.pages/more", EACCES);
    world.sync();
    const Names package = {"Music/b.pages/more", "Music/b.pages/text"};
    EXPECT_EQ(world.copiedBySync(), package);
    world.disk.faults().clear();
    EXPECT_EQ(world.copiedBySync(), package);
    EXPECT_EQ(world.copyOf("Music/b.pages/text"), "text");
    EXPECT_EQ(world.copiedBySync(), Names{});
}

TEST(DoubtsOfFailures, aNewFolderWithAnUnreadableFileDoesNotHoldItsOtherFilesInDoubt) {
    CutWorld world;
    world.computer({file("Music/old.mp3", "old", at(-10))});
    world.cut();
    world.computer({file("Music/new/a.mp3", "a", at(5)), file("Music/new/bad.mp3", "bad", at(5))});
    world.disk.faults().fail("copyFile", "/home/ada/Music/new/bad.mp3", EACCES);
    world.sync();
    EXPECT_EQ(world.copyOf("Music/new/a.mp3"), "a");
    EXPECT_EQ(world.copiedBySync(), (Names{"Music/new/bad.mp3"}));
}

class FolderThatCannotBeListed : public testing::TestWithParam<const char*> {};

TEST_P(FolderThatCannotBeListed, keepsOnlyWhatLiesInItInDoubt) {
    CutWorld world;
    world.computer({file("Music/a.mp3", "a", at(-10)), file("Music/closed/b.mp3", "whole", at(-10))});
    world.cut();
    world.loseContent("Music/closed/b.mp3");
    world.disk.faults().fail("list", std::string(GetParam()) + "/Music/closed", EACCES);
    EXPECT_EQ(world.copiedBySync(), (Names{"Music/a.mp3"}));
    EXPECT_EQ(world.copiedBySync(), Names{});
    world.disk.faults().clear();
    EXPECT_EQ(world.copiedBySync(), (Names{"Music/closed/b.mp3"}));
    EXPECT_EQ(world.copyOf("Music/closed/b.mp3"), "whole");
    EXPECT_EQ(world.copiedBySync(), Names{});
}

INSTANTIATE_TEST_SUITE_P(Sides, FolderThatCannotBeListed, testing::Values(SyncWorld::home, SyncWorld::copies),
                         [](const auto& side) {
                             return std::string(side.param == std::string(SyncWorld::home) ? "OnTheComputer"
                                                                                           : "OnTheDrive");
                         });

TEST(DoubtsOfFailures, anItemThatTheDriveDoesNotShowStaysInDoubt) {
    CutWorld world({"~/Music", "~/Pictures"});
    world.computer({file("Music/a.mp3", "a", at(-10)), file("Pictures/b.jpg", "whole", at(-10))});
    world.cut();
    world.loseContent("Pictures/b.jpg");
    world.disk.faults().fail("attributes", "/media/stick/ada_Workbench/Pictures", EIO);
    EXPECT_EQ(world.copiedBySync(), (Names{"Music/a.mp3"}));
    EXPECT_EQ(world.copiedBySync(), Names{});
    world.disk.faults().clear();
    EXPECT_EQ(world.copiedBySync(), (Names{"Pictures/b.jpg"}));
    EXPECT_EQ(world.copyOf("Pictures/b.jpg"), "whole");
}

} // namespace
} // namespace vt::test

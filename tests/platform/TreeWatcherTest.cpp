// The watcher step by step, without its thread: what needs an exact order of events.
#include "platform/linux/watch/TreeWatcher.h"
#include "base/Paths.h"
#include "support/Child.h"
#include "support/TemporaryFolder.h"

#include <algorithm>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <random>
#include <sys/inotify.h>
#include <sys/stat.h>

namespace vt::test {
namespace {

constexpr std::size_t plenty = 1'000'000;

struct Watching {
    explicit Watching(std::size_t maximumWatches = plenty)
        : watcher(queue, maximumWatches,
                  {[this](TreeWatcher::RootId root) { ++changed[root]; },
                   [this](TreeWatcher::RootId root, bool gap) { complete[root] = gap; },
                   [this](TreeWatcher::Node node, const std::string& path, TreeWatcher::PollReason) {
                       polled[node] = path;
                   },
                   [this](TreeWatcher::Node node) { polled.erase(node); }}) {
        const auto mounts = readMountTable();
        if (mounts.ok()) watcher.setMounts(*mounts);
        finish();
    }
    void finish() {
        while (watcher.examineSome(1)) continue;
    }
    // Takes in all that has happened.
    void catchUp() {
        do finish();
        while (queue.read([this](const InotifyQueue::Event& event) { watcher.handle(event); }));
        finish();
    }
    void add(TreeWatcher::RootId root, const std::string& path) {
        watcher.addRoot(root, path);
        catchUp();
        changed.clear();
    }
    // The root was told of a change since the last question.
    bool told(TreeWatcher::RootId root) {
        catchUp();
        const bool was = changed[root] > 0;
        changed.clear();
        return was;
    }

    std::map<TreeWatcher::RootId, int> changed;
    std::map<TreeWatcher::RootId, bool> complete;
    std::map<TreeWatcher::Node, std::string> polled;
    InotifyQueue queue;
    TreeWatcher watcher;
};

void write(const std::string& path) {
    std::ofstream(path, std::ios::app) << "x";
}

TEST(TreeWatcher, AnOverflowIsAChangeOfEveryRootAndAllIsLookedAtAgain) {
    TemporaryFolder folder;
    std::filesystem::create_directories(folder / "one/old");
    std::filesystem::create_directories(folder / "two");
    Watching watching;
    watching.add(1, folder / "one");
    watching.add(2, folder / "two");
    // What the kernel dropped: a folder replaced by another of its name, and a new one.
    std::filesystem::rename(folder / "one/old", folder / "one/gone");
    std::filesystem::create_directories(folder / "one/old/deep");
    std::filesystem::create_directories(folder / "two/new");
    while (watching.queue.read([](const InotifyQueue::Event&) {})) continue;
    watching.watcher.handle({-1, IN_Q_OVERFLOW, {}});
    EXPECT_EQ(watching.changed[1], 1);
    EXPECT_EQ(watching.changed[2], 1);
    EXPECT_TRUE(watching.told(1));
    for (const char* path : {"one/old/deep/file", "one/gone/file"}) {
        write(folder / path);
        EXPECT_TRUE(watching.told(1)) << path;
    }
    write(folder / "two/new/file");
    EXPECT_TRUE(watching.told(2));
}

TEST(TreeWatcher, WithoutRoomForMoreWatchesTheRestIsPolled) {
    TemporaryFolder folder;
    for (int number = 0; number < 20; ++number)
        std::filesystem::create_directories(folder / ("root/" + std::to_string(number) + "/below"));
    Watching watching(12);
    watching.add(1, folder / "root");
    EXPECT_EQ(watching.watcher.watches(), 12U);
    ASSERT_FALSE(watching.polled.empty());
    // Every folder is either watched or lies in one that is looked at.
    std::vector<std::filesystem::directory_entry> folders;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder / "root")) folders.push_back(entry);
    for (const auto& entry : folders) {
        const bool polled = std::any_of(watching.polled.begin(), watching.polled.end(), [&](const auto& tree) {
            return paths::isAtOrBelow(entry.path().string(), tree.second);
        });
        write(entry.path() / "file");
        EXPECT_NE(watching.told(1), polled) << entry.path();
    }
    const auto node = watching.polled.begin()->first;
    watching.watcher.polledChanged(node);
    EXPECT_TRUE(watching.told(1));
}

TEST(TreeWatcher, RoomThatBecomesFreeIsUsed) {
    TemporaryFolder folder;
    for (const char* root : {"one", "two"})
        for (int number = 0; number < 8; ++number)
            std::filesystem::create_directories(folder / (std::string(root) + "/" + std::to_string(number)));
    Watching watching(14);
    watching.add(1, folder / "one");
    watching.add(2, folder / "two");
    EXPECT_FALSE(watching.polled.empty());
    watching.watcher.removeRoot(1);
    watching.catchUp();
    EXPECT_TRUE(watching.polled.empty());
    write(folder / "two/7/file");
    EXPECT_TRUE(watching.told(2));
}

TEST(TreeWatcher, ARootThatGoesTakesItsWatchesAlong) {
    TemporaryFolder folder;
    std::filesystem::create_directories(folder / "outer/inner/deep");
    Watching watching;
    const std::size_t before = watching.watcher.watches();
    watching.add(1, folder / "outer");
    watching.add(2, folder / "outer/inner");
    watching.watcher.removeRoot(1);
    write(folder / "outer/file");
    EXPECT_FALSE(watching.told(1));
    write(folder / "outer/inner/deep/file");
    EXPECT_TRUE(watching.told(2));
    watching.watcher.removeRoot(2);
    EXPECT_LE(watching.watcher.watches(), before + 1) << "at most the one of \"/\" stays";
    EXPECT_EQ(watching.watcher.folders(), 1U);
}

TEST(TreeWatcher, OneFolderUnderTwoPathsTellsBoth) {
    TemporaryFolder folder;
    std::filesystem::create_directories(folder / "real/root/deep");
    std::filesystem::create_symlink("real", folder / "link");
    Watching watching;
    watching.add(1, folder / "real/root");
    watching.add(2, folder / "link/root");
    write(folder / "real/root/deep/file");
    watching.catchUp();
    EXPECT_GT(watching.changed[1], 0);
    EXPECT_GT(watching.changed[2], 0);
    watching.watcher.removeRoot(1);
    EXPECT_TRUE(watching.told(2));
    write(folder / "link/root/deep/file");
    EXPECT_TRUE(watching.told(2));
}

TEST(TreeWatcher, ARootBehindALinkIsNoPartOfTheRootAround) {
    TemporaryFolder folder;
    std::filesystem::create_directories(folder / "outer");
    std::filesystem::create_directories(folder / "elsewhere/root");
    std::filesystem::create_symlink("../elsewhere", folder / "outer/link");
    Watching watching;
    watching.add(1, folder / "outer");
    watching.add(2, folder / "outer/link/root");
    write(folder / "elsewhere/root/file");
    watching.catchUp();
    EXPECT_EQ(watching.changed[1], 0);
    EXPECT_GT(watching.changed[2], 0);
    watching.changed.clear();
    std::filesystem::remove(folder / "outer/link");
    watching.catchUp();
    EXPECT_GT(watching.changed[1], 0);
    EXPECT_GT(watching.changed[2], 0);
}

TEST(TreeWatcher, TreesDeeperThanAPathCanSayAreWatchedToTheBottom) {
    TemporaryFolder folder;
    const std::string name(200, 'd');
    UniqueFd at(::open(folder.path().c_str(), O_PATH | O_DIRECTORY));
    for (int level = 0; level < 40; ++level) {
        ASSERT_EQ(::mkdirat(at.get(), name.c_str(), 0755), 0);
        at = UniqueFd(::openat(at.get(), name.c_str(), O_PATH | O_DIRECTORY));
    }
    Watching watching;
    watching.add(1, folder.path());
    EXPECT_TRUE(watching.polled.empty());
    const UniqueFd file(::openat(at.get(), "file", O_CREAT | O_WRONLY, 0644));
    EXPECT_TRUE(watching.told(1));
}

TEST(TreeWatcher, AChangeBeforeAllIsWatchedIsToldOfWithTheCompletion) {
    TemporaryFolder folder;
    std::filesystem::create_directories(folder / "root/a/b");
    Watching watching;
    watching.watcher.addRoot(1, folder / "root");
    EXPECT_TRUE(watching.watcher.examineSome(1));
    write(folder / "root/a/b/file");
    watching.catchUp();
    EXPECT_TRUE(watching.complete.at(1)) << "with a gap";
    watching.watcher.addRoot(2, folder / "root/a");
    watching.catchUp();
    EXPECT_FALSE(watching.complete.at(2)) << "this one was watched all the time";
    watching.watcher.addRoot(3, folder / "missing");
    watching.catchUp();
    EXPECT_FALSE(watching.complete.at(3)) << "nothing there to miss";
}

TEST(TreeWatcher, MountsWithoutEventsArePolledAndNotOpened) {
    TemporaryFolder folder;
    std::filesystem::create_directories(folder / "root/share/deep");
    Watching watching;
    watching.add(1, folder / "root");
    MountTable table = watching.watcher.scope().mounts();
    MountEntry share;
    share.id = 999'999;
    share.target = folder / "root/share";
    share.type = "cifs";
    share.root = "/";
    table.push_back(share);
    watching.watcher.setMounts(table);
    watching.catchUp();
    ASSERT_EQ(watching.polled.size(), 1U);
    EXPECT_EQ(watching.polled.begin()->second, folder / "root/share");
    EXPECT_TRUE(watching.told(1)) << "the mount itself is a change";
    write(folder / "root/share/deep/file");
    EXPECT_FALSE(watching.told(1));
    table.pop_back();
    watching.watcher.setMounts(table);
    watching.catchUp();
    EXPECT_TRUE(watching.polled.empty());
    EXPECT_TRUE(watching.told(1));
    write(folder / "root/share/deep/file");
    EXPECT_TRUE(watching.told(1)) << "watched again";
}

TEST(TreeWatcher, AFolderWhosePermissionWasTakenAwayIsFollowedOnceItIsBack) {
    TemporaryFolder folder;
    std::filesystem::create_directories(folder / "root/closed/deep");
    constexpr uid_t nobody = 65534;
    for (const char* path : {"", "root", "root/closed", "root/closed/deep"})
        ASSERT_EQ(::chown((folder / path).c_str(), nobody, nobody), 0);
    const std::string answer = asUser(nobody, [&]() -> std::string {
        Watching watching;
        watching.add(1, folder / "root");
        ::chmod((folder / "root/closed").c_str(), 0);
        std::string problems = expectEqual("told of the closing", watching.told(1), true);
        write(folder / "root/file");
        problems += expectEqual("told of a neighbour", watching.told(1), true);
        ::chmod((folder / "root/closed").c_str(), 0700);
        problems += expectEqual("told of the opening", watching.told(1), true);
        std::filesystem::create_directory(folder / "root/closed/new");
        problems += expectEqual("told of a folder", watching.told(1), true);
        for (const char* path : {"root/closed/deep/file", "root/closed/new/file"}) {
            write(folder / path);
            problems += expectEqual(path, watching.told(1), true);
        }
        // Closed from the start, with all that was made inside meanwhile.
        ::chmod((folder / "root/closed").c_str(), 0);
        Watching later;
        later.add(2, folder / "root");
        ::chmod((folder / "root/closed").c_str(), 0700);
        problems += expectEqual("told of the later opening", later.told(2), true);
        write(folder / "root/closed/deep/file");
        return problems + expectEqual("told of what is inside", later.told(2), true);
    });
    EXPECT_EQ(answer, "");
}

TEST(TreeWatcher, AMountWithoutEventsBehindALinkIsPolledToo) {
    TemporaryFolder folder;
    std::filesystem::create_directories(folder / "share/deep/inner");
    std::filesystem::create_directories(folder / "home");
    std::filesystem::create_symlink("../share", folder / "home/link");
    std::filesystem::create_symlink("link/deep", folder / "home/second");
    Watching watching;
    watching.add(1, folder / "home/link/deep");
    watching.add(2, folder / "home/second/inner");
    EXPECT_TRUE(watching.polled.empty());
    MountTable table = watching.watcher.scope().mounts();
    MountEntry share;
    share.id = 999'999;
    share.target = folder / "share";
    share.type = "nfs4";
    share.root = "/";
    table.push_back(share);
    watching.watcher.setMounts(table);
    watching.catchUp();
    EXPECT_EQ(watching.polled.size(), 2U);
    EXPECT_EQ(watching.watcher.scope().placeBehindLinks(folder / "home/second/inner/x"), folder / "share/deep/inner/x");
    table.pop_back();
    watching.watcher.setMounts(table);
    watching.catchUp();
    EXPECT_TRUE(watching.polled.empty());
    write(folder / "share/deep/inner/file");
    EXPECT_TRUE(watching.told(1)) << "watched again";
    write(folder / "share/deep/inner/file");
    EXPECT_TRUE(watching.told(2));
}

TEST(WatchScope, LinksThatLeadInCirclesEnd) {
    TemporaryFolder folder;
    std::filesystem::create_symlink("b", folder / "a");
    std::filesystem::create_symlink("a", folder / "b");
    WatchScope scope;
    EXPECT_EQ(scope.placeBehindLinks(folder / "missing/x"), folder / "missing/x");
    EXPECT_FALSE(scope.placeBehindLinks(folder / "a/x").empty());
}

// Folders made, moved, replaced and removed at random, while the watcher looks at one folder or reads one buffer now
// and then: in the end every folder that is there is watched, and nothing else is.
TEST(TreeWatcher, NoFolderIsLostWhateverHappensMeanwhile) {
    for (unsigned seed = 1; seed <= 20; ++seed) {
        SCOPED_TRACE(seed);
        TemporaryFolder folder;
        std::mt19937 random(seed);
        const auto below = [&](unsigned bound) { return static_cast<unsigned>(random() % bound); };
        const auto somePath = [&] {
            std::string path = folder / "root";
            for (unsigned depth = 1 + below(4); depth > 0; --depth) path += "/" + std::to_string(below(3));
            return path;
        };
        Watching watching;
        watching.watcher.addRoot(1, folder / "root");
        std::error_code ignored;
        for (int step = 0; step < 400; ++step) {
            switch (below(8)) {
            case 0:
                std::filesystem::remove_all(below(9) == 0 ? folder / "root" : somePath(), ignored);
                break;
            case 1:
            case 2:
                std::filesystem::rename(somePath(), somePath(), ignored);
                break;
            case 3:
                std::filesystem::create_directory_symlink(folder.path(), somePath(), ignored);
                break;
            case 4:
                watching.watcher.examineSome(1 + below(3));
                break;
            case 5:
                watching.queue.read([&](const InotifyQueue::Event& event) { watching.watcher.handle(event); });
                break;
            default:
                std::filesystem::create_directories(somePath(), ignored);
            }
        }
        std::filesystem::create_directories(folder / "root");
        watching.catchUp();
        std::vector<std::string> folders{folder / "root"};
        for (const auto& entry : std::filesystem::recursive_directory_iterator(folder / "root"))
            if (entry.is_directory() && !entry.is_symlink()) folders.push_back(entry.path());
        // The root's own nodes, and those that lead to it.
        EXPECT_EQ(watching.watcher.folders(), folders.size() + paths::components(folder.path()).size());
        EXPECT_EQ(watching.watcher.watches(), watching.watcher.folders());
        watching.changed.clear();
        for (const std::string& path : folders) {
            write(path + "/file");
            EXPECT_TRUE(watching.told(1)) << path;
        }
    }
}

struct TypeRow {
    const char* type;
    bool silent;
};

TEST(WatchScope, KnowsTheFileSystemsThatTellNothing) {
    const TypeRow rows[] = {{"ext4", false},    {"btrfs", false}, {"tmpfs", false},   {"fuseblk", false},
                            {"overlay", false}, {"cifs", true},   {"smbfs", true},    {"nfs4", true},
                            {"fuse", true},     {"9p", true},     {"virtiofs", true}, {"fuse.gvfsd-fuse", true}};
    for (const TypeRow& row : rows) EXPECT_EQ(WatchScope::typeLacksEvents(row.type), row.silent) << row.type;
}

} // namespace
} // namespace vt::test

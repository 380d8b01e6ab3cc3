// How often a sync asks the file system about a file: what decides where there are very many of them.
#include "support/SyncWorld.h"

#include <map>

namespace vt::test {
namespace {

using Counts = std::map<std::string, int>; // by operation

class CallCounts : public testing::Test {
  protected:
    // What a sync of `files` files asks for; the files are made by `prepare`.
    static Counts counted(int files, const std::function<void(SyncWorld&, int)>& prepare) {
        SyncWorld world;
        prepare(world, files);
        world.disk.faults().clearLog();
        world.sync();
        EXPECT_TRUE(world.succeeded());
        Counts counts;
        for (const std::string& line : world.disk.faults().log()) ++counts[line.substr(0, line.find(' '))];
        return counts;
    }
    // What each file more costs.
    static Counts forEachFile(const std::function<void(SyncWorld&, int)>& prepare) {
        const Counts few = counted(10, prepare);
        Counts more = counted(30, prepare);
        for (auto& [operation, count] : more) {
            const auto found = few.find(operation);
            count -= found == few.end() ? 0 : found->second;
            EXPECT_EQ(count % 20, 0) << operation;
            count /= 20;
        }
        std::erase_if(more, [](const auto& entry) { return entry.second == 0; });
        return more;
    }
    static std::vector<TreeItem> songs(int count, int minute) {
        std::vector<TreeItem> items;
        for (int i = 0; i < count; ++i)
            items.push_back(file("Music/album/song " + std::to_string(i) + ".mp3", "la", at(minute)));
        return items;
    }
};

TEST_F(CallCounts, anUnchangedFileIsSeenByItsFoldersListingsAlone) {
    EXPECT_EQ(forEachFile([](SyncWorld& world, int files) {
                  world.computer(songs(files, -20));
                  world.onDrive(songs(files, -20));
              }),
              Counts{});
}

TEST_F(CallCounts, aFileOfANewFolderIsCopiedAndNamedInTheJournal) {
    EXPECT_EQ(forEachFile([](SyncWorld& world, int files) { world.computer(songs(files, -20)); }),
              (Counts{{"copyFile", 1}, {"copyData", 1}, {"setDates", 1}, {"append", 1}}));
}

} // namespace
} // namespace vt::test

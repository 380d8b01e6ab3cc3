// What a comparison records in the scan results: every key of an entry and the value under it.
#include "support/SyncWorld.h"
#include "sync/compare/ItemComparison.h"

namespace vt::test {
namespace {

constexpr const char* target = "/media/stick/ada_Workbench/Music/a.mp3";
constexpr const char* driveWorkPath = "/media/stick/ada_Workbench/.Z_VT_W/001B63A1B2C3-501/ada_Workbench/Music/a.mp3";
constexpr const char* localWorkPath = "/home/ada/.Z_VT_W/1-1-1/ada_Workbench/Music/a.mp3";

// Compares one item and carries nothing out.
struct Comparing : SyncWorld {
    explicit Comparing(std::optional<Date> last) : lastSync(last) {
        validator->addContainerValidator(&everything);
        filter.beginPass(validator, false);
    }
    bool compare(const std::string& item) {
        ComputerSnapshot snapshot(files, {}, {});
        const auto root = snapshot.add(paths.local(item));
        const OwedPass owed(record, clock.now(), 1);
        ItemComparison comparison(
            {files, paths, snapshot, filter, cancel, results, progress, log, tally, owed, nullptr, nullptr},
            NameRule(true), lastSync);
        return comparison.syncThreadSyncItem(item, root);
    }

    std::optional<Date> lastSync;
    SyncPaths paths{drive, std::nullopt, "001B63A1B2C3-501", system};
    std::shared_ptr<VTFileValidator> validator = std::make_shared<VTFileValidator>(exclusions, HomePaths(home), files);
    CancelMark cancel;
    PassFilter filter{files, cancel};
    ScanResults results;
    SyncProgress progress{{drive, [] { return true; }, [] { return false; }}};
    SyncProcess process;
    SyncFeedback log{host, loop, clock, process};
    PassTally tally;
    OwedRecord record{files, files, "/home/ada/none", "key"};
};

struct EntryRow {
    const char* name;
    int local; // minutes
    int onDrive;
    std::optional<int> lastSync;
    unsigned type;
    unsigned action;
};

class CompareEntries : public testing::TestWithParam<EntryRow> {};

TEST_P(CompareEntries, nameBothSidesAndTheWorkPathOfTheOneThatIsWritten) {
    const EntryRow& row = GetParam();
    Comparing world(row.lastSync ? std::optional(at(*row.lastSync)) : std::nullopt);
    world.computer({file("Music/a.mp3", "mine", at(row.local))});
    world.onDrive({file("Music/a.mp3", "theirs!", at(row.onDrive))});
    EXPECT_TRUE(world.compare("~/Music"));
    const bool toDrive = row.action == action::toDrive;
    const Value::Dictionary entry{{"syncActionEnabled", true},
                                  {"localPath", toDrive ? "/home/ada/Music/a.mp3" : localWorkPath},
                                  {"pushkeyPath", toDrive ? driveWorkPath : target},
                                  {"localFileModDate", at(row.local)},
                                  {"localFileSize", std::int64_t{4}},
                                  {"pushkeyFileModDate", at(row.onDrive)},
                                  {"pushkeyFileSize", std::int64_t{7}},
                                  {"pushkeyFileBackupDate", Date::missing()},
                                  {"syncEntryType", static_cast<std::int64_t>(row.type)},
                                  {"actionToPerform", static_cast<std::int64_t>(row.action)}};
    EXPECT_EQ(world.results.toValue(), (Value::Dictionary{{"0", entry}, {"numEntries", std::uint64_t{1}}}));
    EXPECT_EQ(world.progress.skippedAlready(), 0U);
}

INSTANTIATE_TEST_SUITE_P(Rows, CompareEntries,
                         testing::Values(EntryRow{"newerOnTheComputer", 5, -10, 2, 2, 1},
                                         EntryRow{"newerOnTheDrive", 0, 5, 2, 2, 2},
                                         EntryRow{"bothChangedTheComputersIsNewer", 6, 5, 2, 3, 1},
                                         EntryRow{"bothChangedTheDrivesIsNewer", 5, 6, 2, 3, 2},
                                         EntryRow{"neverSynchronizedTheDrivesIsNewer", 5, 6, std::nullopt, 2, 2}),
                         [](const auto& row) { return row.param.name; });

TEST(CompareEntry, ofAnItemThatOnlyTheComputerHasSaysNothingOfTheDrive) {
    Comparing world(at(0));
    world.computer({file("Music/a.mp3", "mine", at(-5))});
    world.onDrive({folder("Music")});
    EXPECT_TRUE(world.compare("~/Music"));
    const Value::Dictionary entry{{"syncActionEnabled", true},         {"localPath", "/home/ada/Music/a.mp3"},
                                  {"pushkeyPath", driveWorkPath},      {"localFileModDate", at(-5)},
                                  {"localFileSize", std::int64_t{4}},  {"syncEntryType", std::int64_t{1}},
                                  {"actionToPerform", std::int64_t{1}}};
    EXPECT_EQ(world.results.toValue(), (Value::Dictionary{{"0", entry}, {"numEntries", std::uint64_t{1}}}));
}

TEST(CompareEntry, isNotMadeOfWhatIsPresentOrOnTheDriveOnly) {
    Comparing world(at(0));
    world.computer({file("Music/a.mp3", "before the last synchronization", at(-5)), file("Music/b.mp3", "b", at(7))});
    world.onDrive({file("Music/a.mp3", "other", at(-1)), file("Music/b.mp3", "of the same date", at(7)),
                   file("Music/c.mp3", "c", at(7))});
    EXPECT_TRUE(world.compare("~/Music"));
    EXPECT_EQ(world.results.numEntries(), 0U);
    EXPECT_EQ(world.results.toValue(), Value::Dictionary{});
    EXPECT_EQ(world.progress.skippedAlready(), 1024U);
    EXPECT_EQ(world.tally.driveOnly, 1U);
}

// The home folder under its whole path: its children lie in another folder of the drive than it does itself.
TEST(CompareEntry, whatTheDriveDoesNotShowOfTheHomeFolderIsNotCopiedAgain) {
    SyncWorld world({SyncWorld::home});
    world.computer({file("a.mp3", "a", at(-10))});
    world.sync();
    world.makeFolders("/media/stick/home/ada");
    world.sync();
    ASSERT_EQ(world.read("/media/stick/ada_Workbench/a.mp3"), "a");
    const auto before = world.files.attributes("/media/stick/ada_Workbench/a.mp3")->inode;
    world.host.forget();
    world.disk.faults().fail("list", SyncWorld::copies, EIO);
    world.sync();
    world.disk.faults().clear();
    EXPECT_TRUE(world.host.has("Unable to list \"/media/stick/ada_Workbench\"."));
    EXPECT_EQ(world.files.attributes("/media/stick/ada_Workbench/a.mp3")->inode, before);
}

} // namespace
} // namespace vt::test

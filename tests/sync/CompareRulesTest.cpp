// The pure rules of the comparison: dates, names, scan results.
#include "support/SyncWorld.h"
#include "sync/compare/ComputerSnapshot.h"
#include "sync/compare/DriveFolder.h"
#include "sync/compare/FileComparison.h"
#include "sync/compare/ScanResults.h"

namespace vt::test {
namespace {

struct DateRow {
    const char* name;
    Date local;
    Date drive;
    std::optional<Date> last;
    FileVerdict verdict;
    unsigned type;
};

class CompareDates : public testing::TestWithParam<DateRow> {};

TEST_P(CompareDates, decideWhichSideWins) {
    const DateRow& row = GetParam();
    const FileDecision decision = compareFileDates(row.local, row.drive, row.last);
    EXPECT_EQ(decision.verdict, row.verdict);
    EXPECT_EQ(decision.syncEntryType, row.type);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, CompareDates,
    testing::Values(DateRow{"bothBeforeTheLastSyncArePresentHoweverDifferent", at(-600), at(-5), at(0),
                            FileVerdict::present, 0},
                    DateRow{"atTheLastSyncIsNotAfterIt", at(0), at(-5), at(0), FileVerdict::present, 0},
                    DateRow{"equalDatesArePresent", at(5), at(5), at(0), FileVerdict::present, 0},
                    DateRow{"driveNewerChangedOnOneSide", at(-2), at(3), at(0), FileVerdict::driveIsNewer, 2},
                    DateRow{"localNewerChangedOnOneSide", at(3), at(-2), at(0), FileVerdict::toDrive, 2},
                    DateRow{"bothChangedTheLocalWins", at(5), at(3), at(0), FileVerdict::toDrive, 3},
                    DateRow{"bothChangedTheDriveWins", at(3), at(5), at(0), FileVerdict::driveIsNewer, 3},
                    DateRow{"neverSyncedIsChangedOnOneSide", at(5), at(3), std::nullopt, FileVerdict::toDrive, 2},
                    DateRow{"oneNanosecondDecides", Date::fromNanoseconds(at(5).nanoseconds() + 1), at(5), at(0),
                            FileVerdict::toDrive, 3},
                    DateRow{"aMissingDateLoses", Date::missing(), at(-5), std::nullopt, FileVerdict::driveIsNewer, 2}),
    [](const auto& row) { return row.param.name; });

TEST(CompareNames, lettersOfOtherAlphabetsFoldWhereCaseDoesNotCount) {
    const NameRule blind(false);
    EXPECT_EQ(blind.key("ÄÖÜ ŁÓDŹ ΑΩ ЖЯ.MP3"), blind.key("äöü łódź αω жя.mp3"));
    EXPECT_NE(blind.key("a"), blind.key("b"));
    EXPECT_EQ(blind.key("\xff\xc3"), "\xff\xc3");
    EXPECT_EQ(NameRule(true).key("AbC"), "AbC");
}

TEST(CompareResults, entriesAreNumberedInTheOrderOfTheDecisions) {
    ScanResults results;
    ScanEntry entry;
    entry.localPath = "/l";
    entry.pushkeyPath = "/p";
    entry.localFileSize = 7;
    entry.syncEntryType = 1;
    entry.actionToPerform = 1;
    EXPECT_TRUE(results.addEntryToScanResults(entry));
    entry.localPath = "/m";
    EXPECT_TRUE(results.addEntryToScanResults(entry));
    const Value::Dictionary value = results.toValue();
    EXPECT_EQ(value.at("numEntries").integerValue(), 2);
    EXPECT_EQ(value.at("0"), Value(Value::Dictionary{{"syncActionEnabled", true},
                                                     {"localPath", "/l"},
                                                     {"pushkeyPath", "/p"},
                                                     {"localFileSize", 7},
                                                     {"syncEntryType", 1},
                                                     {"actionToPerform", 1}}));
    EXPECT_EQ(ScanResults::fromValue(value).entries()[1].localPath, "/m");
}

TEST(CompareResults, whatIsNoDictionaryIsPassedOver) {
    const auto results = ScanResults::fromValue({{"0", 5}, {"1", Value::Dictionary{{"localPath", "/x"}}}, {"x", "y"}});
    ASSERT_EQ(results.numEntries(), 1U);
    EXPECT_FALSE(results.entries()[0].actionToPerform.has_value());
    EXPECT_FALSE(results.entries()[0].syncActionEnabled);
}

TEST(CompareResults, replacingPicksTheFirstEntryOfThatPath) {
    ScanResults results;
    for (const char* target : {"/1", "/2"}) {
        ScanEntry entry;
        entry.localPath = "/l";
        entry.pushkeyPath = target;
        results.addEntryToScanResults(entry);
    }
    ScanEntry other;
    other.localPath = "/other";
    EXPECT_TRUE(results.replaceEntryFromScanResultsForLocalPath("/l", other));
    EXPECT_EQ(results.entries()[0].localPath, "/other");
    EXPECT_EQ(results.entries()[1].pushkeyPath, "/2");
    EXPECT_FALSE(results.replaceEntryFromScanResultsForLocalPath("/none", other));
}

TEST(CompareSnapshot, sizesRoundUpAndFoldersAndLinksCountNothing) {
    SyncWorld world;
    world.computer({file("s/empty.txt", ""), file("s/one.txt", "1"), file("s/full.txt", std::string(512, 'x')),
                    file("s/over.txt", std::string(513, 'x')), link("s/l", "one.txt"), folder("s/sub")});
    ComputerSnapshot snapshot(world.files, {}, {});
    const auto root = snapshot.add("/home/ada/s");
    EXPECT_EQ(snapshot.estimate(root), 512U + 512U + 1024U);
    EXPECT_EQ(snapshot.estimate(snapshot.add("/home/ada/s/empty.txt")), 0U);
    EXPECT_EQ(snapshot.estimate(snapshot.add("/home/ada/s/l")), 0U);
    EXPECT_EQ(snapshot.add("/home/ada/none"), ComputerSnapshot::none);
}

TEST(CompareSnapshot, aFolderThatCannotBeListedSaysSo) {
    SyncWorld world;
    world.computer({file("s/closed/a.txt", "a")});
    world.disk.faults().fail("list", "/home/ada/s/closed", 13);
    ComputerSnapshot snapshot(world.files, {}, {});
    const auto root = snapshot.add("/home/ada/s");
    EXPECT_TRUE(snapshot.unlistable(snapshot.firstChild(root)));
    EXPECT_EQ(snapshot.estimate(root), 0U);
}

TEST(CompareDriveFolder, saysWhatNobodyAskedFor) {
    SyncWorld world;
    world.onDrive({file("f/a", "1"), file("f/b", "2")});
    DriveFolder folderOnDrive(world.files, std::string(SyncWorld::copies) + "/f", NameRule(true));
    bool second = false;
    EXPECT_NE(folderOnDrive.find("a", second), nullptr);
    EXPECT_EQ(folderOnDrive.find("A", second), nullptr);
    std::vector<std::string> only;
    folderOnDrive.visitDriveOnly([&](const DirectoryEntry& entry) {
        only.push_back(entry.name);
        return true;
    });
    EXPECT_EQ(only, std::vector<std::string>{"b"});
}

} // namespace
} // namespace vt::test

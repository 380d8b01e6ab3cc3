// What a pass keeps for each file: a million of them must fit.
#include "support/SyncWorld.h"
#include "sync/compare/ComputerSnapshot.h"
#include "sync/compare/ScanResults.h"

#include <cstdlib>
#include <malloc.h>
#include <string>

namespace vt::test {
namespace {

constexpr int folders = 500;
constexpr int filesInEach = 100;
constexpr double count = double{folders} * filesInEach;

// Of this process's heap, in bytes.
std::size_t inUse() {
    const auto info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

std::string folderName(int folder) {
    return "/home/ada/Pictures/Holidays of the year " + std::to_string(1000 + folder);
}
std::string fileName(int file) {
    return "IMG_2013" + std::to_string(10000 + file) + ".jpg"; // 20 bytes, as cameras name them
}

ScanEntry edited(const std::string& below) {
    ScanEntry entry;
    entry.computerPath = below;
    entry.drivePath = "/media/stick/ada_Workbench" + below.substr(std::string("/home/ada").size());
    entry.localPath = entry.computerPath;
    entry.pushkeyPath = "/media/stick/ada_Workbench/.Z_VT_W/H-1" + entry.drivePath.substr(12);
    entry.localFileModDate = at(1);
    entry.localFileSize = 5'000'000'000;
    entry.pushkeyFileModDate = at(-1);
    entry.pushkeyFileSize = 7;
    entry.pushkeyFileBackupDate = Date::missing();
    entry.syncEntryType = entrytype::changedOnBothSides;
    entry.actionToPerform = action::toDrive;
    return entry;
}

const ScanRoots roots{"/media/stick", "/media/stick/ada_Workbench/.Z_VT_W/H-1", "/home/ada/.Z_VT_W/1-1-1"};

TEST(CompareMemory, aChangedFileTakesLessThanAHundredBytes) {
    const std::size_t before = inUse();
    ScanResults results;
    results.beginPass(roots, NameRule(true));
    for (int folder = 0; folder < folders; ++folder)
        for (int file = 0; file < filesInEach; ++file)
            EXPECT_TRUE(results.addUnlessCovered(edited(folderName(folder) + "/" + fileName(file))));
    const std::size_t after = inUse();
    EXPECT_LT(static_cast<double>(after - before) / count, 100.0);
    EXPECT_EQ(results.numEntries(), static_cast<std::size_t>(count));
    const std::string last = folderName(folders - 1) + "/" + fileName(filesInEach - 1);
    EXPECT_EQ(results.entries()[results.numEntries() - 1], edited(last));
    EXPECT_EQ(results.entryForDrivePath(edited(last).drivePath), edited(last));
    EXPECT_FALSE(results.addUnlessCovered(edited(last)));
}

TEST(CompareMemory, aFileOfTheSnapshotTakesAtMost64BytesBesidesItsListing) {
    SyncWorld world;
    world.makeFolders("/home/ada/Pictures");
    for (int folder = 0; folder < 20; ++folder) {
        world.makeFolders(folderName(folder));
        for (int file = 0; file < filesInEach; ++file)
            world.write(folderName(folder) + "/" + fileName(file), "x", at(-1));
    }
    world.disk.faults().clearLog();
    // The fake disk notes every call: a first look makes room for its notes.
    { EXPECT_NE(ComputerSnapshot(world.files, {}, {}).add("/home/ada/Pictures"), ComputerSnapshot::none); }
    world.disk.faults().clearLog();
    const std::size_t before = inUse();
    ComputerSnapshot snapshot(world.files, {}, {});
    EXPECT_NE(snapshot.add("/home/ada/Pictures"), ComputerSnapshot::none);
    const double each = static_cast<double>(inUse() - before) / static_cast<double>(snapshot.entryCount());
    // A block of names and one of entries are never quite full.
    EXPECT_LT(each, 64.0 + 65536.0 / static_cast<double>(snapshot.entryCount()));
}

struct PackedRow {
    const char* name;
    std::function<void(ScanEntry&)> change;
};
class PackedEntry : public testing::TestWithParam<PackedRow> {};
// Whatever an entry is like, it comes back as it was, whether its paths follow from folders and a name or not.
TEST_P(PackedEntry, comesBackAsItWas) {
    ScanEntry entry = edited("/home/ada/Pictures/a.jpg");
    GetParam().change(entry);
    ScanResults results;
    results.beginPass(roots, NameRule(true));
    ASSERT_TRUE(results.addUnlessCovered(edited("/home/ada/Pictures/first.jpg")));
    ASSERT_TRUE(results.addUnlessCovered(entry));
    EXPECT_EQ(results.entries()[1], entry);
    EXPECT_EQ(results.entryForDrivePath(entry.drivePath), entry);
    EXPECT_EQ(results.entries()[0], edited("/home/ada/Pictures/first.jpg"));
    EXPECT_FALSE(results.entryForDrivePath("/media/stick/none"));
}
INSTANTIATE_TEST_SUITE_P(
    Rows, PackedEntry,
    testing::Values(PackedRow{"plain", [](ScanEntry&) {}},
                    PackedRow{"newOnTheComputer",
                              [](ScanEntry& e) {
                                  e.pushkeyFileModDate.reset();
                                  e.pushkeyFileSize.reset();
                                  e.pushkeyFileBackupDate.reset();
                                  e.syncEntryType = entrytype::onlyOnComputer;
                              }},
                    PackedRow{"newerOnTheDrive",
                              [](ScanEntry& e) {
                                  e.actionToPerform = action::driveIsNewer;
                                  e.localPath = "/home/ada/.Z_VT_W/1-1-1/ada_Workbench/Pictures/a.jpg";
                                  e.pushkeyPath = e.drivePath;
                              }},
                    PackedRow{"package", [](ScanEntry& e) { e.package = true; }},
                    PackedRow{"switchedOff", [](ScanEntry& e) { e.syncActionEnabled = false; }},
                    PackedRow{"withoutAction", [](ScanEntry& e) { e.actionToPerform.reset(); }},
                    PackedRow{"withoutDates", [](ScanEntry& e) { e.localFileModDate.reset(); }},
                    PackedRow{"spelledOtherwiseOnTheDrive",
                              [](ScanEntry& e) {
                                  e.drivePath = "/media/stick/ada_Workbench/Pictures/A.JPG";
                                  e.pushkeyPath = "/media/stick/ada_Workbench/.Z_VT_W/H-1/ada_Workbench/Pictures/A.JPG";
                              }},
                    PackedRow{"withAMarker", [](ScanEntry& e) { e.trueDelete = "/media/stick/.d$f.a.jpg"; }},
                    PackedRow{"ofAnotherBackupDate", [](ScanEntry& e) { e.pushkeyFileBackupDate = at(3); }},
                    PackedRow{"withUnusualPaths", [](ScanEntry& e) { e.pushkeyPath = "/elsewhere"; }},
                    PackedRow{"withAnUnusualName",
                              [](ScanEntry& e) { e.computerPath = e.localPath = "/home/ada/Pictures/b.jpg"; }}),
    [](const auto& row) { return row.param.name; });

TEST(CompareResults, aLaterFolderCarriesWhatLiesBelowIt) {
    for (const bool caseSensitive : {true, false}) {
        ScanResults results;
        results.beginPass(roots, NameRule(caseSensitive));
        EXPECT_TRUE(results.addUnlessCovered(edited("/home/ada/Pictures/in/a.jpg")));
        EXPECT_TRUE(results.addUnlessCovered(edited("/home/ada/Pictures2/b.jpg")));
        ScanEntry folder = edited(caseSensitive ? "/home/ada/Pictures" : "/home/ada/PICTURES");
        folder.package = true;
        EXPECT_TRUE(results.addUnlessCovered(folder));
        EXPECT_FALSE(results.entries()[0].syncActionEnabled);
        EXPECT_TRUE(results.entries()[1].syncActionEnabled);
        EXPECT_FALSE(results.addUnlessCovered(edited("/home/ada/Pictures/later/c.jpg")));
        EXPECT_EQ(results.addUnlessCovered(edited("/home/ada/pictures/d.jpg")), caseSensitive);
        EXPECT_TRUE(results.addUnlessCovered(edited("/home/ada/Pictures3")));
        results.clearScanResults();
        EXPECT_EQ(results.numEntries(), 0U);
        EXPECT_FALSE(results.entryForDrivePath(folder.drivePath));
    }
}

} // namespace
} // namespace vt::test

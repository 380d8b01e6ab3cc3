// The rows of the sync preview and the data source that feeds them to a table.
#include "config/VTPreviewSyncEntry.h"
#include "config/VTPreviewTableDataSource.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <string>
#include <utility>
#include <vector>

namespace vt {
namespace {

using Dictionary = Value::Dictionary;

const HomePaths homePaths("/home/ann");

VTPreviewSyncEntry entry(Dictionary row) {
    return {std::move(row), homePaths};
}

// Dates are shown in local time.
class Utc {
  public:
    Utc() {
        if (const char* before = std::getenv("TZ")) _before = before;
        setenv("TZ", "UTC0", 1);
        tzset();
    }
    ~Utc() {
        _before ? setenv("TZ", _before->c_str(), 1) : unsetenv("TZ");
        tzset();
    }
    Utc(const Utc&) = delete;
    Utc& operator=(const Utc&) = delete;

  private:
    std::optional<std::string> _before;
};

struct SizeRow {
    std::uint64_t size;
    const char* text;
};

TEST(PreviewEntry, SizesMixUnitsAndKeepTheirLow32Bits) {
    const SizeRow rows[] = {
        {0, "0 bytes"},
        {1, "1 bytes"},
        {1023, "1023 bytes"},
        {1024, "1 KB"},
        {1'023'999, "999 KB"},
        {1'024'000, "1 MB"},
        {1'023'999'999, "999 MB"},
        {1'024'000'000, "1 GB"},
        {4'294'967'295, "4 GB"},
        {4'294'967'296, "0 bytes"},
        {4'294'969'344, "2 KB"},
    };
    for (const SizeRow& row : rows)
        EXPECT_EQ(VTPreviewSyncEntry::formattedFileInfoFor(row.size, std::nullopt), row.text) << row.size;
}

TEST(PreviewEntry, DateAndSizeStandBesideEachOtherOrAlone) {
    const Utc utc;
    const auto date = Date::parse("2013-05-21 14:03:07 +0000");
    const std::string shown = "Tue May 21 14:03:07 2013";
    EXPECT_EQ(VTPreviewSyncEntry::formattedFileInfoFor(2048, date), shown + " 2 KB");
    EXPECT_EQ(VTPreviewSyncEntry::formattedFileInfoFor(std::nullopt, date), shown);
    EXPECT_EQ(VTPreviewSyncEntry::formattedFileInfoFor(std::nullopt, std::nullopt), "");
    const auto row = entry({{"localFileSize", 10}, {"pushkeyFileModDate", *date}, {"pushkeyFileSize", 2048}});
    EXPECT_EQ(row.localFileInfo(), "10 bytes");
    EXPECT_EQ(row.pushkeyFileInfo(), shown + " 2 KB");
}

struct TypeRow {
    std::uint64_t type;
    const char* text;
    const char* computer;
    const char* drive;
};

TEST(PreviewEntry, TypesHaveTheirTextsAndTheDeletedSideSaysSo) {
    const TypeRow rows[] = {
        {0, "New", "1 bytes", "2 bytes"},      {1, "Overwrite", "1 bytes", "2 bytes"},
        {2, "Conflict", "1 bytes", "2 bytes"}, {3, "Delete", "DELETED", "2 bytes"},
        {4, "Delete", "1 bytes", "DELETED"},   {5, "Delete", "1 bytes", "2 bytes"},
        {6, "New", "1 bytes", "2 bytes"},      {7, "", "1 bytes", "2 bytes"},
    };
    for (const TypeRow& row : rows) {
        const auto made = entry({{"syncEntryType", row.type}, {"localFileSize", 1}, {"pushkeyFileSize", 2}});
        EXPECT_EQ(made.syncEntryTypeString(), row.text) << row.type;
        EXPECT_EQ(made.localFileInfo(), row.computer) << row.type;
        EXPECT_EQ(made.pushkeyFileInfo(), row.drive) << row.type;
    }
    EXPECT_EQ(entry({}).syncEntryTypeString(), "");
    EXPECT_EQ(entry({{"syncEntryType", "1"}}).syncEntryTypeString(), "") << "a text is no number";
}

struct PathRow {
    const char* path;
    std::optional<std::string> temporary;
    const char* shown;
};

TEST(PreviewEntry, TheTemporaryFolderIsHiddenFromPaths) {
    const PathRow rows[] = {
        {"/home/ann/Music/a.mp3", std::nullopt, "/home/ann/Music/a.mp3"},
        {"/home/ann/Music/a.mp3", "/tmp/preview", "/home/ann/Music/a.mp3"},
        {"/home/ann/Music/a.mp3", "", "/home/ann/Music/a.mp3"},
        {"/tmp/preview/~/Music/a.mp3", "/tmp/preview", "/home/ann/Music/a.mp3"},
        {"/tmp/preview/Volumes/a.mp3", "/tmp/preview", "Volumes/a.mp3"},
        {"/private/tmp/preview/x/tmp/preview/a.mp3", "/tmp/preview", "x/tmp/preview/a.mp3"},
        {"/tmp/preview", "/tmp/preview", "/tmp/preview"},
        {"/tmp/preview/", "/tmp/preview", "/tmp/preview/"},
        {"~/Music", "/tmp/preview", "~/Music"},
    };
    for (const PathRow& row : rows) {
        auto made = entry({{"localPath", row.path}});
        made.setLocalTempPath(row.temporary);
        EXPECT_EQ(made.localDisplayPath(), row.shown) << row.path;
    }
    EXPECT_EQ(entry({}).localDisplayPath(), std::nullopt);
}

TEST(PreviewEntry, TheNameIsThatOfTheComputersItemElseOfTheDrives) {
    EXPECT_EQ(entry({{"localPath", "/a/one"}, {"pushkeyPath", "/d/two"}}).fileName(), "one");
    EXPECT_EQ(entry({{"pushkeyPath", "/d/two"}}).fileName(), "two");
    EXPECT_EQ(entry({}).fileName(), std::nullopt);
}

TEST(PreviewEntry, EveryOtherKeyIsTheRowsOwn) {
    auto row = entry({{"localPath", "/a/one"}, {"note", "mine"}, {"syncEntryType", 2}});
    EXPECT_EQ(row.valueForKey("note"), Value("mine"));
    EXPECT_EQ(row.valueForKey("fileName"), Value("one"));
    EXPECT_EQ(row.valueForKey("syncEntryTypeString"), Value("Conflict"));
    EXPECT_EQ(row.valueForKey("syncActionEnabled"), Value(false)) << "absent is off";
    EXPECT_TRUE(row.valueForKey("unknown").isNull());
    row.setSyncEntryType(4);
    row.setActionToPerform(3);
    row.setSyncActionEnabled(true);
    EXPECT_EQ(row.entryDict(), (Dictionary{{"localPath", "/a/one"},
                                           {"note", "mine"},
                                           {"syncEntryType", std::uint64_t{4}},
                                           {"actionToPerform", std::uint64_t{3}},
                                           {"syncActionEnabled", true}}));
}

struct ClickRow {
    std::uint64_t type;
    std::uint64_t action;
    const char* column;
    std::uint64_t after;
};

TEST(PreviewEntry, ClicksChooseTheSideOfConflictsAndDeletionsOnly) {
    const ClickRow rows[] = {
        {2, 1, "pushkeyFileInfo", 2}, {2, 2, "localFileInfo", 1},   {3, 1, "pushkeyFileInfo", 2},
        {3, 2, "localFileInfo", 1},   {2, 1, "localFileInfo", 1},   {2, 2, "pushkeyFileInfo", 2},
        {2, 3, "pushkeyFileInfo", 3}, {1, 1, "pushkeyFileInfo", 1}, {4, 2, "localFileInfo", 2},
        {0, 1, "pushkeyFileInfo", 1}, {2, 1, "fileName", 1},
    };
    for (const ClickRow& row : rows) {
        auto made = entry({{"syncEntryType", row.type}, {"actionToPerform", row.action}});
        EXPECT_EQ(made.clickedColumnWithIdentifier(row.column), row.after != row.action) << row.column;
        EXPECT_EQ(made.actionToPerform(), row.after) << row.type << row.column;
    }
}

TEST(PreviewEntry, AClickOnTheSwitchFlipsItWhateverTheType) {
    auto row = entry({{"syncEntryType", 1}});
    EXPECT_TRUE(row.clickedColumnWithIdentifier("syncActionEnabled"));
    EXPECT_TRUE(row.syncActionEnabled());
    EXPECT_TRUE(row.clickedColumnWithIdentifier("syncActionEnabled"));
    EXPECT_FALSE(row.syncActionEnabled());
}

class Table final : public PreviewTable {
  public:
    const VTPreviewTableDataSource* source = nullptr;
    long clicked = -1;
    std::optional<std::string> column;
    long selected = -1;
    int reloads = 0;
    void reloadData() override { ++reloads; }
    const VTPreviewTableDataSource* dataSource() const override { return source; }
    PreviewColour backgroundColour() const override { return {1, 1, 1, 1}; }
    long clickedRow() const override { return clicked; }
    std::optional<std::string> clickedColumn() const override { return column; }
    long selectedRow() const override { return selected; }
};

class Cell final : public PreviewCell {
  public:
    bool takes = true;
    std::optional<PreviewColour> colour;
    bool draws = false;
    bool takesBackgroundColour() const override { return takes; }
    void setBackgroundColour(const PreviewColour& given) override { colour = given; }
    void setDrawsBackground(bool given) override { draws = given; }
};

class PreviewSource : public testing::Test {
  protected:
    PreviewSource() {
        table.source = &source;
        source.setTableView(&table);
    }
    void fill() {
        source.setDataStorage(Dictionary{
            {"numEntries", 2},
            {"localTempPath", "/tmp/preview"},
            {"0", Dictionary{{"localPath", "/tmp/preview/~/a"}, {"syncEntryType", 2}, {"actionToPerform", 1}}},
            {"1", Dictionary{{"localPath", "/home/ann/b"}, {"syncEntryType", 1}, {"actionToPerform", 4}}},
        });
    }
    void click(long row, std::optional<std::string> column) {
        table.clicked = row;
        table.column = std::move(column);
        source.tableSingleAction();
    }
    Table table;
    VTPreviewTableDataSource source{homePaths};
};

TEST_F(PreviewSource, CountsItsRows) {
    EXPECT_EQ(VTPreviewTableDataSource::numberOfRowsInTableView(table), -1) << "no storage";
    fill();
    EXPECT_EQ(VTPreviewTableDataSource::numberOfRowsInTableView(table), 2);
    source.deleteAllRows();
    EXPECT_EQ(source.root(), Dictionary{});
    EXPECT_EQ(VTPreviewTableDataSource::numberOfRowsInTableView(table), -1) << "no number";
    table.source = nullptr;
    EXPECT_EQ(VTPreviewTableDataSource::numberOfRowsInTableView(table), -1);
}

TEST_F(PreviewSource, GivesEachColumnItsValue) {
    EXPECT_TRUE(source.objectValueFor("fileName", 0).isNull());
    fill();
    EXPECT_EQ(source.objectValueFor("fileName", 1), Value("b"));
    EXPECT_EQ(source.objectValueFor("localDisplayPath", 0), Value("/home/ann/a"));
    EXPECT_TRUE(source.objectValueFor(std::nullopt, 0).isNull());
    EXPECT_TRUE(source.objectValueFor("fileName", 2).isNull());
}

TEST_F(PreviewSource, TakesAValueIntoItsRow) {
    source.setObjectValue(true, "syncActionEnabled", 0);
    EXPECT_EQ(source.dataStorage(), std::nullopt);
    fill();
    source.setObjectValue(true, "syncActionEnabled", 1);
    EXPECT_EQ(source.objectValueFor("syncActionEnabled", 1), Value(true));
    EXPECT_EQ(source.objectValueFor("syncActionEnabled", 0), Value(false));
    source.setObjectValue(true, "syncActionEnabled", 2);
    EXPECT_EQ(source.objectAtRow(2), nullptr);
}

TEST_F(PreviewSource, RowsAreNeitherSelectedNorEdited) {
    fill();
    EXPECT_FALSE(VTPreviewTableDataSource::shouldSelectRow(0));
    EXPECT_FALSE(VTPreviewTableDataSource::shouldEditTableColumn("fileName", 0));
    EXPECT_EQ(source.objectAtSelectedRow(), nullptr);
    table.selected = 1;
    EXPECT_EQ(source.objectAtSelectedRow(), source.objectAtRow(1));
}

TEST_F(PreviewSource, AClickChangesItsRowAndReloads) {
    fill();
    click(0, "pushkeyFileInfo");
    EXPECT_EQ(source.objectValueFor("actionToPerform", 0), Value(std::uint64_t{2}));
    EXPECT_EQ(table.reloads, 1);
    click(1, "pushkeyFileInfo"); // a row of this type ignores it
    click(-1, "pushkeyFileInfo");
    click(0, std::nullopt);
    click(5, "syncActionEnabled");
    EXPECT_EQ(table.reloads, 1);
    table.clicked = 1;
    table.column = "syncActionEnabled";
    source.tableDoubleAction();
    EXPECT_EQ(source.objectValueFor("syncActionEnabled", 1), Value(true));
    EXPECT_EQ(table.reloads, 2);
}

TEST_F(PreviewSource, TheSideThatWinsIsHighlighted) {
    fill();
    for (std::uint64_t action = 0; action <= 5; ++action) {
        source.setObjectValue(action, "actionToPerform", 0);
        EXPECT_EQ(source.shouldHighlightColumnWithID("localFileInfo", 0), action == 1 || action == 3) << action;
        EXPECT_EQ(source.shouldHighlightColumnWithID("pushkeyFileInfo", 0), action == 2 || action == 4) << action;
        EXPECT_FALSE(source.shouldHighlightColumnWithID("fileName", 0));
    }
    Cell cell;
    source.willDisplayCell(cell, table, "pushkeyFileInfo", 1);
    EXPECT_EQ(cell.colour, (PreviewColour{0.6, 0.7, 0.6, 1.0}));
    EXPECT_TRUE(cell.draws);
    source.willDisplayCell(cell, table, "localFileInfo", 1);
    EXPECT_EQ(cell.colour, (PreviewColour{1, 1, 1, 1}));
    Cell other;
    other.takes = false;
    source.willDisplayCell(other, table, "pushkeyFileInfo", 1);
    EXPECT_EQ(other.colour, std::nullopt);
    EXPECT_FALSE(other.draws);
}

} // namespace
} // namespace vt

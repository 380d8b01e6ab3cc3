// Files of the copy journal that cannot be read, for a while or for ever.
#include "JournalFixture.h"

#include <cerrno>

namespace vt::test {
namespace {

TEST_F(JournalTest, LeftoversThatCannotBeReadAreKeptUntilTheyCan) {
    cutTwoSyncs();
    // What could not be read under its name is read under another; what was read with it has been merged.
    for (const char* aside : {"group-0-0", "group-0-1"}) {
        disk.faults().fail("read", merged, EIO);
        EXPECT_EQ(journal().beginPass({}).files.size(), 1U);
        disk.faults().clear();
        EXPECT_EQ(journalFiles(), (Lines{aside, "leftovers"}));
    }
    EXPECT_EQ(lines.size(), 2U);
    auto next = journal();
    EXPECT_EQ(next.beginPass({}).files.size(), 2U);
    EXPECT_EQ(journalFiles(), (Lines{"leftovers"}));
}

TEST_F(JournalTest, AGroupThatCanNeverBeReadKeepsNoOtherInDoubt) {
    {
        auto one = journal();
        one.beginPass({d("Music")});
        copied(one, "Music/a");
    }
    const std::string never = std::string(folder) + "/group-0-0";
    ASSERT_TRUE(files.writeAtomically(never, "nobody knows", 0600).ok());
    disk.faults().fail("read", never, EIO);
    {
        auto one = journal();
        EXPECT_EQ(one.beginPass({d("Music")}).files.size(), 1U);
        EXPECT_EQ(journalFiles(), (Lines{"group-0-0", "leftovers"})) << "the one that was read is merged";
        one.settle({d("Music")}, {}, {});
    }
    for (int pass = 0; pass < 2; ++pass) {
        EXPECT_TRUE(journal().beginPass({d("Music")}).files.empty()) << pass;
        EXPECT_EQ(journalFiles(), (Lines{"group-0-0"})) << pass;
    }
}

TEST_F(JournalTest, OfTwoCopiesOfAFileTheLaterCountsAlsoWhenTheFirstIsReadLate) {
    {
        auto one = journal();
        one.beginPass({d("Music")});
        copied(one, "Music/a");
    }
    const std::string first = std::string(folder) + "/" + journalFiles().at(0);
    clock.advance(std::chrono::minutes(1));
    disk.faults().fail("read", first, EIO);
    {
        auto one = journal();
        EXPECT_TRUE(one.beginPass({d("Music")}).files.empty());
        one.beforeCopy();
        one.afterCopy(d("Music/a"), Date::fromSeconds(2000, 0), 10);
    }
    EXPECT_EQ(journal().beginPass({d("Music")}).files.size(), 1U);
    disk.faults().clear();
    auto next = journal();
    EXPECT_EQ(next.beginPass({d("Music")}).files.size(), 1U);
    EXPECT_EQ(next.dateGiven(d("Music/a")), Date::fromSeconds(2000, 0));
}

TEST_F(JournalTest, NothingIsWrittenOverLeftoversThatCanNeitherBeReadNorMoved) {
    cutTwoSyncs();
    const Lines before = journalFiles();
    disk.faults().fail("read", merged, EIO);
    disk.faults().fail("move", merged, EACCES);
    {
        auto one = journal();
        EXPECT_EQ(one.beginPass({d("Music")}).files.size(), 1U);
        one.settle({d("Music")}, {}, {});
    }
    EXPECT_EQ(journalFiles(), before);
    disk.faults().clear();
    EXPECT_EQ(journal().beginPass({}).files.size(), 2U);
}

} // namespace
} // namespace vt::test

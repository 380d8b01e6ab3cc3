#include "JournalFixture.h"

#include "sync/keep/BesideNames.h"
#include "sync/keep/KeepAside.h"
#include "sync/workfolders/CommitGuard.h"

#include <cerrno>

namespace vt::test {
namespace {

TEST_F(JournalTest, NothingWrittenNothingFlushed) {
    auto one = journal();
    one.beginPass({d("Music")});
    EXPECT_TRUE(one.flush().ok());
    EXPECT_TRUE(one.flushBeforeReplacing().ok());
    EXPECT_EQ(flushes, 0);
    EXPECT_TRUE(journalFiles().empty());
}

TEST_F(JournalTest, FlushCoversWhatWasCopiedOnce) {
    auto one = journal();
    one.beginPass({d("Music")});
    copied(one, "Music/a");
    EXPECT_EQ(journalFiles().size(), 1U);
    EXPECT_TRUE(one.flushBeforeReplacing().ok());
    EXPECT_TRUE(one.flushBeforeReplacing().ok());
    EXPECT_TRUE(one.flush().ok());
    EXPECT_EQ(flushes, 1);
    EXPECT_TRUE(journalFiles().empty());
    one.noteCommitted(); // renames need no flush before the next replacement, but one at the end
    EXPECT_TRUE(one.flushBeforeReplacing().ok());
    EXPECT_EQ(flushes, 1);
    EXPECT_TRUE(one.flush().ok());
    EXPECT_EQ(flushes, 2);
}

TEST_F(JournalTest, GroupEndsAfterItsBytesOrItsAge) {
    auto one = journal();
    one.beginPass({d("Music")});
    copied(one, "Music/a", 256ULL << 20U);
    EXPECT_TRUE(one.flush().ok()); // waits for the one that runs, and needs no other
    EXPECT_EQ(flushes, 1);
    copied(one, "Music/b");
    clock.advance(std::chrono::seconds(5));
    EXPECT_EQ(flushes, 1);
    copied(one, "Music/c");
    EXPECT_TRUE(one.flush().ok());
    EXPECT_EQ(flushes, 2);
    EXPECT_TRUE(journalFiles().empty());
}

TEST_F(JournalTest, RecordReachesTheDiskBeforeTheFirstFile) {
    auto one = journal();
    one.beginPass({d("Music")});
    disk.faults().clearLog();
    one.beforeCopy();
    EXPECT_EQ(asked("writeAtomically"), 1);
    copied(one, "Music/a");
    copied(one, "Music/b");
    EXPECT_EQ(asked("writeAtomically"), 1);
    EXPECT_EQ(asked("append"), 2);
}

TEST_F(JournalTest, KilledProcessLeavesItsNamesInDoubt) {
    const std::string strange = "Music/%@ new\nline \xff";
    {
        auto one = journal();
        one.beginPass({d("Music")});
        copied(one, strange);
    }
    auto next = journal();
    const auto& left = next.beginPass({d("Music")});
    EXPECT_EQ(left.files, (std::map<std::string, Date>{{d(strange), Date::fromSeconds(1000, 7)}}));
    EXPECT_TRUE(left.groups.empty()); // the computer has not started again: the names say all
    EXPECT_EQ(next.dateGiven(d(strange)), Date::fromSeconds(1000, 7));
    EXPECT_EQ(next.dateGiven(d("other")), std::nullopt);
    EXPECT_EQ(journalFiles(), (Lines{"leftovers"}));
}

TEST_F(JournalTest, OfTwoCopiesOfOneFileTheLaterDateCounts) {
    const auto copiedAt = [&](std::int64_t seconds) {
        auto one = journal();
        one.beginPass({d("Music")});
        one.beforeCopy();
        one.afterCopy(d("Music/a"), Date::fromSeconds(seconds), 10);
    };
    copiedAt(1000);
    clock.advance(std::chrono::seconds(60));
    copiedAt(2000); // merges the first, and ends as suddenly
    ASSERT_EQ(journalFiles().size(), 2U);
    EXPECT_EQ(journal().beginPass({d("Music")}).files.at(d("Music/a")), Date::fromSeconds(2000));
}

TEST_F(JournalTest, RestartPutsEverythingSinceTheGroupsStartInDoubt) {
    const Date start = clock.now();
    {
        auto one = journal("boot-1");
        one.beginPass({d("Music"), d("Pictures")});
        copied(one, "Music/a");
    }
    for (int i = 0; i < 2; ++i) { // once more from the merged file
        auto next = journal("boot-2");
        const auto& left = next.beginPass({});
        ASSERT_EQ(left.groups.size(), 1U);
        EXPECT_EQ(left.groups[0].items, (Lines{d("Music"), d("Pictures")}));
        EXPECT_LT(left.groups[0].start, start);
        EXPECT_EQ(left.files.size(), 1U);
    }
}

TEST_F(JournalTest, SettlingForgetsOnlyWhatThePassWalked) {
    {
        auto one = journal("boot-1");
        one.beginPass({d("Music"), d("Pictures")});
        copied(one, "Music/a");
        copied(one, "Pictures/b");
    }
    auto next = journal("boot-2");
    next.beginPass({});
    next.settle({d("Music")}, {}, {});
    EXPECT_EQ(next.leftovers().files.size(), 1U);
    EXPECT_EQ(next.leftovers().groups[0].items, (Lines{d("Pictures")}));
    auto third = journal("boot-2");
    third.beginPass({});
    EXPECT_EQ(third.leftovers().files.count(d("Pictures/b")), 1U);
    third.settle({d("Pictures")}, {}, {});
    EXPECT_TRUE(journalFiles().empty());
}

TEST_F(JournalTest, PartlyWalkedGroupIsWrittenBackToo) {
    {
        auto one = journal("boot-1");
        one.beginPass({d("Music"), d("Pictures")});
        one.beforeCopy();
    }
    {
        auto next = journal("boot-2");
        next.beginPass({});
        next.settle({d("Music")}, {}, {});
    }
    auto third = journal("boot-2");
    ASSERT_EQ(third.beginPass({}).groups.size(), 1U);
    EXPECT_EQ(third.leftovers().groups[0].items, (Lines{d("Pictures")}));
}

TEST_F(JournalTest, SettlingKeepsWhatLiesWhereThePassDidNotLook) {
    for (const char* boot : {"boot-1", "boot-2"}) { // of the two groups the first speaks for both in the end
        auto one = journal(boot);
        one.beginPass({d("Music")});
        for (const char* name : {"Music/a", "Music/vault/b", "Music/vault 2/c"}) copied(one, name);
        clock.advance(std::chrono::minutes(1));
    }
    auto next = journal("boot-3");
    const Date start = next.beginPass({}).groups.at(0).start;
    for (int pass = 0; pass < 2; ++pass) {
        next.settle({d("Music")}, {}, {d("Music/vault"), d("Pictures/vault")});
        ASSERT_EQ(next.leftovers().groups.size(), 1U);
        EXPECT_EQ(next.leftovers().groups[0].items, (Lines{d("Music/vault")}));
        EXPECT_EQ(next.leftovers().groups[0].start, start);
        EXPECT_EQ(next.leftovers().files.size(), 1U);
        EXPECT_TRUE(next.dateGiven(d("Music/vault/b")).has_value());
    }
    next.settle({d("Music")}, {}, {d("Music")}); // what is narrower already stays so
    EXPECT_EQ(next.leftovers().groups[0].items, (Lines{d("Music/vault")}));
    next.settle({d("Music")}, {}, {});
    EXPECT_TRUE(journalFiles().empty());
}

TEST_F(JournalTest, FailedFlushIsToldAndKeepsItsNamesWhateverALaterOneSays) {
    auto one = journal();
    one.beginPass({d("Music")});
    copied(one, "Music/a");
    flushCode = EIO;
    EXPECT_EQ(one.flushBeforeReplacing().code(), EIO);
    flushCode = 0;
    copied(one, "Music/b");
    EXPECT_EQ(one.flush().code(), EIO);
    EXPECT_EQ(lines, (Lines{"The drive could not be flushed - Input/output error."}));
    const auto& left = one.beginPass({d("Music")});
    EXPECT_EQ(left.files.size(), 1U);
    EXPECT_EQ(left.files.count(d("Music/a")), 1U);
    EXPECT_TRUE(one.flush().ok());
}

TEST_F(JournalTest, JournalThatCannotBeWrittenIsLoggedOnceAndTheCopyingGoesOn) {
    disk.faults().fail("writeAtomically", folder, ENOSPC);
    auto one = journal();
    one.beginPass({d("Music")});
    copied(one, "Music/a");
    copied(one, "Music/b");
    EXPECT_EQ(lines.size(), 1U);
    EXPECT_TRUE(one.flush().ok());
    EXPECT_EQ(flushes, 1);
}

TEST_F(JournalTest, RecordRemovedInTheMiddleOfAGroupPutsAllSinceItsStartInDoubt) {
    const Date start = clock.now();
    {
        auto one = journal();
        one.beginPass({d("Music"), d("Pictures")});
        copied(one, "Music/a");
        files.remove(folder, {}).ignore();
        clock.advance(std::chrono::seconds(1));
        copied(one, "Music/b");
        EXPECT_EQ(journalFiles().size(), 1U);
        copied(one, "Music/c");
        EXPECT_EQ(lines.size(), 1U); // said once
        EXPECT_TRUE(lines[0].starts_with("The copy journal failed - ")) << lines[0];
    }
    auto next = journal(); // though the computer has not started again
    const auto& left = next.beginPass({});
    ASSERT_EQ(left.groups.size(), 1U);
    EXPECT_EQ(left.groups[0].items, (Lines{d("Music"), d("Pictures")}));
    EXPECT_LT(left.groups[0].start, start);
    EXPECT_EQ(left.files.count(d("Music/c")), 1U);
}

TEST_F(JournalTest, RemovedRecordsOfAGroupThatWasFlushedAreMissedByNobody) {
    auto one = journal();
    one.beginPass({d("Music")});
    copied(one, "Music/a");
    files.remove(folder, {}).ignore();
    EXPECT_TRUE(one.flush().ok());
    EXPECT_TRUE(lines.empty());
    EXPECT_TRUE(journal().beginPass({}).groups.empty());
}

TEST_F(JournalTest, RecordRemovedBeforeAFlushThatFailsIsMadeAnew) {
    {
        auto one = journal();
        one.beginPass({d("Music")});
        copied(one, "Music/a");
        files.remove(folder, {}).ignore();
        flushCode = ENODEV; // pulled
        EXPECT_FALSE(one.flush().ok());
    }
    auto next = journal();
    const auto& left = next.beginPass({});
    ASSERT_EQ(left.groups.size(), 1U);
    EXPECT_EQ(left.groups[0].items, (Lines{d("Music")}));
}

// As one that was cancelled: the process lives and the drive is there, so nothing is lost yet.
TEST_F(JournalTest, CopiesOfAPassThatEndedWithoutAFlushWaitForTheNextOne) {
    auto one = journal();
    one.beginPass({d("Music")});
    copied(one, "Music/a");
    EXPECT_TRUE(one.beginPass({d("Pictures")}).files.empty());
    EXPECT_EQ(journalFiles().size(), 1U);
    {
        auto next = journal(); // should the process end now after all
        EXPECT_EQ(next.beginPass({}).files.size(), 1U);
        next.settle({d("Music")}, {}, {});
    }
    EXPECT_TRUE(one.flush().ok());
    EXPECT_EQ(flushes, 1);
    EXPECT_TRUE(one.beginPass({d("Music")}).files.empty());
    EXPECT_TRUE(journalFiles().empty());
}

TEST_F(JournalTest, RecordRemovedAfterAPassThatEndedWithoutAFlushIsMadeAnew) {
    {
        auto one = journal();
        one.beginPass({d("Music")});
        copied(one, "Music/a");
        files.remove(folder, {}).ignore();
        one.beginPass({d("Pictures")});
    }
    auto next = journal();
    const auto& left = next.beginPass({});
    ASSERT_EQ(left.groups.size(), 1U);
    EXPECT_EQ(left.groups[0].items, (Lines{d("Music")}));
}

TEST_F(JournalTest, LeftoversThatAreRemovedBetweenTwoPassesStayInDoubt) {
    {
        auto before = journal("boot-1");
        before.beginPass({d("Music")});
        copied(before, "Music/a");
    }
    auto one = journal("boot-2");
    one.beginPass({d("Music")});
    files.remove(folder, {}).ignore();
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(one.beginPass({d("Music")}).files.size(), 1U);
        EXPECT_EQ(one.leftovers().groups.size(), 1U) << "not counted twice";
    }
    EXPECT_EQ(journal("boot-2").beginPass({}).files.size(), 1U); // and they are on the disk again
}

TEST_F(JournalTest, CommitFlushesBeforeItReplacesAndJournalledCopiesAreWorthNothing) {
    const std::string root = drive;
    const std::string work = d(".w");
    auto one = journal();
    {
        auto before = journal();
        before.beginPass({d("Music")});
        copied(before, "short"); // given the date of second 1000
        copied(before, "edited");
    }
    one.beginPass({d("Music")});
    const auto note = [this](const std::string& line) { lines.push_back(line); };
    KeepAside keep{drive, {files, clock, [] { return true; }, note}};
    BesideNames besides{files, root, d(".marks"), note};
    CommitGuard guard{root, work, {keep, besides, &one, note}};
    services.guard = &guard;
    services.staging = &guard;
    computer({file("short", "whole content"), file("edited", "computer's")});
    onDrive({file("short", "", Date::fromSeconds(1000, 7)), file("edited", "person's", Date::fromSeconds(3000))});
    for (const char* name : {"short", "edited"}) {
        EXPECT_TRUE(tree().copyPathOntoPath(h(name), work + "/" + name, true, reporter.get()));
        EXPECT_TRUE(tree().movePathOntoPath(work + "/" + name, d(name), true, reporter.get()));
    }
    EXPECT_EQ(flushes, 2); // once before each replacement that followed a copy
    EXPECT_EQ(contentOf(d("short")), "whole content");
    EXPECT_FALSE(files.attributes(d("Archived Vantaro Backups/2013-05-21/short")).ok());
    EXPECT_EQ(contentOf(d("Archived Vantaro Backups/2013-05-21/edited")), "person's");
    EXPECT_EQ(guard.finalPath(work + "/a/b"), d("a/b"));
}

TEST_F(JournalTest, ACopyIsKnownByItsDateAlsoWhereTheDriveKeepsItLessExactly) {
    auto one = journal();
    {
        auto before = journal();
        before.beginPass({d("Music")});
        for (const char* name : {"exact", "lowered", "later", "earlier"}) copied(before, name);
    }
    one.beginPass({d("Music")});
    DestinationCapabilities coarse;
    coarse.dateGranularity = 2'000'000'000;
    const auto note = [this](const std::string& line) { lines.push_back(line); };
    KeepAside keep{drive, {files, clock, [] { return true; }, note}};
    BesideNames besides{files, drive, d(".marks"), note};
    CommitGuard guard{drive, d(".w"), {keep, besides, &one, note, {}, &coarse}};
    FileAttributes staged;
    staged.kind = FileKind::regular;
    staged.size = 1;
    staged.modified = Date::fromSeconds(1000, 7);
    const std::vector<std::pair<std::string, Date>> rows{{"exact", Date::fromSeconds(1000, 7)},
                                                         {"lowered", Date::fromSeconds(998, 8)},
                                                         {"later", Date::fromSeconds(1000, 8)},
                                                         {"earlier", Date::fromSeconds(998, 7)}};
    for (const auto& [name, date] : rows) {
        FileAttributes present;
        present.kind = FileKind::regular;
        present.modified = date;
        const bool setAside = guard.aboutToReplace(d(".w/" + name), staged, d(name), present);
        EXPECT_EQ(setAside, name == "later" || name == "earlier") << name;
    }
}

} // namespace
} // namespace vt::test

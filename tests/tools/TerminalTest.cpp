#include "vantaroctl/Terminal.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <string>
#include <unistd.h>

namespace ctl {
namespace {

TEST(Terminal, SizesForPeople) {
    struct Row {
        double bytes;
        const char* text;
    };
    const Row rows[] = {
        {0, "0 bytes"},      {1, "1 bytes"},     {999, "999 bytes"},  {1000, "1.0 KB"},    {1536, "1.5 KB"},
        {99'949, "99.9 KB"}, {99'950, "100 KB"}, {999'499, "999 KB"}, {999'500, "1.0 MB"}, {1.5e9, "1.5 GB"},
        {64e9, "64.0 GB"},   {2e12, "2.0 TB"},   {3e15, "3.0 PB"},    {5e18, "5000 PB"},
    };
    for (const Row& row : rows) EXPECT_EQ(humanSize(row.bytes), row.text) << row.bytes;
}

TEST(Terminal, ATableFitsIntoEightyColumns) {
    const QStringList heading{"DRIVE", "TYPE", "FREE", "STATE", "CONT", "LAST SYNC (UTC)"};
    const QString path = "/media/ann/" + QString(80, 'x') + "/end";
    const QStringList lines = tableLines(
        heading, {{path, "ext4", "64.0 GB", "idle", "on", "2026-11-21 05:00"}, {"/b", "", "", "", "", ""}}, 80);
    ASSERT_EQ(lines.size(), 3);
    for (const QString& line : lines) EXPECT_LE(line.size(), 80) << line.toStdString();
    EXPECT_EQ(lines[1].size(), 80);
    EXPECT_TRUE(lines[1].startsWith(QStringLiteral("…")));
    EXPECT_TRUE(lines[1].contains("/end  ext4"));
    EXPECT_EQ(lines[2], "/b");
}

TEST(Terminal, ATableIsAsWideAsItsContentOtherwise) {
    EXPECT_EQ(tableLines({"A", "B"}, {{"one", "two"}}, 0), (QStringList{"A    B", "one  two"}));
    const QString reason(200, 'r');
    EXPECT_EQ(tableLines({"A", "B"}, {{"one", reason}}, 0)[1], "one  " + reason);
    const QString clipped = tableLines({"A", "B"}, {{"one", reason}}, 80)[1];
    EXPECT_EQ(clipped.size(), 80);
    EXPECT_TRUE(clipped.endsWith(QStringLiteral("…")));
}

TEST(Terminal, WhatOthersMadeUpCannotSteerATerminal) {
    EXPECT_EQ(shown(QString("a\x1B[2Jb\n\x07\u009B"
                            "c\u00E4")),
              QString("a?[2Jb???c\u00E4"));
}

// What printNames() sends to a terminal.
std::string onTerminal(const QString& text) {
    const int terminal = posix_openpt(O_RDWR | O_NOCTTY);
    EXPECT_EQ(grantpt(terminal), 0);
    EXPECT_EQ(unlockpt(terminal), 0);
    const int end = open(ptsname(terminal), O_RDWR | O_NOCTTY);
    std::fflush(stdout);
    const int before = dup(STDOUT_FILENO);
    dup2(end, STDOUT_FILENO);
    printNames(text);
    dup2(before, STDOUT_FILENO);
    std::string sent;
    char byte = 0;
    while (!sent.ends_with('\n') && read(terminal, &byte, 1) == 1) sent.push_back(byte); // it comes in pieces
    for (const int descriptor : {before, end, terminal}) close(descriptor);
    return sent;
}

TEST(Terminal, ANameIsItselfEverywhereButOnATerminal) {
    EXPECT_EQ(onTerminal("a\x1B[2J\nb"), "a?[2J?b\r\n");
    testing::internal::CaptureStdout();
    printNames("a\x1B[2J\nb");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "a\x1B[2J\nb\n");
}

QJsonObject progress(int activity, double size, double copied, const QString& source = {}) {
    QJsonObject object{{"syncActivityType", activity}, {"syncSize", size}, {"syncCopied", copied}};
    if (!source.isEmpty()) object.insert("syncCopySourcePath", source);
    return object;
}

TEST(Terminal, AProgressLineShowsABarTheSizesAndTheFile) {
    EXPECT_EQ(progressLine(progress(2, 2e9, 5e8, "/home/ann/Music/song.mp3"), 80),
              "[#####...............]  25% 500 MB of 2.0 GB  song.mp3");
    EXPECT_EQ(progressLine(progress(1, 0, 0), 80), "[....................]  preparing");
    // The size is an estimate, which a sync may end below or above.
    EXPECT_EQ(progressLine(progress(2, 1000, 5000), 80), "[####################] 100% 1.0 KB of 1.0 KB  syncing");
    EXPECT_EQ(progressLine(progress(6, 0, 0), 80), "[####################] 100%  completed");
}

TEST(Terminal, AProgressLineNeverExceedsItsWidth) {
    const QString name = "/x/" + QString(300, 'n') + "\x1B[31m";
    for (int width = 1; width <= 120; ++width) {
        const QString line = progressLine(progress(2, 2e9, 5e8, name), width);
        EXPECT_LE(line.size(), width);
        EXPECT_FALSE(line.contains('\x1B'));
    }
}

TEST(Terminal, LinesAreDrawnOverTheOnesBefore) {
    EXPECT_EQ(LiveLines::frame({"a"}, 0), "\r\x1B[Ka");
    EXPECT_EQ(LiveLines::frame({"a"}, 1), "\r\x1B[Ka");
    EXPECT_EQ(LiveLines::frame({"a", "b"}, 1), "\r\x1B[Ka\r\n\x1B[Kb");
    EXPECT_EQ(LiveLines::frame({"a", "b"}, 2), "\r\x1B[1A\x1B[Ka\r\n\x1B[Kb");
    EXPECT_EQ(LiveLines::frame({}, 2), "\r\x1B[1A\x1B[J");
    EXPECT_EQ(LiveLines::frame({"a"}, 2), "\r\x1B[1A\x1B[Ka\x1B[J");
}

TEST(Terminal, NothingIsDrawnWhereTheOutputIsNoTerminal) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    {
        LiveLines out(LiveLines::Output::standardOutput);
        LiveLines errors(LiveLines::Output::standardError);
        EXPECT_FALSE(out.isLive());
        out.show({"text"});
        errors.show({"text"});
    }
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

} // namespace
} // namespace ctl

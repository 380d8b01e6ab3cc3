#include "vantaroctl/WatchPicture.h"

#include <gtest/gtest.h>

namespace ctl {
namespace {

QJsonArray drives(const QList<QPair<QString, QString>>& served) {
    QJsonArray array;
    for (const auto& [mountPoint, name] : served) array.append(QJsonObject{{"mountPoint", mountPoint}, {"name", name}});
    return array;
}

QJsonObject idle(const QString&) {
    return {{"syncActivityType", 0}};
}

QJsonObject syncing(const QString& drive) {
    return {{"activePath", drive},
            {"syncActivityType", 2},
            {"syncSize", 2e9},
            {"syncCopied", 5e8},
            {"syncCopySourcePath", "/home/ann/Music/song.mp3"}};
}

TEST(WatchPicture, ShowsEveryDriveFromTheBeginning) {
    WatchPicture picture("/home/ann");
    EXPECT_EQ(picture.lines(79, 0), QStringList{"no drive is served"});
    picture.setDrives(drives({{"/media/ann/Stick", "Stick"}, {"/mnt/b", "Backup disk"}}), idle);
    EXPECT_EQ(picture.lines(79, 0),
              (QStringList{"Stick        [....................]  idle", "Backup disk  [....................]  idle"}));
    picture.take(syncing("/mnt/b"), 79);
    EXPECT_EQ(picture.lines(79, 0)[1], "Backup disk  [#####...............]  25% 500 MB of 2.0 GB  song.mp3");
}

TEST(WatchPicture, CountsTheSecondsUntilTheSyncOfWhatChanged) {
    WatchPicture picture("/home/ann");
    picture.setDrives(drives({{"/media/ann/Stick", "Stick"}}), idle);
    picture.take(WaitingChanges{"/media/ann/Stick", {"/home/ann/Music", "/home/annex", "/home/ann"}, 9.9}, 1000);
    const auto waiting = [&](qint64 now) { return picture.lines(79, now).value(1); };
    EXPECT_EQ(waiting(1000), "       sync in 10 s: changes in ~/Music, /home/annex, ~");
    EXPECT_EQ(waiting(2000), "       sync in 9 s: changes in ~/Music, /home/annex, ~");
    EXPECT_EQ(waiting(10'800), "       sync in 1 s: changes in ~/Music, /home/annex, ~");
    EXPECT_EQ(waiting(10'900), "       sync in 0 s: changes in ~/Music, /home/annex, ~");
    EXPECT_EQ(waiting(60'000), waiting(10'900));
    picture.take(WaitingChanges{"/media/ann/Stick", {}, 0}, 10'900);
    EXPECT_EQ(picture.lines(79, 10'900).size(), 1);
}

TEST(WatchPicture, KeepsWhatItKnowsOfADriveWhileOthersComeAndGo) {
    WatchPicture picture("/home/ann");
    picture.setDrives(drives({{"/a", "One"}}), idle);
    picture.take(syncing("/a"), 79);
    const QString before = picture.lines(79, 0)[0];
    picture.setDrives(drives({{"/a", "One"}, {"/b", "Two"}}), idle);
    EXPECT_EQ(picture.lines(79, 0), (QStringList{before, "Two  [....................]  idle"}));
    picture.setDrives(drives({{"/b", "Two"}}), idle);
    EXPECT_EQ(picture.lines(79, 0), QStringList{"Two  [....................]  idle"});
    picture.take(syncing("/a"), 79);
    picture.take(WaitingChanges{"/a", {"/x"}, 3}, 0);
    EXPECT_EQ(picture.lines(79, 0).size(), 1) << "news of a drive that has gone";
}

TEST(WatchPicture, GivesTheLastLineOfASyncAwayAndShowsTheDriveIdle) {
    WatchPicture picture("/home/ann");
    picture.setDrives(drives({{"/a", "One"}}), idle);
    const QJsonObject completed{{"activePath", "/a"}, {"syncActivityType", 6}};
    EXPECT_EQ(picture.take(completed, 79), "") << "no sync of it was seen";
    EXPECT_EQ(picture.take(syncing("/a"), 79), "");
    EXPECT_EQ(picture.take(completed, 79), "One  [####################] 100%  completed");
    EXPECT_EQ(picture.lines(79, 0), QStringList{"One  [....................]  idle"});
    EXPECT_EQ(picture.take(completed, 79), "");
}

TEST(WatchPicture, ShowsOneDriveAloneWhereItWasNamed) {
    WatchPicture picture("/home/ann", "/b");
    picture.setDrives(drives({{"/a", "One"}, {"/b", "Two"}}), idle);
    EXPECT_EQ(picture.lines(79, 0), QStringList{"Two  [....................]  idle"});
}

TEST(WatchPicture, DrivesOfOneNameAreToldApartByTheirPlaces) {
    WatchPicture picture("/home/ann");
    picture.setDrives(drives({{"/media/ann/Stick", "Stick"}, {"/media/ann/Stick1", "Stick"}, {"/c", ""}}), idle);
    EXPECT_EQ(picture.labelOf("/media/ann/Stick1"), "/media/ann/Stick1");
    EXPECT_EQ(picture.labelOf("/c"), "/c");
}

TEST(WatchPicture, NoLineExceedsItsWidthOrSteersTheTerminal) {
    WatchPicture picture("/home/ann");
    const QString place = "/media/" + QString(60, 'x') + "\x1B[2J/end";
    picture.setDrives(drives({{place, place}, {"/b", "Two"}}), syncing);
    picture.take(WaitingChanges{place, {"/home/ann/" + QString(100, 'y') + "\x1B[31m"}, 9}, 0);
    for (int width = 1; width <= 120; ++width) {
        for (const QString& line : picture.lines(width, 0)) {
            EXPECT_LE(line.size(), width) << width;
            EXPECT_FALSE(line.contains('\x1B'));
        }
    }
}

} // namespace
} // namespace ctl

#include "vantaroctl/DefaultsFile.h"

#include "vantaroctl/Failure.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>
#include <sys/stat.h>

namespace ctl {
namespace {

class Defaults : public testing::Test {
  protected:
    [[nodiscard]] QByteArray content() const {
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::ReadOnly));
        return file.readAll();
    }
    void write(const QByteArray& bytes) const {
        QDir().mkpath(QFileInfo(path).path());
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bytes);
    }
    static QByteArray plist(const QByteArray& body) {
        return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>" + body + "</dict></plist>";
    }
    QTemporaryDir folder;
    QString path = folder.path() + "/config/com.corvane.vantaro/defaults.plist";
    DefaultsFile defaults{path};
};

TEST_F(Defaults, AMissingFileIsMadeWithItsFolderForItsOwnerAlone) {
    EXPECT_FALSE(defaults.boolean("debug"));
    defaults.setBoolean("debug", true);
    EXPECT_TRUE(defaults.boolean("debug"));
    EXPECT_EQ(QFile(path).permissions() & (QFile::ReadGroup | QFile::ReadOther), QFile::Permissions());
}

TEST_F(Defaults, OtherKeysAreKept) {
    write(plist("<key>keep-aside</key><false/><key>frame</key><string>0 0 640 480</string><key>debug</key><true/>"));
    defaults.setBoolean("debug", false);
    EXPECT_FALSE(defaults.boolean("debug"));
    EXPECT_TRUE(content().contains("<key>keep-aside</key>\n\t<false/>"));
    EXPECT_TRUE(content().contains("<string>0 0 640 480</string>"));
}

TEST_F(Defaults, NumbersAndWordsByHandAreUnderstood) {
    write(plist("<key>a</key><integer>1</integer><key>b</key><string>YES</string><key>c</key><string>NO</string>"));
    EXPECT_TRUE(defaults.boolean("a"));
    EXPECT_TRUE(defaults.boolean("b"));
    EXPECT_FALSE(defaults.boolean("c"));
}

TEST_F(Defaults, WhatIsNoFileIsNeitherWaitedForNorReplaced) {
    QDir().mkpath(QFileInfo(path).path());
    ASSERT_EQ(mkfifo(path.toUtf8().constData(), 0600), 0);
    EXPECT_THROW((void)defaults.boolean("debug"), Failure);
    EXPECT_THROW(defaults.setBoolean("debug", true), Failure);
    EXPECT_FALSE(QFileInfo(path).isFile());
}

TEST_F(Defaults, ABrokenFileIsNamedAndLeftAsItIs) {
    const QByteArray rows[] = {"<plist><dict><key>broken", "<plist version=\"1.0\"><array/></plist>", "bplist00",
                               QByteArray(200'000, ' ')};
    for (const QByteArray& bytes : rows) {
        write(bytes);
        try {
            defaults.setBoolean("debug", true);
            FAIL() << bytes.left(40).data();
        } catch (const Failure& failure) {
            EXPECT_EQ(failure.code, agentError);
            EXPECT_TRUE(failure.message.startsWith(path)) << failure.message.toStdString();
        }
        EXPECT_EQ(content(), bytes);
    }
}

TEST_F(Defaults, ALinkInItsPlaceStays) {
    const QString target = folder.path() + "/elsewhere.plist";
    DefaultsFile(target).setBoolean("other", true);
    QDir().mkpath(QFileInfo(path).path());
    ASSERT_TRUE(QFile::link(target, path));
    defaults.setBoolean("debug", true);
    EXPECT_TRUE(QFileInfo(path).isSymLink());
    EXPECT_TRUE(DefaultsFile(target).boolean("debug"));
    EXPECT_TRUE(DefaultsFile(target).boolean("other"));
}

} // namespace
} // namespace ctl

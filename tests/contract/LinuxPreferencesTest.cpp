#include "platform/linux/LinuxPreferences.h"

#include "platform/linux/LinuxFiles.h"
#include "platform/linux/LinuxPropertyLists.h"
#include "support/Child.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <optional>
#include <sys/stat.h>

namespace vt {
namespace {

constexpr auto any = PreferenceHost::any;
constexpr auto current = PreferenceHost::current;
const std::string domain = "com.corvane.vantaro";

class LinuxPreferencesTest : public testing::Test {
  protected:
    LinuxPreferencesTest() { restart(); }
    void restart() { preferences.emplace(LinuxPreferences::Services{files, files, lists}, folder / "config", "0123"); }
    std::string plist(const Value::Dictionary& values) { return lists.xml(Value(values)).valueOr(""); }
    // `bytes` become the file that stands for the any-host store.
    std::string given(const std::string& bytes) {
        std::string path = preferences->path(domain, any);
        files.makeDirectory(folder / "config", 0700).ignore();
        files.makeDirectory(folder / ("config/" + domain), 0700).ignore();
        EXPECT_TRUE(files.writeAtomically(path, bytes, 0600).ok());
        return path;
    }
    std::string systemLogOf(const std::function<void()>& work) {
        testing::internal::CaptureStderr();
        work();
        return testing::internal::GetCapturedStderr();
    }

    test::TemporaryFolder folder;
    LinuxFiles files;
    LinuxPropertyLists lists;
    std::optional<LinuxPreferences> preferences;
};

TEST_F(LinuxPreferencesTest, ANameWithALineEndBeginsNoLineInTheSystemLog) {
    const std::string config = folder / "con\nfig";
    preferences.emplace(LinuxPreferences::Services{files, files, lists}, config, "0123");
    const std::string path = preferences->path(domain, any);
    ASSERT_TRUE(files.makeDirectory(config, 0700).ok());
    ASSERT_TRUE(files.makeDirectory(config + "/" + domain, 0700).ok());
    ASSERT_TRUE(files.writeAtomically(path, "no property list", 0600).ok());
    const std::string line = systemLogOf([&] { EXPECT_FALSE(preferences->value(domain, any, "a").has_value()); });
    EXPECT_TRUE(line.starts_with("Preferences not read: ")) << line;
    EXPECT_NE(line.find("/con\\x0Afig/"), std::string::npos) << line;
    EXPECT_EQ(line.find("con\nfig"), std::string::npos) << line;
}

TEST_F(LinuxPreferencesTest, FilesAreWhereAPersonLooksForThemAndPrivate) {
    preferences->set(domain, any, "a", Value(1));
    preferences->set(domain, current, "b", Value(2));
    ASSERT_TRUE(preferences->synchronise(domain, any));
    ASSERT_TRUE(preferences->synchronise(domain, current));
    const std::string defaults = folder / "config/com.corvane.vantaro/defaults.plist";
    const std::string byHost = folder / "config/com.corvane.vantaro/ByHost/0123.plist";
    EXPECT_EQ(files.read(defaults, 9999).valueOr(""), plist({{"a", Value(1)}}));
    EXPECT_EQ(files.read(byHost, 9999).valueOr(""), plist({{"b", Value(2)}}));
    EXPECT_EQ(files.attributes(defaults)->mode, 0600U);
    EXPECT_EQ(files.attributes(folder / "config/com.corvane.vantaro")->mode, 0700U);
}

TEST_F(LinuxPreferencesTest, AReaderSeesTheOldOrTheNewFileNeverLess) {
    const std::string path = given(plist({{"a", Value(1)}}));
    const auto before = files.attributes(path);
    ASSERT_TRUE(files.makeDirectory(folder / "held", 0700).ok());
    ASSERT_EQ(::link(path.c_str(), (folder / "held/old").c_str()), 0);
    preferences->set(domain, any, "a", Value(2));
    ASSERT_TRUE(preferences->synchronise(domain, any));
    // The new file took the old one's place; the old one was not written to.
    EXPECT_NE(files.attributes(path)->inode, before->inode);
    EXPECT_EQ(files.read(folder / "held/old", 9999).valueOr(""), plist({{"a", Value(1)}}));
    EXPECT_EQ(files.listNames(folder / ("config/" + domain)).valueOr({}), (std::vector<std::string>{"defaults.plist"}));
}

TEST_F(LinuxPreferencesTest, ABrokenFileReadsAsEmptyAndIsKeptAside) {
    const std::string path = given("<plist><dict>");
    const std::string log = systemLogOf([&] {
        EXPECT_EQ(preferences->all(domain, any), Value::Dictionary{});
        EXPECT_EQ(preferences->value(domain, any, "a"), std::nullopt);
    });
    EXPECT_EQ(log, "Preferences not read: " + path + ": property list: no \"</plist>\" in line 1\n");
    EXPECT_EQ(files.read(path, 9999).valueOr(""), "<plist><dict>");
    preferences->set(domain, any, "a", Value(1));
    ASSERT_TRUE(preferences->synchronise(domain, any));
    EXPECT_EQ(files.read(path + ".broken", 9999).valueOr(""), "<plist><dict>");
    EXPECT_EQ(preferences->all(domain, any), (Value::Dictionary{{"a", Value(1)}}));
}

TEST_F(LinuxPreferencesTest, AnEarlierBrokenFileStays) {
    for (const char* bytes : {"first", "second"}) {
        const std::string path = given(bytes);
        systemLogOf([&] {
            preferences->set(domain, any, "a", Value(1));
            EXPECT_TRUE(preferences->synchronise(domain, any));
        });
    }
    const std::string path = preferences->path(domain, any);
    EXPECT_EQ(files.read(path + ".broken", 99).valueOr(""), "first");
    EXPECT_EQ(files.read(path + ".broken 2", 99).valueOr(""), "second");
}

TEST_F(LinuxPreferencesTest, ARootThatIsNoDictionaryIsBroken) {
    given(lists.xml(Value(Value::Array{1})).valueOr(""));
    const std::string log = systemLogOf([&] { EXPECT_EQ(preferences->all(domain, any), Value::Dictionary{}); });
    EXPECT_NE(log.find("no dictionary"), std::string::npos);
}

TEST_F(LinuxPreferencesTest, AnEditFromOutsideIsSeenAndSurvivesAWrite) {
    preferences->set(domain, any, "a", Value(1));
    given(plist({{"debug", Value(true)}, {"a", Value(7)}}));
    EXPECT_EQ(preferences->value(domain, any, "debug"), Value(true));
    EXPECT_EQ(preferences->value(domain, any, "a"), Value(1));
    ASSERT_TRUE(preferences->synchronise(domain, any));
    restart();
    EXPECT_EQ(preferences->all(domain, any), (Value::Dictionary{{"a", Value(1)}, {"debug", Value(true)}}));
}

TEST_F(LinuxPreferencesTest, ALinkInTheFilesPlaceStays) {
    const std::string path = given("");
    ASSERT_TRUE(files.remove(path, {}).ok());
    ASSERT_TRUE(files.writeAtomically(folder / "mine.plist", plist({{"a", Value(1)}}), 0600).ok());
    ASSERT_TRUE(files.makeLink(path, folder / "mine.plist").ok());
    EXPECT_EQ(preferences->value(domain, any, "a"), Value(1));
    preferences->set(domain, any, "a", Value(2));
    ASSERT_TRUE(preferences->synchronise(domain, any));
    EXPECT_TRUE(files.attributes(path)->isLink());
    EXPECT_EQ(files.read(folder / "mine.plist", 9999).valueOr(""), plist({{"a", Value(2)}}));
}

TEST_F(LinuxPreferencesTest, WhatNoFileCanHoldIsRefusedAndTheFileStays) {
    const std::string path = given(plist({{"a", Value(1)}}));
    preferences->set(domain, any, "b", Value("\xff"));
    const std::string log = systemLogOf([&] { EXPECT_FALSE(preferences->synchronise(domain, any)); });
    EXPECT_NE(log.find("text that is not UTF-8 at \"/b\""), std::string::npos);
    EXPECT_EQ(files.read(path, 9999).valueOr(""), plist({{"a", Value(1)}}));
}

TEST_F(LinuxPreferencesTest, AFolderThatMayNotBeWrittenIsToldAndTheFileStays) {
    const std::string path = given(plist({{"a", Value(1)}}));
    for (const std::string& open : {folder.path(), folder / "config", folder / ("config/" + domain)})
        ASSERT_EQ(::chmod(open.c_str(), 0755), 0);
    ASSERT_EQ(::chmod(path.c_str(), 0644), 0);
    const auto work = [&]() -> std::string {
        LinuxPreferences own({files, files, lists}, folder / "config", "0123");
        own.set(domain, any, "a", Value(2));
        own.set(domain, current, "a", Value(2));
        if (own.synchronise(domain, any)) return "any-host store was written";
        if (own.synchronise(domain, current)) return "by-host store was written";
        return own.value(domain, any, "a") == Value(2) ? "" : "the change is lost";
    };
    if (::getuid() == 0) {
        EXPECT_EQ(test::asUser(65534, work), "");
    } else {
        ASSERT_EQ(::chmod((folder / ("config/" + domain)).c_str(), 0555), 0);
        EXPECT_EQ(work(), "");
        ASSERT_EQ(::chmod((folder / ("config/" + domain)).c_str(), 0755), 0);
    }
    EXPECT_EQ(files.read(path, 9999).valueOr(""), plist({{"a", Value(1)}}));
}

} // namespace
} // namespace vt

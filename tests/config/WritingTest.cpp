#include "ConfigurationWorld.h"

#include <cerrno>
#include <thread>

namespace vt::test {
namespace {

constexpr const char* path = ConfigurationWorld::path;

TEST(ConfigurationWriting, FileIsSharedByEverybody) {
    ConfigurationWorld world;
    ASSERT_TRUE(world.open()->addUserToList());
    EXPECT_EQ(world.files.attributes(path)->mode, 0666U);
    ASSERT_TRUE(world.files.setMode(path, 0600).ok());
    ASSERT_TRUE(world.open()->setQuietEnabledForUser(true));
    EXPECT_EQ(world.files.attributes(path)->mode, 0666U);
}

TEST(ConfigurationWriting, DebugLinesTellTheSteps) {
    ConfigurationWorld world;
    world.log.debug = true;
    const auto config = world.open();
    const std::string root = Value(*config->dictionary()).description();
    ASSERT_TRUE(config->writeConfigFile());
    EXPECT_EQ(world.log.lines(),
              (Lines{"writeConfigFile: new config dictionary=\"" + root + "\"",
                     "writeConfigFile: configuration file /media/stick/.VantaroConfig written: " + root + "\n",
                     "Permissions on configuration file \"/media/stick/.VantaroConfig\" set to 666"}));
}

TEST(ConfigurationWriting, PermissionsThatCannotBeSetStillAnswerTrue) {
    ConfigurationWorld world;
    world.log.debug = true;
    const auto config = world.open();
    world.disk.faults().fail("setMode", path, EPERM);
    EXPECT_TRUE(config->writeConfigFile());
    EXPECT_EQ(world.log.lines().back(),
              "Unable to set permissions on configuration file \"/media/stick/.VantaroConfig\" to 666");
}

TEST(ConfigurationWriting, AFailedWriteLeavesTheFileAndKeepsTheChangeInMemory) {
    ConfigurationWorld world;
    const auto config = world.open();
    ASSERT_TRUE(config->addUserToList());
    const auto before = world.bytes(path);
    world.disk.faults().fail("writeAtomically", path, ENOSPC);
    EXPECT_FALSE(config->setQuietEnabledForUser(true));
    EXPECT_EQ(world.bytes(path), before);
    EXPECT_TRUE(config->isQuietEnabledForUser());
    EXPECT_EQ(world.log.lines(), Lines{"Unable to write configuration file to \"/media/stick/.VantaroConfig\"."});
    world.disk.faults().clear();
    EXPECT_TRUE(config->writeConfigFile());
    EXPECT_TRUE(world.open()->isQuietEnabledForUser());
}

TEST(ConfigurationWriting, WithoutADictionaryNothingIsWritten) {
    ConfigurationWorld world;
    world.put(path, "broken");
    const auto config = world.open();
    world.log.clear();
    EXPECT_FALSE(config->writeConfigFile());
    EXPECT_EQ(world.log.lines(), Lines{"Unable to convert configuration dictionary to XML format. There is no "
                                       "configuration dictionary."});
    EXPECT_EQ(world.bytes(path), "broken");
}

TEST(ConfigurationWriting, ADictionaryThatNoFileCanHoldIsToldAndNotWritten) {
    ConfigurationWorld world;
    const auto config = world.open();
    world.host.id = "bad\xffid";
    EXPECT_FALSE(config->addUserToList());
    ASSERT_FALSE(world.log.lines().empty());
    EXPECT_TRUE(world.log.lines().front().starts_with("Unable to convert configuration dictionary to XML format. "));
    EXPECT_FALSE(world.exists(path));
}

TEST(ConfigurationWriting, FileIsAnXmlPropertyListThatOtherProgramsRead) {
    ConfigurationWorld world;
    const auto config = world.open();
    ASSERT_TRUE(config->addUserToList());
    ASSERT_TRUE(config->setSyncItemList(Items{"~/Pictures", "/srv/a & b"}));
    ASSERT_TRUE(config->setLastSyncDateForUser(Date::fromSeconds(1'369'144'987)));
    EXPECT_EQ(world.bytes(path), R"(<?xml version="1.0" encoding="UTF-8"?>
<!DOCTYPE plist PUBLIC "-//Apple//DTD PLIST 1.0//EN" "http://www.apple.com/DTDs/PropertyList-1.0.dtd">
<plist version="1.0">
<dict>
	<key>001B63A1B2C3-501</key>
	<dict>
		<key>local-last-sync-time</key>
		<date>2013-05-21T14:03:07Z</date>
		<key>local-sync-devicefilters</key>
		<integer>1</integer>
		<key>local-sync-documents</key>
		<true/>
		<key>local-sync-movies</key>
		<true/>
		<key>local-sync-music</key>
		<true/>
		<key>local-sync-pictures</key>
		<true/>
		<key>sync-computer-name</key>
		<string>Workbench</string>
		<key>sync-user-list</key>
		<array>
			<string>001B63A1B2C3-501</string>
		</array>
	</dict>
	<key>config-version</key>
	<integer>3</integer>
	<key>ptop-list</key>
	<dict>
		<key>001B63A1B2C3-501</key>
		<dict>
			<key>items-to-sync</key>
			<array>
				<string>~/Pictures</string>
				<string>/srv/a &amp; b</string>
			</array>
			<key>sync-path</key>
			<string>Workbench</string>
		</dict>
	</dict>
	<key>sync-type</key>
	<string>ptop</string>
	<key>sync-user-list</key>
	<array>
		<string>001B63A1B2C3-501</string>
	</array>
</dict>
</plist>
)");
}

TEST(ConfigurationWriting, GoesOnWithoutTheDriveLock) {
    ConfigurationWorld world;
    const auto config = world.open();
    world.disk.faults().fail("lock", "", ENOLCK);
    EXPECT_TRUE(config->addUserToList());
    EXPECT_TRUE(world.exists(path));
}

TEST(ConfigurationWriting, LocksTheMountPointAndLeavesNothingElseOnTheDrive) {
    ConfigurationWorld world;
    const auto config = world.open();
    world.disk.faults().clearLog();
    ASSERT_TRUE(config->addUserToList());
    const auto& calls = world.disk.faults().log();
    EXPECT_NE(std::find(calls.begin(), calls.end(), "lock /media/stick"), calls.end());
    EXPECT_EQ(*world.files.listNames("/media/stick"), std::vector<std::string>{".VantaroConfig"});
}

TEST(ConfigurationWriting, NoLineIsLoggedUnderALock) {
    ConfigurationWorld world;
    world.log.debug = true;
    const auto config = world.open();
    int asked = 0;
    // Somebody who logs may wait for a thread that reads or writes the same configuration.
    world.log.whileLogging = [&] {
        if (asked++ > 0) return;
        std::thread([&] {
            static_cast<void>(config->isQuietEnabledForUser());
            static_cast<void>(config->writeConfigFile());
        }).join();
    };
    EXPECT_TRUE(config->addUserToList());
    EXPECT_GT(asked, 1);
}

TEST(ConfigurationWriting, AWriteRunnerDecidesWhereAnEditIsWritten) {
    ConfigurationWorld world;
    const auto config = world.open();
    std::vector<std::function<bool()>> queued;
    config->setWriteRunner([&](std::function<bool()> write) {
        queued.push_back(std::move(write));
        return true;
    });
    EXPECT_TRUE(config->addUserToList());
    EXPECT_TRUE(config->setQuietEnabledForUser(true));
    EXPECT_TRUE(config->isQuietEnabledForUser());
    EXPECT_FALSE(world.exists(path));
    for (const auto& write : queued) EXPECT_TRUE(write());
    EXPECT_TRUE(world.open()->isQuietEnabledForUser());
}

TEST(ConfigurationWriting, ManyThreadsLoseNoSetting) {
    ConfigurationWorld world;
    const auto config = world.open();
    ASSERT_TRUE(config->addUserToList());
    std::vector<std::thread> threads;
    threads.emplace_back([&] {
        for (int i = 0; i < 20; ++i) config->setQuietEnabledForUser(true);
    });
    threads.emplace_back([&] {
        for (int i = 0; i < 20; ++i) config->setSyncDeviceFilterForUser(6);
    });
    threads.emplace_back([&] {
        for (int i = 0; i < 20; ++i) config->setSyncItemList(Items{"~/Music"});
    });
    threads.emplace_back([&] {
        for (int i = 0; i < 20; ++i) static_cast<void>(config->syncItemList());
    });
    for (auto& thread : threads) thread.join();
    const auto read = world.open();
    EXPECT_TRUE(read->isQuietEnabledForUser());
    EXPECT_EQ(read->getSyncDeviceFilterForUser(), 6);
    EXPECT_EQ(read->syncItemList(), Items{"~/Music"});
}

// Keeping aside what could not be loaded.

std::string archived(const std::string& suffix = "") {
    return "/media/stick/Archived Vantaro Backups/2013-05-21/.VantaroConfig" + suffix;
}

TEST(ConfigurationKeptAside, ACorruptFileBeforeTheFirstWrite) {
    ConfigurationWorld world;
    world.put(path, "precious");
    const auto config = world.open();
    ASSERT_TRUE(config->addUserToList());
    EXPECT_EQ(world.bytes(archived()), "precious");
    EXPECT_TRUE(world.open()->hasUserSeenDevice());
    EXPECT_TRUE(world.log.has("The configuration file \"/media/stick/.VantaroConfig\" was kept as "
                              "\"/media/stick/Archived Vantaro Backups/2013-05-21/.VantaroConfig\"."));
    ASSERT_TRUE(config->setQuietEnabledForUser(true));
    EXPECT_FALSE(world.exists(archived(" -1")));
}

TEST(ConfigurationKeptAside, TakenNamesGetASuffix) {
    ConfigurationWorld world;
    world.put(archived(), "first");
    world.put(archived(" -1"), "second");
    world.put(path, "third");
    ASSERT_TRUE(world.open()->addUserToList());
    EXPECT_EQ(world.bytes(archived()), "first");
    EXPECT_EQ(world.bytes(archived(" -1")), "second");
    EXPECT_EQ(world.bytes(archived(" -2")), "third");
}

TEST(ConfigurationKeptAside, BesideItWhereNoArchiveCanBeMade) {
    ConfigurationWorld world;
    world.put("/media/stick/Archived Vantaro Backups", "a file");
    world.put(path, "precious");
    ASSERT_TRUE(world.open()->addUserToList());
    EXPECT_EQ(world.bytes("/media/stick/.VantaroConfig (kept 2013-05-21)"), "precious");
    EXPECT_TRUE(world.open()->hasUserSeenDevice());
}

TEST(ConfigurationKeptAside, ALinkInTheArchivesPlaceIsNotFollowed) {
    ConfigurationWorld world;
    world.makeFolders("/media/stick/elsewhere");
    ASSERT_TRUE(world.files.makeLink("/media/stick/Archived Vantaro Backups", "elsewhere").ok());
    world.put(path, "precious");
    ASSERT_TRUE(world.open()->addUserToList());
    EXPECT_TRUE(world.files.listNames("/media/stick/elsewhere")->empty());
    EXPECT_EQ(world.bytes("/media/stick/.VantaroConfig (kept 2013-05-21)"), "precious");
}

TEST(ConfigurationKeptAside, ALinkInTheFilesPlaceIsMovedNotWrittenThrough) {
    ConfigurationWorld world;
    world.put("/media/stick/target", "untouched");
    ASSERT_TRUE(world.files.makeLink(path, "target").ok());
    ASSERT_TRUE(world.open()->addUserToList());
    EXPECT_EQ(world.bytes("/media/stick/target"), "untouched");
    EXPECT_TRUE(world.files.attributes(path)->isRegular());
    EXPECT_TRUE(world.files.attributes(archived())->isLink());
}

TEST(ConfigurationKeptAside, TheWriteGoesAheadWithALineWhereNothingCanBeKept) {
    ConfigurationWorld world;
    world.put(path, "precious");
    const auto config = world.open();
    world.disk.faults().fail("move", path, EPERM);
    EXPECT_TRUE(config->addUserToList());
    const auto lines = world.log.lines();
    EXPECT_TRUE(lines.back().starts_with("The configuration file could not be kept: ")) << lines.back();
    EXPECT_TRUE(world.open()->hasUserSeenDevice());
}

TEST(ConfigurationKeptAside, ReturnsToItsPlaceWhereTheWriteFails) {
    ConfigurationWorld world;
    world.put(path, "precious");
    const auto config = world.open();
    world.log.clear();
    world.disk.faults().fail("writeAtomically", path, ENOSPC);
    EXPECT_FALSE(config->addUserToList());
    EXPECT_EQ(world.bytes(path), "precious");
    EXPECT_FALSE(world.exists(archived()));
    EXPECT_EQ(world.log.lines(), Lines{"Unable to write configuration file to \"/media/stick/.VantaroConfig\"."});
    world.disk.faults().clear();
    EXPECT_TRUE(config->writeConfigFile());
    EXPECT_EQ(world.bytes(archived()), "precious");
}

TEST(ConfigurationKeptAside, NotWhereTheUserSwitchedItOff) {
    ConfigurationWorld world;
    world.keepAside = false;
    world.put(path, "broken");
    ASSERT_TRUE(world.open()->addUserToList());
    EXPECT_EQ(*world.files.listNames("/media/stick"), std::vector<std::string>{".VantaroConfig"});
}

TEST(ConfigurationKeptAside, AFileThatBecameReadableIsMergedInstead) {
    ConfigurationWorld world;
    world.put(path, "broken");
    const auto config = world.open();
    world.putRoot(currentRoot({{"other", Value::Dictionary{{"local-quiet-sync", true}}}}));
    ASSERT_TRUE(config->addUserToList());
    EXPECT_TRUE(world.open()->isQuietEnabledForUniqueHostID("other"));
    EXPECT_FALSE(world.exists(archived()));
}

TEST(ConfigurationKeptAside, AnOldFileThatAppearedMeanwhile) {
    ConfigurationWorld world;
    const auto config = world.open();
    world.putRoot({{"pushkey-uuid", "U"}});
    ASSERT_TRUE(config->addUserToList());
    EXPECT_TRUE(world.exists(archived()));
}

} // namespace
} // namespace vt::test

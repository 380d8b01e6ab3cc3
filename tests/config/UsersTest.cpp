#include "ConfigurationWorld.h"
#include "config/SyncItems.h"

namespace vt::test {
namespace {

constexpr const char* path = ConfigurationWorld::path;

TEST(ConfigurationUsers, JoiningWritesExactlyTheDefaults) {
    ConfigurationWorld world;
    ASSERT_TRUE(world.open()->addUserToList());
    EXPECT_EQ(world.userEntry(world.host.id), (Value::Dictionary{{"local-sync-movies", true},
                                                                 {"local-sync-music", true},
                                                                 {"local-sync-pictures", true},
                                                                 {"local-sync-documents", true},
                                                                 {"local-sync-devicefilters", 1},
                                                                 {"sync-computer-name", "Workbench"},
                                                                 {"sync-user-list", Value::Array{world.host.id}}}));
    EXPECT_EQ(world.root().at("sync-user-list"), Value::Array{world.host.id});
}

TEST(ConfigurationUsers, JoiningAgainAddsNoSecondPlace) {
    ConfigurationWorld world;
    const auto config = world.open();
    ASSERT_TRUE(config->addUserToList());
    ASSERT_TRUE(config->addUserToList());
    EXPECT_EQ(*config->configSyncUserList(), Items{world.host.id});
}

TEST(ConfigurationUsers, OrderOfJoiningIsKeptAndCopiedIntoTheUsersOwnSettings) {
    ConfigurationWorld world;
    ASSERT_TRUE(world.open()->addUserToList());
    world.host.id = "AAAAAAAAAAAA-7";
    ASSERT_TRUE(world.open()->addUserToList());
    EXPECT_EQ(*world.open()->configSyncUserList(), (Items{"001B63A1B2C3-501", "AAAAAAAAAAAA-7"}));
    EXPECT_EQ(world.userEntry("AAAAAAAAAAAA-7").at("sync-user-list"),
              (Value::Array{"001B63A1B2C3-501", "AAAAAAAAAAAA-7"}));
    EXPECT_EQ(world.userEntry("001B63A1B2C3-501").at("sync-user-list"), (Value::Array{"001B63A1B2C3-501"}));
}

TEST(ConfigurationUsers, JoiningWithoutADictionaryMakesOneFirst) {
    ConfigurationWorld world;
    world.put(path, "broken");
    const auto config = world.open();
    ASSERT_FALSE(config->dictionary());
    EXPECT_TRUE(config->addUserToList());
    EXPECT_EQ(world.root().at("config-version"), Value(3));
    EXPECT_TRUE(config->hasUserSeenDevice());
}

TEST(ConfigurationUsers, LeavingRemovesThePlaceTheSettingsAndTheList) {
    ConfigurationWorld world;
    const auto config = world.open();
    ASSERT_TRUE(config->addUserToList());
    ASSERT_TRUE(config->setSyncItemList(Items{"~/Movies"}));
    EXPECT_TRUE(config->hasSyncConfiguration());
    EXPECT_TRUE(config->removeUserFromList());
    EXPECT_EQ(world.root(), currentRoot({{"sync-user-list", Value::Array()}}));
    EXPECT_FALSE(config->hasUserSeenDevice());
    EXPECT_FALSE(config->hasSyncConfiguration());
}

TEST(ConfigurationUsers, LeavingWithoutHavingJoinedStillDropsThePrivateList) {
    ConfigurationWorld world;
    const auto config = world.open();
    ASSERT_TRUE(config->setSyncItemList(Items{"~/Movies"}));
    EXPECT_TRUE(config->removeUserFromList());
    EXPECT_EQ(world.root(), currentRoot());
    EXPECT_FALSE(world.open(VTConfigurationFile::ctoc)->removeUserFromList());
}

TEST(ConfigurationUsers, RemovingAComputersUsersLeavesTheListAndWritesNothing) {
    ConfigurationWorld world;
    const Value::Array users{"001B63A1B2C3-501", "001B63A1B2C3-502", "FFFFFFFFFFFF-501"};
    Value::Dictionary more{{"sync-user-list", users}};
    for (const auto& user : users) more[*user.asString()] = Value::Dictionary{};
    world.putRoot(currentRoot(more));
    const auto before = world.bytes(path);
    const auto config = world.open();
    config->removeUsersOfComputerWithUniqueID("001B63A1B2C3");
    EXPECT_EQ(*config->dictionary(),
              currentRoot({{"sync-user-list", users}, {"FFFFFFFFFFFF-501", Value::Dictionary{}}}));
    EXPECT_EQ(world.bytes(path), before);
    config->removeUsersOfComputerWithUniqueID("");
    EXPECT_TRUE(config->dictionary()->contains("FFFFFFFFFFFF-501"));
}

TEST(ConfigurationUsers, AComputerTakesPartWhenOneOfItsUsersDoes) {
    ConfigurationWorld world;
    const Value::Dictionary on{{"local-participate-in-sync", true}};
    world.putRoot(currentRoot(
        {{"001B63A1B2C3-501", Value::Dictionary{}}, {"001B63A1B2C3-502", on}, {"FFFFFFFFFFFF-1", "no dictionary"}}));
    const auto config = world.open();
    EXPECT_TRUE(config->computerWithUniqueID("001B63A1B2C3"));
    EXPECT_FALSE(config->computerWithUniqueID("001B63A1B2C3-501"));
    EXPECT_FALSE(config->computerWithUniqueID("FFFFFFFFFFFF"));
    EXPECT_FALSE(config->computerWithUniqueID("EEEEEEEEEEEE"));
}

TEST(ConfigurationUsers, AnyObjectUnderTheIdentifierCountsAsSeen) {
    ConfigurationWorld world;
    EXPECT_FALSE(world.open()->hasUserSeenDevice());
    world.putRoot(currentRoot({{world.host.id, "text"}}));
    EXPECT_TRUE(world.open()->hasUserSeenDevice());
}

// Sync lists.

TEST(SyncList, IsStoredWithTheMachineNameOfItsMaking) {
    ConfigurationWorld world;
    const auto config = world.open();
    EXPECT_FALSE(config->syncItemList());
    ASSERT_TRUE(config->setSyncItemList(Items{"~/Movies", "/srv/data"}));
    world.system.machine = "Renamed";
    ASSERT_TRUE(config->setSyncItemList(Items{"~/Movies"}));
    EXPECT_EQ(
        world.root().at("ptop-list"),
        Value(Value::Dictionary{{world.host.id, Value::Dictionary{{"sync-path", "Workbench"},
                                                                  {"items-to-sync", Value::Array{"~/Movies"}}}}}));
    EXPECT_EQ(config->syncItemList(), Items{"~/Movies"});
}

TEST(SyncList, EmptyIsStoredAndNullRemovesTheEntry) {
    ConfigurationWorld world;
    const auto config = world.open();
    ASSERT_TRUE(config->setSyncItemList(Items{}));
    EXPECT_EQ(config->syncItemList(), Items{});
    EXPECT_TRUE(config->hasSyncConfiguration());
    ASSERT_TRUE(config->setSyncItemList(std::nullopt));
    EXPECT_FALSE(config->syncItemList());
    EXPECT_EQ(world.root().at("ptop-list"), Value(Value::Dictionary()));
}

TEST(SyncList, OfTheSharedTypeLivesAtTheRoot) {
    ConfigurationWorld world;
    const auto config = world.open(VTConfigurationFile::ctoc);
    EXPECT_EQ(config->syncItemList(), Items{});
    ASSERT_TRUE(config->setSyncItemList(Items{"~/a"}));
    EXPECT_EQ(world.root().at("items-to-sync"), Value::Array{"~/a"});
    ASSERT_TRUE(config->setSyncItemList(std::nullopt));
    EXPECT_EQ(world.root().at("items-to-sync"), Value::Array());
}

TEST(SyncList, TypeZeroBecomesOneForAListWithItems) {
    ConfigurationWorld world;
    world.log.debug = true;
    const auto config = world.open(0);
    ASSERT_TRUE(config->setSyncItemList(Items{}));
    EXPECT_EQ(config->syncType(), 0);
    EXPECT_TRUE(world.log.has("setSyncItemList: syncType not matched = 0"));
    EXPECT_FALSE(config->syncItemList());
    ASSERT_TRUE(config->setSyncItemList(Items{"~/a"}));
    EXPECT_EQ(config->syncType(), VTConfigurationFile::ptop);
    EXPECT_EQ(config->syncItemList(), Items{"~/a"});
}

TEST(SyncList, SettingItReadsTheFileAgainWhileNothingIsLoaded) {
    ConfigurationWorld world;
    const auto config = world.open();
    world.putRoot(currentRoot({{"other", Value::Dictionary{{"local-quiet-sync", true}}}}));
    ASSERT_TRUE(config->setSyncItemList(Items{"~/a"}));
    EXPECT_TRUE(config->isQuietEnabledForUniqueHostID("other"));
}

TEST(SyncList, ReadingTheFileAgainReplacesUnwrittenChanges) {
    ConfigurationWorld world;
    const auto config = world.open();
    config->setWriteRunner([](const std::function<bool()>&) { return true; });
    ASSERT_TRUE(config->addUserToList());
    world.putRoot(currentRoot());
    config->setWriteRunner([](const std::function<bool()>& write) { return write(); });
    ASSERT_TRUE(config->setSyncItemList(Items{"~/a"}));
    EXPECT_FALSE(config->hasUserSeenDevice());
}

TEST(SyncList, OnAFreshDriveAJoinedUserSurvivesTheSecondRead) {
    ConfigurationWorld world;
    const auto config = world.open();
    ASSERT_TRUE(config->addUserToList());
    ASSERT_TRUE(config->setSyncItemList(Items{"~/a"}));
    EXPECT_TRUE(config->isSyncDocumentsEnabledForUser());
    EXPECT_EQ(*config->configSyncUserList(), Items{world.host.id});
}

TEST(SyncList, WithoutADictionaryAListBuildsOneAndTheFileIsKeptAside) {
    ConfigurationWorld world;
    world.put(path, "broken");
    const auto config = world.open();
    EXPECT_FALSE(config->setSyncItemList(std::nullopt));
    EXPECT_EQ(world.bytes(path), "broken");
    EXPECT_TRUE(config->setSyncItemList(Items{"~/a"}));
    EXPECT_EQ(world.open()->syncItemList(), Items{"~/a"});
    EXPECT_EQ(world.bytes("/media/stick/Archived Vantaro Backups/2013-05-21/.VantaroConfig"), "broken");
}

TEST(SyncList, DebugLinesShowIt) {
    ConfigurationWorld world;
    world.log.debug = true;
    const auto config = world.open();
    ASSERT_TRUE(config->setSyncItemList(Items{"~/a"}));
    world.log.clear();
    static_cast<void>(config->syncItemList());
    EXPECT_EQ(world.log.lines(),
              Lines{"MRLConfig.syncItemList: ptop list = " + Value(Value::Array{"~/a"}).description()});
    const auto shared = world.open(VTConfigurationFile::ctoc);
    world.log.clear();
    static_cast<void>(shared->syncItemList());
    EXPECT_EQ(world.log.lines(), Lines{"MRLConfig.syncItemList: ctoc list = (null)"});
}

TEST(SyncList, ItemsThatAreNoTextAreRefusedWithALineEachOnce) {
    ConfigurationWorld world;
    const auto config = world.open();
    ASSERT_TRUE(config->setSyncItemList(Items{"~/ok", "/srv/caf\xe9", "../up", ""}));
    EXPECT_EQ(config->syncItemList(), Items{"~/ok"});
    const auto lines = world.log.lines();
    EXPECT_EQ(lines, (Lines{"The sync item \"/srv/caf\xEF\xBF\xBD\" was left out: it is not a usable path.",
                            "The sync item \"../up\" was left out: it is not a usable path.",
                            "The sync item \"\" was left out: it is not a usable path."}));
    ASSERT_TRUE(config->setSyncItemList(Items{"../up"}));
    EXPECT_EQ(world.log.lines(), lines);
}

TEST(SyncList, AnItemThatXmlCannotHoldIsRefused) {
    ConfigurationWorld world;
    const auto config = world.open();
    ASSERT_TRUE(config->setSyncItemList(Items{"~/a\x1b[2Jb", "~/line\nend"}));
    EXPECT_EQ(config->syncItemList(), Items{"~/line\nend"});
    EXPECT_EQ(world.log.lines(), (Lines{"The sync item \"~/a\\x1B[2Jb\" was left out: it is not a usable path."}));
}

TEST(SyncList, HostileItemsOfTheFileAreLeftOutOnReading) {
    ConfigurationWorld world;
    const Value::Array items{"~/ok/", "../../etc", 5, Value::Array{}, "~", "~/a/../b", "rel/../../up"};
    world.putRoot(
        currentRoot({{"ptop-list", Value::Dictionary{{world.host.id, Value::Dictionary{{"items-to-sync", items}}}}}}));
    EXPECT_EQ(world.open()->syncItemList(), (Items{"~/ok", "~/", "~/b"}));
}

struct ItemRow {
    const char* name;
    const char* given;
    const char* kept; // null: refused
};
class SyncItemForm : public testing::TestWithParam<ItemRow> {};
TEST_P(SyncItemForm, IsTheOneFormOfAnItem) {
    const auto kept = normaliseSyncItem(GetParam().given, HomePaths("/home/ada"));
    if (GetParam().kept == nullptr) {
        EXPECT_FALSE(kept) << *kept;
    } else {
        EXPECT_EQ(kept, GetParam().kept);
    }
}
INSTANTIATE_TEST_SUITE_P(
    Rows, SyncItemForm,
    testing::Values(ItemRow{"home", "~", "~/"}, ItemRow{"homeSlash", "~/", "~/"},
                    ItemRow{"folder", "~/Music", "~/Music"}, ItemRow{"trailing", "~/Music/", "~/Music"},
                    ItemRow{"doubled", "~//Music///a", "~/Music/a"}, ItemRow{"dots", "~/./Music/../Movies", "~/Movies"},
                    ItemRow{"outOfHome", "~/../bob", "/home/bob"}, ItemRow{"absolute", "/srv/a/", "/srv/a"},
                    ItemRow{"absoluteInHome", "/home/ada/x", "/home/ada/x"}, ItemRow{"root", "/", "/"},
                    ItemRow{"aboveRoot", "/../../etc", "/etc"}, ItemRow{"relative", "a/b/", "a/b"},
                    ItemRow{"relativeUp", "../a", nullptr}, ItemRow{"relativeUpInside", "a/../../b", nullptr},
                    ItemRow{"empty", "", nullptr}, ItemRow{"notText", "/a\xff", nullptr},
                    ItemRow{"control", "/a\x1b", nullptr}, ItemRow{"lineEnds", "/a\n\r\tb", "/a\n\r\tb"},
                    ItemRow{"noCharacter", "/a\xef\xbf\xbe", nullptr},
                    ItemRow{"lastNoCharacter", "~/\xef\xbf\xbf", nullptr}, ItemRow{"delete", "/a\x7f", "/a\x7f"},
                    ItemRow{"dotsInName", "~/a..b", "~/a..b"}, ItemRow{"otherUser", "~bob/x", "~bob/x"}),
    [](const auto& row) { return row.param.name; });

TEST(SyncTarget, IsTheHostAndTheNameOfTheListsMaking) {
    ConfigurationWorld world;
    const auto config = world.open();
    EXPECT_EQ(config->syncTargetPath(), "workbench.local");
    ASSERT_TRUE(config->setSyncItemList(Items{"~/a"}));
    EXPECT_EQ(config->syncTargetPath(), "workbench.local/Workbench");
    EXPECT_EQ(world.open(VTConfigurationFile::ctoc)->syncTargetPath(), "workbench.local");
}

} // namespace
} // namespace vt::test

#include "ConfigurationWorld.h"
#include "config/ConfigurationMerge.h"

namespace vt::test {
namespace {

using D = Value::Dictionary;
using A = Value::Array;

struct MergeRow {
    const char* name;
    D base, mine, theirs, expected;
};
class Merge : public testing::TestWithParam<MergeRow> {};
TEST_P(Merge, TakesOverWhatThisInstanceDidNotChange) {
    const auto& row = GetParam();
    EXPECT_EQ(mergeConfiguration(row.base, row.mine, row.theirs), row.expected)
        << Value(mergeConfiguration(row.base, row.mine, row.theirs)).description();
}
INSTANTIATE_TEST_SUITE_P(
    Rows, Merge,
    testing::Values(
        MergeRow{"nothingChanged", D{{"a", 1}}, D{{"a", 1}}, D{{"a", 1}}, D{{"a", 1}}},
        MergeRow{"theirChange", D{{"a", 1}}, D{{"a", 1}}, D{{"a", 2}}, D{{"a", 2}}},
        MergeRow{"theirAddition", D{}, D{}, D{{"b", 2}}, D{{"b", 2}}},
        MergeRow{"theirRemoval", D{{"a", 1}}, D{{"a", 1}}, D{}, D{}},
        MergeRow{"ownChangeWins", D{{"a", 1}}, D{{"a", 3}}, D{{"a", 2}}, D{{"a", 3}}},
        MergeRow{"ownAddition", D{}, D{{"a", 1}}, D{{"b", 2}}, D{{"a", 1}, {"b", 2}}},
        MergeRow{"ownRemovalStays", D{{"a", 1}}, D{}, D{{"a", 2}}, D{}},
        MergeRow{"keysOfOneUserMerge", D{{"u", D{{"x", 1}, {"y", 1}}}}, D{{"u", D{{"x", 2}, {"y", 1}}}},
                 D{{"u", D{{"x", 1}, {"y", 5}, {"z", 7}}}}, D{{"u", D{{"x", 2}, {"y", 5}, {"z", 7}}}}},
        MergeRow{"aRemovedUserWhoseKeyWasChangedComesBackWhole", D{{"u", D{{"x", 1}, {"y", 1}}}},
                 D{{"u", D{{"x", 2}, {"y", 1}}}},
                 D{}, D{{"u", D{{"x", 2}, {"y", 1}}}}},
        MergeRow{"entriesOfTheListMerge", D{{"ptop-list", D{{"a", 1}, {"b", 1}}}},
                 D{{"ptop-list", D{{"a", 2}, {"b", 1}}}}, D{{"ptop-list", D{{"a", 1}, {"c", 1}}}},
                 D{{"ptop-list", D{{"a", 2}, {"c", 1}}}}},
        MergeRow{"goneListBringsOnlyOwnEntries", D{{"ptop-list", D{{"a", 1}, {"b", 1}}}},
                 D{{"ptop-list", D{{"a", 2}, {"b", 1}}}}, D{}, D{{"ptop-list", D{{"a", 2}}}}},
        MergeRow{"placesOfUsersMerge", D{{"sync-user-list", A{"a", "b"}}}, D{{"sync-user-list", A{"b", "c"}}},
                 D{{"sync-user-list", A{"a", "b", "d"}}}, D{{"sync-user-list", A{"b", "d", "c"}}}},
        MergeRow{"goneUserListBringsOnlyOwnPlaces", D{{"sync-user-list", A{"a", "b"}}},
                 D{{"sync-user-list", A{"a", "b", "c"}}}, D{}, D{{"sync-user-list", A{"c"}}}},
        MergeRow{"goneUserListStaysGone", D{{"sync-user-list", A{"a"}}}, D{{"sync-user-list", A{"a"}}}, D{}, D{}},
        MergeRow{"unchangedUsersAreTheirs", D{{"sync-user-list", A{"a"}}}, D{{"sync-user-list", A{"a"}}},
                 D{{"sync-user-list", A{"b"}}}, D{{"sync-user-list", A{"b"}}}},
        MergeRow{"listsAreTakenWhole", D{{"items-to-sync", A{"a"}}}, D{{"items-to-sync", A{"b"}}},
                 D{{"items-to-sync", A{"c"}}}, D{{"items-to-sync", A{"b"}}}},
        MergeRow{"kindsThatDiffer", D{{"u", 1}}, D{{"u", D{{"x", 1}}}}, D{{"u", "text"}}, D{{"u", D{{"x", 1}}}}}),
    [](const auto& row) { return row.param.name; });

// Two instances on one drive: two logins, two computers, or the agent and a command.

struct TwoInstances : testing::Test {
    ConfigurationWorld world;
    FixedHost otherHost;
    FakeSystemIdentity otherSystem;

    TwoInstances() {
        otherHost.id = "0A0B0C0D0E0F-1000";
        otherSystem.machine = "Laptop";
    }
    std::shared_ptr<VTConfigurationFile> openOther() {
        return VTConfigurationFile::configWithMountPoint(ConfigurationWorld::drive, VTConfigurationFile::ptop,
                                                         {world.files, world.files, world.propertyLists,
                                                          world.preferences, otherSystem, otherHost, world.clock,
                                                          world.log});
    }
};
using ConfigurationMergedOnWrite = TwoInstances;

TEST_F(ConfigurationMergedOnWrite, TwoUsersWhoJoinAtOnceBothStay) {
    const auto mine = world.open();
    const auto theirs = openOther();
    ASSERT_TRUE(mine->addUserToList());
    ASSERT_TRUE(mine->setSyncItemList(Items{"~/Movies"}));
    ASSERT_TRUE(theirs->addUserToList());
    ASSERT_TRUE(theirs->setSyncItemList(Items{"~/Music"}));
    ASSERT_TRUE(mine->setQuietEnabledForUser(true));
    EXPECT_EQ(*world.open()->configSyncUserList(), (Items{world.host.id, otherHost.id}));
    EXPECT_EQ(world.open()->syncItemList(), Items{"~/Movies"});
    EXPECT_EQ(openOther()->syncItemList(), Items{"~/Music"});
    EXPECT_TRUE(world.open()->isQuietEnabledForUser());
    EXPECT_EQ(world.open()->computerNameForUniqueHostID(otherHost.id), "Laptop");
}

TEST_F(ConfigurationMergedOnWrite, AnInstanceSeesTheOthersAfterItsOwnWrite) {
    const auto mine = world.open();
    const auto theirs = openOther();
    ASSERT_TRUE(theirs->addUserToList());
    ASSERT_TRUE(theirs->setParticipatingEnabledForUser(true));
    EXPECT_FALSE(mine->computerWithUniqueID("0A0B0C0D0E0F"));
    ASSERT_TRUE(mine->addUserToList());
    EXPECT_TRUE(mine->computerWithUniqueID("0A0B0C0D0E0F"));
}

TEST_F(ConfigurationMergedOnWrite, LastWriteWinsForTheSameKey) {
    ASSERT_TRUE(world.open()->addUserToList());
    const auto first = world.open();
    const auto second = world.open();
    ASSERT_TRUE(first->setSyncDeviceFilterForUser(4));
    ASSERT_TRUE(second->setSyncDeviceFilterForUser(5));
    EXPECT_EQ(world.open()->getSyncDeviceFilterForUser(), 5);
    ASSERT_TRUE(first->setQuietEnabledForUser(true));
    EXPECT_EQ(world.open()->getSyncDeviceFilterForUser(), 5);
}

TEST_F(ConfigurationMergedOnWrite, RemovedEntriesStayRemoved) {
    ASSERT_TRUE(world.open()->addUserToList());
    ASSERT_TRUE(openOther()->addUserToList());
    const auto mine = world.open();
    mine->removeUsersOfComputerWithUniqueID("0A0B0C0D0E0F");
    ASSERT_TRUE(openOther()->setQuietEnabledForUser(true));
    ASSERT_TRUE(mine->writeConfigFile());
    EXPECT_FALSE(world.root().contains(otherHost.id));
    EXPECT_TRUE(world.root().contains(world.host.id));
}

TEST_F(ConfigurationMergedOnWrite, UnknownKeysOfOtherVersionsSurvive) {
    world.putRoot(currentRoot({{"future-key", Value::Array{1, 2}}}));
    ASSERT_TRUE(world.open()->addUserToList());
    EXPECT_EQ(world.root().at("future-key"), (Value::Array{1, 2}));
}

TEST_F(ConfigurationMergedOnWrite, AFileThatAppearedOnAFreshDriveKeepsItsType) {
    const auto mine = world.open();
    world.putRoot({{"config-version", 3}, {"sync-type", "ctoc"}, {"items-to-sync", Value::Array{"~/a"}}});
    ASSERT_TRUE(mine->addUserToList());
    EXPECT_EQ(world.root().at("sync-type"), Value("ctoc"));
    EXPECT_EQ(world.root().at("items-to-sync"), Value::Array{"~/a"});
    EXPECT_TRUE(world.root().contains(world.host.id));
}

} // namespace
} // namespace vt::test

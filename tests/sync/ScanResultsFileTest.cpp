#include "sync/compare/ScanResultsFile.h"

#include "support/SyncWorld.h"

namespace vt::test {
namespace {

struct ScanFileWorld : SyncWorld {
    std::string path = controller->pathForScanResults();
    ScanResultsFile file{files, propertyLists, path};
    ScanFileWorld() { makeFolders(controller->pathForLocalTemp()); }
};

ScanEntry entryFor(const std::string& name, unsigned type) {
    ScanEntry entry;
    entry.localPath = "/home/ada/" + name;
    entry.pushkeyPath = "/media/stick/" + name;
    entry.localFileModDate = at(-5);
    entry.localFileSize = 5'000'000'000;
    entry.syncEntryType = type;
    entry.actionToPerform = action::toDrive;
    return entry;
}

TEST(ScanResultsFile, comesBackAsItWasWritten) {
    ScanFileWorld world;
    ScanResults results;
    for (int i = 0; i < 12; ++i) results.addEntryToScanResults(entryFor(std::to_string(i), entrytype::onlyOnComputer));
    ASSERT_TRUE(world.file.write(results).ok());
    EXPECT_TRUE(world.path.ends_with("_syncscan"));
    const auto back = world.file.read();
    ASSERT_TRUE(back.ok());
    ASSERT_EQ(back->numEntries(), 12U);
    EXPECT_EQ(back->toValue(), results.toValue());
    EXPECT_EQ(back->entries()[11].localPath, "/home/ada/11"); // in the order of the numbers
}

TEST(ScanResultsFile, aNameThatIsNoTextIsWrittenWithReplacementCharacters) {
    ScanFileWorld world;
    ScanResults results;
    results.addEntryToScanResults(entryFor("\xFF%@", entrytype::changedOnOneSide));
    ASSERT_TRUE(world.file.write(results).ok());
    const auto back = world.file.read();
    ASSERT_TRUE(back.ok());
    EXPECT_EQ(back->entries()[0].localPath, "/home/ada/\uFFFD%@");
}

TEST(ScanResultsFile, whatIsMissingOrBrokenIsAnError) {
    ScanFileWorld world;
    EXPECT_EQ(world.file.read().code(), ENOENT);
    world.write(world.path, "<plist", at(0));
    EXPECT_FALSE(world.file.read().ok());
    world.write(world.path, *world.propertyLists.xml(Value(Value::Array{})), at(0));
    EXPECT_EQ(world.file.read().code(), EINVAL);
}

} // namespace
} // namespace vt::test

// The quicker copier for the entries of one folder: the same results as the general one, whatever the entries are.
#include "platform/linux/LinuxFiles.h"
#include "platform/linux/LinuxItemCopy.h"
#include "support/CopyWitness.h"
#include "support/OpenDriveRoot.h"
#include "support/TemporaryFolder.h"
#include "support/TreeLiteral.h"

#include <cerrno>
#include <gmock/gmock.h>
#include <sys/stat.h>

namespace vt::test {
namespace {

using testing::ElementsAre;

const Date someDate = Date::fromSeconds(1'369'144'987, 123'456'789);

class FolderItemCopyTest : public testing::Test {
  protected:
    FolderItemCopyTest() { buildTree(_files, _files, _folder.path(), {folder("from"), folder("drive/to")}); }
    void build(const std::vector<TreeItem>& items) { buildTree(_files, _files, _folder / "from", items); }
    // To be called when everything stands in "from".
    void begin() {
        _entries = _files.list(_folder / "from").valueOr({});
        _quick = _copier.forFolder(_folder / "from", _folder / "drive/to", _entries);
    }
    bool copy(const std::string& name) {
        return _quick->copyItem(_folder / "from/" + name, _folder / "drive/to/" + name, _witness).done;
    }
    [[nodiscard]] TreeSnapshot source() { return snapshotTree(_files, _files, _folder / "from"); }
    [[nodiscard]] TreeSnapshot made() { return snapshotTree(_files, _files, _folder / "drive/to"); }

    TemporaryFolder _folder;
    LinuxFiles _files;
    OpenDriveRoot _drive{(buildTree(_files, _files, _folder.path(), {folder("drive")}), _folder / "drive")};
    LinuxItemCopy _copier{&_drive};
    std::vector<DirectoryEntry> _entries;
    std::unique_ptr<ItemCopyService> _quick;
    CopyWitness _witness;
};

TEST_F(FolderItemCopyTest, copiesEveryKindOfEntry) {
    build({file("a", "first", someDate, 0640), file("b", "", someDate), link("l", "a", someDate),
           file("package/inside", "p", someDate), file(std::string("odd \xff\n name"), "o", someDate)});
    ASSERT_TRUE(_files.setModified(_folder / "from/package", someDate).ok());
    begin();
    for (const DirectoryEntry& entry : _entries) EXPECT_TRUE(copy(entry.name)) << entry.name;
    EXPECT_EQ(made(), source());
    EXPECT_TRUE(_witness.errors().empty());
}

TEST_F(FolderItemCopyTest, entriesMayBeLeftOutAndOthersComeBetween) {
    for (int i = 0; i < 200; ++i) build({file("f" + std::to_string(i), "content " + std::to_string(i), someDate)});
    begin();
    build({file("late", "came later", someDate)});
    std::vector<std::string> wanted{"late"};
    EXPECT_TRUE(copy("late"));
    for (std::size_t i = 0; i < _entries.size(); i += 7) {
        wanted.push_back(_entries[i].name);
        EXPECT_TRUE(copy(_entries[i].name));
    }
    std::sort(wanted.begin(), wanted.end());
    EXPECT_EQ(pathsOf(_files, _files, _folder / "drive/to"), wanted);
    for (const std::string& name : wanted) EXPECT_EQ(made().at(name), source().at(name));
    // Out of turn it is as good.
    EXPECT_TRUE(copy(_entries[1].name));
    EXPECT_EQ(made().at(_entries[1].name), source().at(_entries[1].name));
}

TEST_F(FolderItemCopyTest, whatStandsAtTheDestinationStays) {
    build({file("a", "new")});
    buildTree(_files, _files, _folder / "drive/to", {file("a", "old")});
    begin();
    EXPECT_FALSE(copy("a"));
    EXPECT_EQ(_witness.errors(), std::vector<int>{EEXIST});
    EXPECT_EQ(_files.read(_folder / "drive/to/a", 10).valueOr(""), "old");
}

TEST_F(FolderItemCopyTest, whatWasExchangedMeanwhileIsNeitherFollowedNorWaitedFor) {
    build({file("a", "a"), file("b", "b"), file("c", "c")});
    begin();
    for (const std::string name : {"a", "b", "c"}) ASSERT_TRUE(_files.remove(_folder / "from/" + name, {}).ok());
    ASSERT_TRUE(_files.makeLink(_folder / "from/a", "/etc/passwd").ok());
    ASSERT_EQ(::mkfifo((_folder / "from/b").c_str(), 0644), 0);
    for (const std::string name : {"a", "b", "c"}) EXPECT_FALSE(copy(name)) << name;
    EXPECT_EQ(_witness.errors(), (std::vector<int>{ELOOP, EOPNOTSUPP, ENOENT}));
    EXPECT_TRUE(made().empty());
}

TEST_F(FolderItemCopyTest, aDriveThatHasGoneIsNamedForEveryFile) {
    build({file("a", "a"), file("b", "b")});
    begin();
    EXPECT_TRUE(copy(_entries[0].name));
    _drive.markGone();
    EXPECT_FALSE(copy(_entries[1].name));
    EXPECT_EQ(_witness.errors(), std::vector<int>{ENODEV});
}

TEST_F(FolderItemCopyTest, aDestinationThatIsALinkOutOfTheDriveIsRefused) {
    build({file("a", "a")});
    buildTree(_files, _files, _folder.path(), {folder("elsewhere"), link("drive/out", "../elsewhere")});
    _entries = _files.list(_folder / "from").valueOr({});
    _quick = _copier.forFolder(_folder / "from", _folder / "drive/out", _entries);
    EXPECT_FALSE(_quick->copyItem(_folder / "from/a", _folder / "drive/out/a", _witness).done);
    EXPECT_EQ(_witness.errors(), std::vector<int>{ELOOP});
    EXPECT_TRUE(pathsOf(_files, _files, _folder / "elsewhere").empty());
}

TEST_F(FolderItemCopyTest, bothHandlesAreClosedWithIt) {
    build({file("a", "a")});
    const auto handles = [&] { return _files.listNames("/proc/self/fd").valueOr({}).size(); };
    const std::size_t before = handles();
    begin();
    EXPECT_TRUE(copy("a"));
    EXPECT_EQ(handles(), before + 2);
    _quick.reset();
    EXPECT_EQ(handles(), before);
}

} // namespace
} // namespace vt::test

// What every file service promises, on the fake disk and on real folders.
#include "support/FileGrounds.h"
#include "support/TreeLiteral.h"

#include <cerrno>
#include <gmock/gmock.h>

namespace vt::test {
namespace {

using testing::ElementsAre;
using testing::UnorderedElementsAre;

class FilesContract : public testing::TestWithParam<GroundKind> {
  protected:
    [[nodiscard]] std::string at(const std::string& below) const { return _ground->root() + "/" + below; }
    void build(const std::vector<TreeItem>& items) { buildTree(_files, _contents, _ground->root(), items); }
    [[nodiscard]] std::vector<std::string> paths() { return pathsOf(_files, _contents, _ground->root()); }
    [[nodiscard]] std::string content(const std::string& below) {
        return _contents.read(at(below), 1 << 20).valueOr("(none)");
    }

    std::unique_ptr<FileGround> _ground = GetParam().make();
    FileService& _files = _ground->files();
    FileContents& _contents = _ground->contents();
};

INSTANTIATE_TEST_SUITE_P(Grounds, FilesContract, testing::ValuesIn(allGrounds()),
                         [](const auto& ground) { return ground.param.name; });

const Date someDate = Date::fromSeconds(1'369'144'987, 123'456'789);

TEST_P(FilesContract, attributesTellKindSizeModeAndDateToTheNanosecond) {
    build({file("a.txt", "hello", someDate, 0640), folder("d", someDate, 0711), link("l", "a.txt", someDate)});
    const auto a = _files.attributes(at("a.txt"));
    ASSERT_TRUE(a.ok());
    EXPECT_TRUE(a->isRegular());
    EXPECT_EQ(a->size, 5U);
    EXPECT_EQ(a->mode, 0640U);
    EXPECT_EQ(a->modified, someDate);
    EXPECT_FALSE(a->immutable);
    const auto d = _files.attributes(at("d"));
    ASSERT_TRUE(d.ok());
    EXPECT_TRUE(d->isDirectory());
    EXPECT_EQ(d->mode, 0711U);
    EXPECT_EQ(d->device, a->device);
    EXPECT_NE(d->inode, a->inode);
    const auto l = _files.attributes(at("l"));
    ASSERT_TRUE(l.ok());
    EXPECT_TRUE(l->isLink());
    EXPECT_EQ(l->modified, someDate);
    const auto followed = _files.attributesFollowing(at("l"));
    // A drive that is walked by hand follows no link at all.
    if (GetParam().name != "driveWalked") {
        ASSERT_TRUE(followed.ok()) << followed.error().describe();
        EXPECT_EQ(followed->inode, a->inode);
    }
}

TEST_P(FilesContract, theRootItselfHasAttributesAndCannotBeRemoved) {
    const auto root = _files.attributes(_ground->root());
    ASSERT_TRUE(root.ok());
    EXPECT_TRUE(root->isDirectory());
    EXPECT_TRUE(_files.attributes(_ground->root() + "/").ok());
}

TEST_P(FilesContract, whatIsNotThereIsAnErrorThatNamesIt) {
    const auto none = _files.attributes(at("none"));
    ASSERT_FALSE(none.ok());
    EXPECT_EQ(none.error().code, ENOENT);
    EXPECT_EQ(none.error().path, at("none"));
    EXPECT_EQ(none.error().disposition, Disposition::skipItem);
    EXPECT_EQ(_files.list(at("none")).code(), ENOENT);
    EXPECT_EQ(_files.remove(at("none"), {}).code(), ENOENT);
    EXPECT_EQ(_files.readLink(at("none")).code(), ENOENT);
    EXPECT_EQ(_files.move(at("none"), at("b"), Replace::always).code(), ENOENT);
    EXPECT_EQ(_contents.read(at("none"), 10).code(), ENOENT);
    EXPECT_EQ(_contents.append(at("none"), "x").code(), ENOENT);
    EXPECT_EQ(_contents.writeAtomically(at("none/x"), "x", 0644).code(), ENOENT);
}

TEST_P(FilesContract, pathsThatNameNothingAreRefused) {
    EXPECT_EQ(_files.attributes("").code(), ENOENT);
    EXPECT_EQ(_files.attributes("relative").code(), EINVAL);
    EXPECT_EQ(_files.attributes(at(std::string("nul\0x", 5))).code(), EINVAL);
}

TEST_P(FilesContract, aFolderSaysWhetherItCanBeWritten) {
    build({folder("d"), file("f", "1")});
    EXPECT_EQ(_files.checkWritable(at("d")).code(), 0);
    EXPECT_EQ(_files.checkWritable(at("f")).code(), ENOTDIR);
    EXPECT_EQ(_files.checkWritable(at("none")).code(), ENOENT);
}

TEST_P(FilesContract, listGivesEveryEntryWithItsAttributesAndFollowsNoLink) {
    build({file("d/a", "1"), folder("d/b"), link("d/c", "/nowhere"), link("to-d", "d")});
    const auto entries = _files.list(at("d"));
    ASSERT_TRUE(entries.ok());
    std::map<std::string, FileKind> kinds;
    for (const DirectoryEntry& entry : *entries) kinds[entry.name] = entry.attributes.kind;
    EXPECT_EQ(kinds, (std::map<std::string, FileKind>{
                         {"a", FileKind::regular}, {"b", FileKind::directory}, {"c", FileKind::link}}));
    EXPECT_THAT(_files.listNames(at("d")).valueOr({}), UnorderedElementsAre("a", "b", "c"));
    EXPECT_EQ(_files.list(at("d/a")).code(), ENOTDIR);
    EXPECT_EQ(_files.list(at("to-d")).code(), ENOTDIR);
}

TEST_P(FilesContract, namesOfAnyBytesComeBackAsTheyWere) {
    const std::vector<std::string> names{"with space",   "quote'\"", "new\nline", "%@ %1$@",
                                         "\xff\xfe raw", "-rf",      "\\",        std::string(255, 'x')};
    for (const std::string& name : names) ASSERT_TRUE(_contents.create(at(name), name, 0644).ok()) << name;
    EXPECT_THAT(_files.listNames(_ground->root()).valueOr({}), testing::UnorderedElementsAreArray(names));
    for (const std::string& name : names) EXPECT_EQ(content(name), name);
    for (const std::string& name : names) EXPECT_TRUE(_files.remove(at(name), {}).ok()) << name;
    EXPECT_EQ(_contents.create(at(std::string(256, 'x')), "", 0644).code(), ENAMETOOLONG);
}

TEST_P(FilesContract, aNewFolderHasExactlyItsMode) {
    ASSERT_TRUE(_files.makeDirectory(at("open"), 0777).ok());
    EXPECT_EQ(_files.attributes(at("open"))->mode, 0777U);
    EXPECT_EQ(_files.makeDirectory(at("open"), 0755).code(), EEXIST);
    EXPECT_EQ(_files.makeDirectory(at("no/deeper"), 0755).code(), ENOENT);
}

TEST_P(FilesContract, moveReplacesExchangesOrRefusesAsAsked) {
    build({file("a", "A"), file("b", "B"), file("d/x", "X"), folder("e")});
    EXPECT_EQ(_files.move(at("a"), at("b"), Replace::never).code(), EEXIST);
    EXPECT_EQ(content("a"), "A");
    ASSERT_TRUE(_files.move(at("a"), at("b"), Replace::exchange).ok());
    EXPECT_EQ(content("a"), "B");
    EXPECT_EQ(content("b"), "A");
    ASSERT_TRUE(_files.move(at("a"), at("b"), Replace::always).ok());
    EXPECT_EQ(content("b"), "B");
    ASSERT_TRUE(_files.move(at("b"), at("d/y"), Replace::never).ok());
    EXPECT_EQ(content("d/y"), "B");
    EXPECT_EQ(_files.move(at("d/y"), at("e"), Replace::always).code(), EISDIR);
    EXPECT_EQ(_files.move(at("e"), at("d/x"), Replace::always).code(), ENOTDIR);
    EXPECT_EQ(_files.move(at("e"), at("d"), Replace::always).code(), ENOTEMPTY);
    EXPECT_EQ(_files.move(at("d"), at("d/inside"), Replace::never).code(), EINVAL);
    EXPECT_EQ(_files.move(at("e"), at("gone"), Replace::exchange).code(), ENOENT);
    ASSERT_TRUE(_files.move(at("d"), at("e"), Replace::always).ok());
    EXPECT_THAT(paths(), ElementsAre("e/", "e/x", "e/y"));
}

TEST_P(FilesContract, removeTakesTreesAndLinksButNothingBehindALink) {
    build({file("keep/precious", "p"), file("t/a", "1"), file("t/b/c/d", "2"), link("t/b/out", "../../keep"),
           link("alone", "keep")});
    ASSERT_TRUE(_files.remove(at("t"), {}).ok());
    ASSERT_TRUE(_files.remove(at("alone"), {}).ok());
    EXPECT_THAT(paths(), ElementsAre("keep/", "keep/precious"));
}

TEST_P(FilesContract, linksKeepTheirTarget) {
    ASSERT_TRUE(_files.makeLink(at("l"), "../any thing\n").ok());
    EXPECT_EQ(_files.readLink(at("l")).valueOr(""), "../any thing\n");
    EXPECT_EQ(_files.makeLink(at("l"), "x").code(), EEXIST);
    build({file("f", "")});
    EXPECT_EQ(_files.readLink(at("f")).code(), EINVAL);
}

TEST_P(FilesContract, modeAndDateAreSetOnTheItemItself) {
    build({file("f", "x"), link("l", "f")});
    ASSERT_TRUE(_files.setMode(at("f"), 04711).ok());
    EXPECT_EQ(_files.attributes(at("f"))->mode, 04711U);
    const Date before = _files.attributes(at("f"))->modified;
    ASSERT_TRUE(_files.setModified(at("l"), someDate).ok());
    EXPECT_EQ(_files.attributes(at("l"))->modified, someDate);
    EXPECT_EQ(_files.attributes(at("f"))->modified, before);
    EXPECT_EQ(_files.setModified(at("none"), someDate).code(), ENOENT);
}

TEST_P(FilesContract, aLockedFileResistsUntilItIsUnlocked) {
    build({file("d/locked", "x"), file("d/other", "y")});
    ASSERT_TRUE(_files.setImmutable(at("d/locked"), true).ok());
    EXPECT_TRUE(_files.attributes(at("d/locked"))->immutable);
    EXPECT_EQ(_files.move(at("d/locked"), at("moved"), Replace::never).code(), EPERM);
    EXPECT_EQ(_contents.append(at("d/locked"), "more").code(), EPERM);
    std::vector<std::string> asked;
    const auto removed = _files.remove(at("d"), [&](const Error& error) {
        asked.push_back(error.path);
        return true;
    });
    EXPECT_EQ(removed.code(), EPERM);
    EXPECT_THAT(asked, ElementsAre(at("d/locked")));
    EXPECT_THAT(paths(), ElementsAre("d/", "d/locked"));
    ASSERT_TRUE(_files.setImmutable(at("d/locked"), false).ok());
    EXPECT_TRUE(_files.remove(at("d"), {}).ok());
}

TEST_P(FilesContract, contentsAreReadUpToTheLimitOnly) {
    build({file("f", "12345"), link("l", "f"), folder("d")});
    EXPECT_EQ(_contents.read(at("f"), 5).valueOr(""), "12345");
    EXPECT_EQ(_contents.read(at("f"), 4).code(), EFBIG);
    EXPECT_EQ(_contents.read(at("d"), 4).code(), EISDIR);
    EXPECT_EQ(_contents.read(at("l"), 9).code(), EINVAL);
}

TEST_P(FilesContract, anAtomicWriteReplacesTheFileAndLeavesNothingBeside) {
    ASSERT_TRUE(_contents.writeAtomically(at("f"), "one", 0644).ok());
    ASSERT_TRUE(_contents.writeAtomically(at("f"), "two", 0666).ok());
    EXPECT_EQ(content("f"), "two");
    EXPECT_EQ(_files.attributes(at("f"))->mode, 0666U);
    build({file("d/x", "x"), link("l", "f")});
    EXPECT_EQ(_contents.writeAtomically(at("d"), "no", 0644).code(), EISDIR);
    ASSERT_TRUE(_contents.writeAtomically(at("l"), "own", 0644).ok());
    EXPECT_EQ(content("f"), "two");
    EXPECT_EQ(content("l"), "own");
    EXPECT_THAT(paths(), ElementsAre("d/", "d/x", "f", "l"));
}

TEST_P(FilesContract, createAndAppend) {
    ASSERT_TRUE(_contents.create(at("f"), "one", 0600).ok());
    EXPECT_EQ(_contents.create(at("f"), "two", 0600).code(), EEXIST);
    ASSERT_TRUE(_contents.append(at("f"), " two").ok());
    EXPECT_EQ(content("f"), "one two");
    EXPECT_EQ(_files.attributes(at("f"))->mode, 0600U);
    build({folder("d")});
    EXPECT_EQ(_contents.append(at("d"), "x").code(), EISDIR);
}

TEST_P(FilesContract, anAppenderAddsPieceByPiece) {
    build({file("f", "one"), folder("d")});
    const auto appender = _contents.appender(at("f"));
    ASSERT_TRUE(appender.ok());
    EXPECT_TRUE((*appender)->append(" two").ok());
    EXPECT_EQ(content("f"), "one two");
    EXPECT_TRUE((*appender)->append(" three").ok());
    EXPECT_EQ(content("f"), "one two three");
    EXPECT_EQ(_contents.appender(at("none")).code(), ENOENT);
    EXPECT_EQ(_contents.appender(at("d")).code(), EISDIR);
}

TEST_P(FilesContract, aLockExcludesASecondOneUntilItIsReleased) {
    auto first = _contents.lock(_ground->root(), 0);
    ASSERT_TRUE(first.ok());
    EXPECT_EQ(_contents.lock(_ground->root(), 0).code(), EWOULDBLOCK);
    first = Result<std::unique_ptr<FileContents::Lock>>(std::unique_ptr<FileContents::Lock>());
    EXPECT_TRUE(_contents.lock(_ground->root(), 0).ok());
    EXPECT_EQ(_contents.lock(at("none"), 0).code(), ENOENT);
}

TEST_P(FilesContract, flushingTakesFoldersAndFiles) {
    build({file("f", "x")});
    EXPECT_TRUE(_contents.flushVolume(_ground->root()).ok());
    EXPECT_TRUE(_contents.flushVolume(at("f")).ok());
    EXPECT_EQ(_contents.flushVolume(at("none")).code(), ENOENT);
}

} // namespace
} // namespace vt::test

// What only a real file system can show about the file service: rights, mounts, links out of a drive, deep trees.
#include "platform/linux/LinuxFiles.h"
#include "platform/linux/FolderStack.h"
#include "platform/linux/VolumeIdentity.h"
#include "support/Child.h"
#include "support/OpenDriveRoot.h"
#include "support/TemporaryFolder.h"
#include "support/TreeLiteral.h"

#include <cerrno>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>

namespace vt::test {
namespace {

constexpr uid_t nobody = 65534;

class LinuxFilesTest : public testing::Test {
  protected:
    TemporaryFolder _folder;
    LinuxFiles _files;
};

// A drive that holds links to a place beside it.
class LinksOutOfADrive : public testing::TestWithParam<PathLocator::Resolver> {
  protected:
    void SetUp() override {
        buildTree(_plain, _plain, _folder.path(), {file("secret/s", "secret"), file("drive/d/f", "inside")});
        buildTree(_plain, _plain, _folder / "drive",
                  {link("out", "../secret"), link("absolute", _folder / "secret"), link("root", "/")});
        _root = std::make_unique<OpenDriveRoot>(_folder / "drive");
        _drive = std::make_unique<LinuxFiles>(_root.get(), GetParam());
    }
    [[nodiscard]] std::string at(const std::string& below) const { return _folder / ("drive/" + below); }

    TemporaryFolder _folder;
    LinuxFiles _plain;
    std::unique_ptr<OpenDriveRoot> _root;
    std::unique_ptr<LinuxFiles> _drive;
};

INSTANTIATE_TEST_SUITE_P(Resolvers, LinksOutOfADrive,
                         testing::Values(PathLocator::Resolver::best, PathLocator::Resolver::walk),
                         [](const auto& way) { return way.param == PathLocator::Resolver::best ? "best" : "walk"; });

TEST_P(LinksOutOfADrive, noOperationFollowsThem) {
    for (const std::string name : {"out", "absolute"}) {
        const std::string s = at(name + "/s");
        EXPECT_EQ(_drive->attributes(s).code(), ELOOP) << name;
        EXPECT_FALSE(_drive->attributesFollowing(at(name)).ok()) << name;
        EXPECT_FALSE(_drive->list(at(name)).ok()) << name;
        EXPECT_EQ(_drive->read(s, 100).code(), ELOOP) << name;
        EXPECT_EQ(_drive->writeAtomically(s, "x", 0644).code(), ELOOP) << name;
        EXPECT_EQ(_drive->append(s, "x").code(), ELOOP) << name;
        EXPECT_EQ(_drive->create(at(name + "/new"), "x", 0644).code(), ELOOP) << name;
        EXPECT_EQ(_drive->makeDirectory(at(name + "/new"), 0755).code(), ELOOP) << name;
        EXPECT_EQ(_drive->makeLink(at(name + "/new"), "x").code(), ELOOP) << name;
        EXPECT_EQ(_drive->move(at("d/f"), at(name + "/f"), Replace::always).code(), ELOOP) << name;
        EXPECT_EQ(_drive->move(s, at("s"), Replace::always).code(), ELOOP) << name;
        EXPECT_EQ(_drive->remove(s, {}).code(), ELOOP) << name;
        EXPECT_EQ(_drive->setMode(s, 0777).code(), ELOOP) << name;
        EXPECT_EQ(_drive->setModified(s, Date()).code(), ELOOP) << name;
        EXPECT_EQ(_drive->setImmutable(s, true).code(), ELOOP) << name;
    }
    EXPECT_EQ(_drive->read(at("root/etc/passwd"), 1 << 20).code(), ELOOP);
    EXPECT_EQ(_plain.read(_folder / "secret/s", 100).valueOr(""), "secret");
    EXPECT_THAT(_plain.listNames(_folder / "secret").valueOr({}), testing::ElementsAre("s"));
}

TEST_P(LinksOutOfADrive, twoDotsAreRefused) {
    EXPECT_EQ(_drive->attributes(at("../secret/s")).code(), EINVAL);
    EXPECT_EQ(_drive->read(at("d/../d/f"), 100).code(), EINVAL);
    EXPECT_EQ(_drive->remove(at("d/.."), {}).code(), EINVAL);
    EXPECT_TRUE(_drive->attributes(at("d/f")).ok());
}

TEST_P(LinksOutOfADrive, theDriveItselfIsNeverRemovedOrMoved) {
    EXPECT_EQ(_drive->remove(_folder / "drive", {}).code(), EBUSY);
    EXPECT_FALSE(_drive->move(_folder / "drive", _folder / "elsewhere", Replace::never).ok());
    EXPECT_EQ(_drive->read(at("d/f"), 100).valueOr(""), "inside");
}

TEST_P(LinksOutOfADrive, aDriveThatHasGoneFailsEverything) {
    _root->markGone();
    const auto attributes = _drive->attributes(at("d/f"));
    ASSERT_FALSE(attributes.ok());
    EXPECT_EQ(attributes.error().code, ENODEV);
    EXPECT_EQ(attributes.error().disposition, Disposition::driveGone);
    EXPECT_EQ(_drive->list(at("d")).code(), ENODEV);
    EXPECT_EQ(_drive->writeAtomically(at("x"), "x", 0644).code(), ENODEV);
    EXPECT_EQ(_drive->remove(at("d"), {}).code(), ENODEV);
    EXPECT_EQ(_drive->move(_folder / "secret/s", at("s"), Replace::never).code(), ENODEV);
    EXPECT_TRUE(_drive->attributes(_folder / "secret/s").ok());
    EXPECT_EQ(_plain.read(at("d/f"), 100).valueOr(""), "inside");
}

TEST_P(LinksOutOfADrive, anExchangedMountPointIsNotWrittenTo) {
    ASSERT_TRUE(_plain.move(_folder / "drive", _folder / "moved", Replace::never).ok());
    ASSERT_TRUE(_plain.makeDirectory(_folder / "drive", 0755).ok());
    ASSERT_TRUE(_drive->writeAtomically(at("new"), "x", 0644).ok());
    EXPECT_THAT(_plain.listNames(_folder / "drive").valueOr({}), testing::IsEmpty());
    EXPECT_TRUE(_plain.attributes(_folder / "moved/new").ok());
}

TEST(LinuxFilesDrive, aRelativeLinkThatStaysIsFollowed) {
    const TemporaryFolder folder;
    LinuxFiles plain;
    buildTree(plain, plain, folder.path(), {file("a/f", "x"), link("b", "a")});
    const OpenDriveRoot root(folder.path());
    LinuxFiles drive(&root);
    EXPECT_EQ(drive.read(folder / "b/f", 10).valueOr(""), "x");
    EXPECT_TRUE(drive.attributesFollowing(folder / "b")->isDirectory());
}

TEST_F(LinuxFilesTest, treesDeeperThanAnyPathAreBuiltReadAndRemoved) {
    const std::string name(200, 'n');
    std::string path = _folder / "deep";
    for (int level = 0; level < 300; ++level) {
        const auto made = _files.makeDirectory(path, 0755);
        ASSERT_TRUE(made.ok()) << level << " " << made.error().text;
        path += "/" + name;
    }
    ASSERT_GT(path.size(), 60'000U);
    ASSERT_TRUE(_files.create(path, "bottom", 0644).ok());
    EXPECT_EQ(_files.attributes(path)->size, 6U);
    EXPECT_EQ(_files.read(path, 10).valueOr(""), "bottom");
    ASSERT_TRUE(_files.writeAtomically(path, "again", 0644).ok());
    ASSERT_TRUE(_files.move(path, path + "2", Replace::never).ok());
    const OpenDriveRoot root(_folder.path());
    for (const auto resolver : {PathLocator::Resolver::best, PathLocator::Resolver::walk}) {
        LinuxFiles drive(&root, resolver);
        EXPECT_EQ(drive.read(path + "2", 10).valueOr(""), "again");
        EXPECT_EQ(drive.create(path, "made on the drive", 0644).code(), 0);
        EXPECT_EQ(drive.read(path, 20).valueOr(""), "made on the drive");
        EXPECT_EQ(drive.remove(path, {}).code(), 0);
    }
    ASSERT_TRUE(_files.remove(_folder / "deep", {}).ok());
    EXPECT_EQ(_files.attributes(_folder / "deep").code(), ENOENT);
}

TEST_F(LinuxFilesTest, pipesAreNeverOpened) {
    ASSERT_EQ(::mkfifo((_folder / "pipe").c_str(), 0644), 0);
    EXPECT_EQ(_files.read(_folder / "pipe", 10).code(), EINVAL);
    EXPECT_EQ(_files.append(_folder / "pipe", "x").code(), EINVAL);
    EXPECT_EQ(_files.lock(_folder / "pipe", 0).code(), EINVAL);
    EXPECT_EQ(_files.setImmutable(_folder / "pipe", true).code(), EOPNOTSUPP);
    EXPECT_TRUE(_files.flushVolume(_folder / "pipe").ok());
    EXPECT_EQ(_files.attributes(_folder / "pipe")->kind, FileKind::other);
    EXPECT_TRUE(_files.remove(_folder / "pipe", {}).ok());
}

TEST_F(LinuxFilesTest, refusedAccessIsAskedAboutAndTheRestGoes) {
    buildTree(_files, _files, _folder.path(),
              {file("t/a", "1"), file("t/shut/b", "2"), folder("t/unreadable/"), file("t/z", "3")});
    for (const std::string path : {"t", "t/a", "t/shut", "t/unreadable", "t/z"})
        ASSERT_EQ(::chown((_folder / path).c_str(), nobody, nobody), 0);
    ASSERT_TRUE(_files.setMode(_folder.path(), 0777).ok());
    ASSERT_TRUE(_files.setMode(_folder / "t/shut", 0500).ok());
    ASSERT_TRUE(_files.setMode(_folder / "t/unreadable", 0).ok());
    const std::string answer = asUser(nobody, [&]() -> std::string {
        LinuxFiles files;
        int asked = 0;
        int code = 0;
        const auto removed = files.remove(_folder / "t", [&](const Error& error) {
            ++asked;
            code = error.path == _folder / "t/shut/b" ? error.code : -1;
            return true;
        });
        return expectEqual("result", removed.code(), EACCES) + expectEqual("questions", asked, 1) +
               expectEqual("the asked error", code, EACCES) +
               expectEqual("writing", files.writeAtomically(_folder / "t/shut/n", "", 0644).code(), EACCES);
    });
    EXPECT_EQ(answer, "");
    EXPECT_THAT(pathsOf(_files, _files, _folder.path()), testing::ElementsAre("t/", "t/shut/", "t/shut/b"));
}

TEST_F(LinuxFilesTest, whoMayWriteIntoAFolderIsTheSystemsAnswer) {
    buildTree(_files, _files, _folder.path(),
              {folder("open"), folder("shut"), folder("of others"), file("file", "1"), link("to-open", "open")});
    ASSERT_EQ(::chown((_folder / "open").c_str(), nobody, nobody), 0);
    ASSERT_EQ(::chown((_folder / "shut").c_str(), nobody, nobody), 0);
    ASSERT_TRUE(_files.setMode(_folder.path(), 0755).ok());
    ASSERT_TRUE(_files.setMode(_folder / "shut", 0600).ok());
    const std::string answer = asUser(nobody, [&]() -> std::string {
        LinuxFiles files;
        return expectEqual("open", files.checkWritable(_folder / "open").code(), 0) +
               expectEqual("through a link", files.checkWritable(_folder / "to-open").code(), 0) +
               expectEqual("shut", files.checkWritable(_folder / "shut").code(), EACCES) +
               expectEqual("of others", files.checkWritable(_folder / "of others").code(), EACCES) +
               expectEqual("no folder", files.checkWritable(_folder / "file").code(), ENOTDIR) +
               expectEqual("nothing", files.checkWritable(_folder / "none").code(), ENOENT);
    });
    EXPECT_EQ(answer, "");
}

TEST_F(LinuxFilesTest, aFolderClosedToWritingMovesAndStaysClosed) {
    buildTree(_files, _files, _folder.path(), {file("from/old/a", "1"), file("to/new/b", "2")});
    for (const std::string path : {"from", "from/old", "to", "to/new"})
        ASSERT_EQ(::chown((_folder / path).c_str(), nobody, nobody), 0);
    ASSERT_TRUE(_files.setMode(_folder.path(), 0755).ok());
    ASSERT_TRUE(_files.setMode(_folder / "from/old", 0555).ok());
    ASSERT_TRUE(_files.setMode(_folder / "to/new", 0500).ok());
    const std::string answer = asUser(nobody, [&]() -> std::string {
        LinuxFiles files;
        const int exchanged = files.move(_folder / "from/old", _folder / "to/new", Replace::exchange).code();
        const int moved = files.move(_folder / "to/new", _folder / "to/old", Replace::never).code();
        return expectEqual("exchange", exchanged, 0) + expectEqual("move", moved, 0);
    });
    EXPECT_EQ(answer, "");
    EXPECT_EQ(_files.read(_folder / "to/old/a", 10).valueOr(""), "1");
    EXPECT_EQ(_files.attributes(_folder / "to/old")->mode, 0555U);
    EXPECT_EQ(_files.attributes(_folder / "from/old")->mode, 0500U);
}

TEST_F(LinuxFilesTest, anEmptyQuestionEndsARemovalAtItsFirstError) {
    buildTree(_files, _files, _folder.path(), {file("t/a", "1"), file("t/b", "2")});
    ASSERT_TRUE(_files.setImmutable(_folder / "t/a", true).ok());
    ASSERT_TRUE(_files.setImmutable(_folder / "t/b", true).ok());
    EXPECT_EQ(_files.remove(_folder / "t", {}).code(), EPERM);
    EXPECT_TRUE(_files.setImmutable(_folder / "t/a", false).ok());
    EXPECT_TRUE(_files.setImmutable(_folder / "t/b", false).ok());
}

TEST_F(LinuxFilesTest, aMountInsideATreeIsNeitherEnteredNorRemoved) {
    buildTree(_files, _files, _folder.path(), {file("t/a", "1"), folder("t/m"), file("u/x", "2")});
    const std::string answer = withPrivateMounts([&]() -> std::string {
        LinuxFiles files;
        if (::mount((_folder / "u").c_str(), (_folder / "t/m").c_str(), nullptr, MS_BIND, nullptr) != 0)
            return "no bind mount";
        const OpenDriveRoot root(_folder / "t");
        LinuxFiles drive(&root);
        return expectEqual("a path into the mount", drive.attributes(_folder / "t/m/x").code(), EXDEV) +
               expectEqual("writing there", drive.create(_folder / "t/m/y", "", 0644).code(), EXDEV) +
               expectEqual("removal", files.remove(_folder / "t", [](const Error&) { return true; }).code(), EXDEV) +
               expectEqual("removal of the mount", files.remove(_folder / "t/m", {}).code(), EXDEV);
    });
    EXPECT_EQ(answer, "");
    EXPECT_THAT(pathsOf(_files, _files, _folder.path()), testing::ElementsAre("t/", "t/m/", "u/", "u/x"));
}

TEST_F(LinuxFilesTest, aFullDiskKeepsTheOldContentWhole) {
    buildTree(_files, _files, _folder.path(), {folder("m")});
    const std::string answer = withPrivateMounts([&]() -> std::string {
        if (::mount("t", (_folder / "m").c_str(), "tmpfs", 0, "size=64k") != 0) return "no tmpfs";
        LinuxFiles files;
        const std::string path = _folder / "m/f";
        std::string wrong = expectEqual("first", files.writeAtomically(path, "old", 0644).code(), 0);
        const std::string large(256 * 1024, 'x');
        wrong += expectEqual("atomic", files.writeAtomically(path, large, 0644).code(), ENOSPC);
        wrong += expectEqual("create", files.create(_folder / "m/g", large, 0644).code(), ENOSPC);
        wrong += expectEqual("names", files.listNames(_folder / "m").valueOr({}).size(), 1U);
        return wrong + (files.read(path, 10).valueOr("") == "old" ? "" : "old content lost");
    });
    EXPECT_EQ(answer, "");
}

TEST_F(LinuxFilesTest, whatAKilledProgramLeftBesideAFileGoesWithTheNextWrite) {
    const Date longAgo = Date::fromSeconds(1'369'144'987);
    const std::string abandoned = _folder / ".vantaro-0123456789abcdef.tmp";
    const std::string used = _folder / ".vantaro-fedcba9876543210.tmp";
    const std::string anothers = _folder / ".vantaro-0123456789ABCDEF.tmp";
    for (const std::string& path : {abandoned, used, anothers}) {
        ASSERT_TRUE(_files.create(path, "half", 0600).ok());
        ASSERT_TRUE(_files.setModified(path, longAgo).ok());
    }
    const UniqueFd writer(::open(used.c_str(), O_WRONLY | O_CLOEXEC));
    markInUse(writer.get());
    ASSERT_TRUE(LinuxFiles().writeAtomically(_folder / "f", "new", 0644).ok());
    EXPECT_THAT(_files.listNames(_folder.path()).valueOr({}),
                testing::UnorderedElementsAre(".vantaro-fedcba9876543210.tmp", ".vantaro-0123456789ABCDEF.tmp", "f"));
}

TEST_F(LinuxFilesTest, aReadOnlyMountSaysSo) {
    buildTree(_files, _files, _folder.path(), {folder("m")});
    const std::string answer = withPrivateMounts([&]() -> std::string {
        if (::mount("t", (_folder / "m").c_str(), "tmpfs", MS_RDONLY, "size=64k") != 0) return "no tmpfs";
        LinuxFiles files;
        return expectEqual("create", files.create(_folder / "m/f", "", 0644).code(), EROFS) +
               expectEqual("folder", files.makeDirectory(_folder / "m/d", 0755).code(), EROFS);
    });
    EXPECT_EQ(answer, "");
}

TEST_F(LinuxFilesTest, aVolumeIsRecognisedUntilAnotherLiesThere) {
    buildTree(_files, _files, _folder.path(), {folder("m"), folder("n")});
    const auto identity = [](const std::string& path) {
        const UniqueFd folder(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        return volumeIdentity(folder.get(), path).valueOr("");
    };
    const std::string bare = identity(_folder / "m");
    EXPECT_NE(bare, "");
    EXPECT_EQ(identity(_folder / "m"), bare);
    EXPECT_NE(identity(_folder / "n"), bare);
    const std::string answer = withPrivateMounts([&]() -> std::string {
        if (::mount("t", (_folder / "m").c_str(), "tmpfs", 0, "size=64k") != 0) return "no tmpfs";
        return identity(_folder / "m") == bare ? "the mount looks like the folder under it" : "";
    });
    EXPECT_EQ(answer, "");
    ASSERT_TRUE(_files.remove(_folder / "m", {}).ok());
    ASSERT_TRUE(_files.makeDirectory(_folder / "m", 0755).ok());
    EXPECT_NE(identity(_folder / "m"), bare);
}

TEST_F(LinuxFilesTest, aFolderStackRefusesAWayBackThatLeadsElsewhere) {
    std::string path = "t";
    for (int level = 0; level < 40; ++level) path += "/d";
    buildTree(_files, _files, _folder.path(), {folder(path), folder("other")});
    FolderStack stack(UniqueFd(::open(_folder.path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)),
                      beneath::Mounts::stay);
    ASSERT_EQ(stack.enter("t"), 0);
    for (int level = 0; level < 40; ++level) ASSERT_EQ(stack.enter("d"), 0);
    ASSERT_TRUE(_files.move(_folder / "t/d/d", _folder / "other/d", Replace::never).ok());
    int code = 0;
    while (code == 0 && stack.depth() > 1) code = stack.leave();
    EXPECT_EQ(code, ESTALE);
}

} // namespace
} // namespace vt::test

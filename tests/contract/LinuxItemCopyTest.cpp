// What only a real file system can show about copying: holes, attributes, rights, full disks, pipes and attacks.
#include "platform/linux/LinuxItemCopy.h"
#include "platform/linux/LinuxFiles.h"
#include "support/Child.h"
#include "support/CopyWitness.h"
#include "support/OpenDriveRoot.h"
#include "support/TemporaryFolder.h"
#include "support/TreeLiteral.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <sys/xattr.h>

namespace vt::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr uid_t nobody = 65534;
constexpr off_t mebibyte = 1024 * 1024;
const Date someDate = Date::fromSeconds(1'369'144'987, 123'456'789);

struct stat statusOf(const std::string& path) {
    struct stat status {};
    EXPECT_EQ(::lstat(path.c_str(), &status), 0) << path;
    return status;
}

std::string attributeOf(const std::string& path, const char* name) {
    char value[4096];
    const ssize_t length = ::lgetxattr(path.c_str(), name, value, sizeof value);
    return length < 0 ? "(none)" : std::string(value, static_cast<std::size_t>(length));
}

void setAttribute(const std::string& path, const char* name, const std::string& value) {
    ASSERT_EQ(::lsetxattr(path.c_str(), name, value.data(), value.size(), 0), 0) << name << " on " << path;
}

// A user entry for "nobody", as the system stores access lists.
std::string accessList() {
    std::string list("\x02\x00\x00\x00", 4);
    const auto entry = [&list](int tag, int rights, std::uint32_t id) {
        list += {static_cast<char>(tag), 0, static_cast<char>(rights), 0};
        for (unsigned shift = 0; shift < 32; shift += 8) list += static_cast<char>((id >> shift) & 255U);
    };
    constexpr std::uint32_t none = ~0U;
    entry(1, 6, none), entry(2, 4, nobody), entry(4, 4, none), entry(16, 4, none), entry(32, 0, none);
    return list;
}

class LinuxItemCopyTest : public testing::Test {
  protected:
    void build(const std::vector<TreeItem>& items) { buildTree(_files, _files, _folder.path(), items); }
    CopyOutcome copy(const std::string& source = "from", const std::string& destination = "to") {
        return _copier.copyItem(_folder / source, _folder / destination, _witness);
    }
    void makeSparse(const std::string& path, off_t size, const std::vector<off_t>& pieces) {
        const UniqueFd sparse(::open((_folder / path).c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644));
        for (const off_t at : pieces) ASSERT_EQ(::pwrite(sparse.get(), "data", 4, at), 4);
        ASSERT_EQ(::ftruncate(sparse.get(), size), 0);
    }

    TemporaryFolder _folder;
    LinuxFiles _files;
    LinuxItemCopy _copier;
    CopyWitness _witness;
};

TEST_F(LinuxItemCopyTest, holesStayHoles) {
    makeSparse("from", 64 * mebibyte, {10 * mebibyte, 40 * mebibyte});
    EXPECT_TRUE(copy().done);
    EXPECT_EQ(_files.read(_folder / "to", 1ULL << 30U).valueOr("1"),
              _files.read(_folder / "from", 1ULL << 30U).valueOr("2"));
    EXPECT_LT(statusOf(_folder / "to").st_blocks, 1024);
    EXPECT_EQ(_witness.progress().back(), static_cast<std::uint64_t>(64 * mebibyte));
}

TEST_F(LinuxItemCopyTest, aFileThatIsAllHoleArrivesInItsSize) {
    makeSparse("from", 5 * mebibyte + 1, {});
    EXPECT_TRUE(copy().done);
    EXPECT_EQ(statusOf(_folder / "to").st_size, 5 * mebibyte + 1);
    EXPECT_EQ(statusOf(_folder / "to").st_blocks, 0);
    EXPECT_THAT(_witness.progress(), ElementsAre(static_cast<std::uint64_t>(5 * mebibyte + 1)));
}

TEST_F(LinuxItemCopyTest, attributesAndAccessListsComeAlong) {
    build({file("from/f", "x", {}, 0640), file("from/d/g", "y")});
    for (const std::string path : {"from/f", "from/d"}) {
        setAttribute(_folder / path, "user.vantaro.test", std::string("a\0b", 3));
        setAttribute(_folder / path, "trusted.vantaro", "t");
        setAttribute(_folder / path, "system.posix_acl_access", accessList());
    }
    setAttribute(_folder / "from/d", "system.posix_acl_default", accessList());
    EXPECT_TRUE(copy().done);
    for (const std::string path : {"to/f", "to/d"}) {
        EXPECT_EQ(attributeOf(_folder / path, "user.vantaro.test"), std::string("a\0b", 3)) << path;
        EXPECT_EQ(attributeOf(_folder / path, "trusted.vantaro"), "t") << path;
        EXPECT_EQ(attributeOf(_folder / path, "system.posix_acl_access"), accessList()) << path;
    }
    EXPECT_EQ(attributeOf(_folder / "to/d", "system.posix_acl_default"), accessList());
    EXPECT_EQ(statusOf(_folder / "to/f").st_mode, statusOf(_folder / "from/f").st_mode);
}

TEST_F(LinuxItemCopyTest, theOwnerComesAlongWhereThatIsPermitted) {
    build({folder("from"), file("from/f", "x", {}, 06755), link("from/l", "f")});
    for (const std::string path : {"from", "from/f", "from/l"})
        ASSERT_EQ(::lchown((_folder / path).c_str(), nobody, nobody), 0);
    ASSERT_TRUE(_files.setMode(_folder / "from/f", 06755).ok());
    EXPECT_TRUE(copy().done);
    for (const std::string path : {"to", "to/f", "to/l"}) EXPECT_EQ(statusOf(_folder / path).st_uid, nobody) << path;
    EXPECT_EQ(statusOf(_folder / "to/f").st_mode & 07777U, 06755U);
}

TEST_F(LinuxItemCopyTest, anotherUsersCopyLosesOwnerAndSetIdBitsSilently) {
    build({file("from", "x", {}, 06755), folder("open", {}, 0777)});
    ASSERT_TRUE(_files.setMode(_folder.path(), 0755).ok());
    const std::string answer = asUser(nobody, [&]() -> std::string {
        LinuxItemCopy copier;
        CopyWitness witness;
        return expectEqual("done", copier.copyItem(_folder / "from", _folder / "open/to", witness).done, true) +
               expectEqual("errors", witness.errors().size(), 0U);
    });
    EXPECT_EQ(answer, "");
    EXPECT_EQ(statusOf(_folder / "open/to").st_uid, nobody);
    EXPECT_EQ(statusOf(_folder / "open/to").st_mode & 07777U, 0755U);
}

TEST_F(LinuxItemCopyTest, anUnreadableFileIsOneErrorAndTheRestArrives) {
    build({file("from/a", "1", {}, 0), file("from/b", "2"), folder("from/shut", {}, 0700), folder("open", {}, 0777)});
    ASSERT_TRUE(_files.setMode(_folder.path(), 0755).ok());
    const std::string answer = asUser(nobody, [&]() -> std::string {
        LinuxItemCopy copier;
        CopyWitness witness;
        witness.answerErrors(CopyAnswer::skip);
        const CopyOutcome outcome = copier.copyItem(_folder / "from", _folder / "open/to", witness);
        std::string wrong = expectEqual("done", outcome.done, true) + expectEqual("skipped", outcome.skipped, 2U) +
                            expectEqual("errors", witness.errors().size(), 2U);
        for (const int code : witness.errors()) wrong += expectEqual("error", code, EACCES);
        return wrong;
    });
    EXPECT_EQ(answer, "");
    EXPECT_THAT(pathsOf(_files, _files, _folder / "open/to"), ElementsAre("b"));
}

TEST_F(LinuxItemCopyTest, pipesAndDevicesAreRefusedWithoutOpeningThem) {
    build({file("from/f", "x")});
    ASSERT_EQ(::mkfifo((_folder / "from/pipe").c_str(), 0644), 0);
    ASSERT_EQ(::mkfifo((_folder / "alone").c_str(), 0644), 0);
    EXPECT_FALSE(copy().done);
    EXPECT_FALSE(copy("alone", "copy").done);
    EXPECT_FALSE(_copier.copyItem("/dev/null", _folder / "null", _witness).done);
    EXPECT_EQ(_witness.errors(), (std::vector<int>{EOPNOTSUPP, EOPNOTSUPP, EOPNOTSUPP}));
    EXPECT_THAT(pathsOf(_files, _files, _folder / "to"), ElementsAre("f"));
}

TEST_F(LinuxItemCopyTest, aFullDiskIsOneDataErrorThatIsRaisedWhileItIsFull) {
    build({file("from", std::string(256 * 1024, 'x')), folder("m")});
    const std::string answer = withPrivateMounts([&]() -> std::string {
        if (::mount("t", (_folder / "m").c_str(), "tmpfs", 0, "size=64k") != 0) return "no tmpfs";
        LinuxItemCopy copier;
        CopyWitness witness;
        std::uint64_t there = 0;
        witness.onEvent([&](const CopyEvent& event) {
            if (event.stage == CopyStage::error && event.what == CopyWhat::data)
                there = _files.attributes(_folder / "m/to")->size;
            return CopyAnswer::goOn;
        });
        const CopyOutcome outcome = copier.copyItem(_folder / "from", _folder / "m/to", witness);
        return expectEqual("done", outcome.done, false) + expectEqual("errors", witness.errors().size(), 1U) +
               expectEqual("code", witness.errors().at(0), ENOSPC) + expectEqual("had begun", there > 0, true) +
               expectEqual("leavings", _files.listNames(_folder / "m").valueOr({"x"}).size(), 0U);
    });
    EXPECT_EQ(answer, "");
}

TEST_F(LinuxItemCopyTest, anotherFileSystemGetsTheSameBytesHolesAndDates) {
    build({file("from/big", std::string(3 * mebibyte + 7, 'b'), someDate), file("from/small", "s", someDate),
           folder("m")});
    makeSparse("from/sparse", 8 * mebibyte, {3 * mebibyte});
    const std::string answer = withPrivateMounts([&]() -> std::string {
        if (::mount("t", (_folder / "m").c_str(), "tmpfs", 0, "size=32m") != 0) return "no tmpfs";
        LinuxItemCopy copier;
        CopyWitness witness;
        const bool done = copier.copyItem(_folder / "from", _folder / "m/to", witness).done;
        const bool same =
            snapshotTree(_files, _files, _folder / "from") == snapshotTree(_files, _files, _folder / "m/to");
        return expectEqual("done", done, true) + expectEqual("same", same, true) +
               expectEqual("sparse", statusOf(_folder / "m/to/sparse").st_blocks < 1024, true);
    });
    EXPECT_EQ(answer, "");
}

TEST_F(LinuxItemCopyTest, treesDeeperThanAnyPathAreCopied) {
    const std::string name(200, 'n');
    std::string below;
    ASSERT_TRUE(_files.makeDirectory(_folder / "from", 0755).ok());
    for (int level = 0; level < 300; ++level) {
        below += "/" + name;
        ASSERT_TRUE(_files.makeDirectory(_folder / "from" + below, 0755).ok());
    }
    ASSERT_TRUE(_files.create(_folder / "from" + below + "/f", "bottom", 0644).ok());
    ASSERT_TRUE(_files.setModified(_folder / "from" + below, someDate).ok());
    EXPECT_TRUE(copy().done);
    EXPECT_EQ(_files.read(_folder / "to" + below + "/f", 10).valueOr(""), "bottom");
    EXPECT_EQ(_files.attributes(_folder / "to" + below)->modified, someDate);
}

TEST_F(LinuxItemCopyTest, aLinkOnTheWayDoesNotLeadOutOfTheDrive) {
    build({file("from", "x"), folder("tree"), folder("elsewhere"), folder("drive"), link("drive/out", "../elsewhere")});
    const OpenDriveRoot root(_folder / "drive");
    LinuxItemCopy copier(&root);
    EXPECT_FALSE(copier.copyItem(_folder / "from", _folder / "drive/out/f", _witness).done);
    EXPECT_FALSE(copier.copyItem(_folder / "tree", _folder / "drive/out/t", _witness).done);
    EXPECT_FALSE(copier.copyItem(_folder / "from", _folder / "drive/out", _witness).done);
    EXPECT_EQ(_witness.errors(), (std::vector<int>{ELOOP, ELOOP, EEXIST}));
    EXPECT_THAT(pathsOf(_files, _files, _folder / "elsewhere"), IsEmpty());
}

TEST_F(LinuxItemCopyTest, aDriveThatGoesWhileAFileIsCopiedIsNamed) {
    build({file("from", std::string(3 * mebibyte, 'x')), folder("drive")});
    OpenDriveRoot root(_folder / "drive");
    LinuxItemCopy copier(&root);
    root.markGone();
    Disposition seen = Disposition::goOn;
    _witness.onEvent([&](const CopyEvent& event) {
        if (event.stage == CopyStage::error) seen = event.error.disposition;
        return CopyAnswer::goOn;
    });
    EXPECT_FALSE(copier.copyItem(_folder / "from", _folder / "drive/to", _witness).done);
    EXPECT_EQ(_witness.errors(), std::vector<int>{ENODEV});
    EXPECT_EQ(seen, Disposition::driveGone);
}

TEST_F(LinuxItemCopyTest, aFolderIsNotCopiedIntoItselfForEver) {
    build({file("from/f", "x")});
    (void)copy("from", "from/copy");
    EXPECT_THAT(pathsOf(_files, _files, _folder / "from/copy"), ElementsAre("f"));
}

TEST_F(LinuxItemCopyTest, aSourceThatIsExchangedForALinkMeanwhileIsNotFollowed) {
    build({file("secret", "secret"), file("from/a", "a"), file("from/b", "b")});
    _witness.onEvent([&](const CopyEvent& event) {
        if (event.what == CopyWhat::folder && event.stage == CopyStage::start)
            for (const std::string path : {"from/a", "from/b"}) {
                EXPECT_TRUE(_files.remove(_folder / path, {}).ok());
                EXPECT_TRUE(_files.makeLink(_folder / path, "../secret").ok());
            }
        return CopyAnswer::goOn;
    });
    EXPECT_TRUE(copy().done);
    for (const auto& [path, entry] : snapshotTree(_files, _files, _folder / "to"))
        EXPECT_EQ(entry.kind, FileKind::link) << path;
}

// The next comparison knows a change by its date alone.
TEST_F(LinuxItemCopyTest, aChangeRightAfterTheCopyHasALaterDateThanTheCopy) {
    for (int round = 0; round < 50; ++round) {
        const std::string name = std::to_string(round);
        std::ofstream(_folder / name) << "old";
        ASSERT_TRUE(copy(name, name + ".copy").done);
        std::ofstream(_folder / name) << "new";
        const Date source = _files.attributes(_folder / name)->modified;
        EXPECT_GT(source, _files.attributes(_folder / (name + ".copy"))->modified) << round;
    }
}

TEST_F(LinuxItemCopyTest, aChangeRightAfterTheCopyHasALaterDateWhereDatesAreWholeSeconds) {
    build({folder("m")});
    const std::string image = _folder / "image";
    makeSparse("image", 4 * mebibyte, {});
    const std::string answer = withPrivateMounts([&]() -> std::string {
        // Inodes of this size hold no fractions.
        if (std::system(
                ("mkfs.ext2 -q -I 128 " + image + " && mount -o loop " + image + " " + _folder / "m").c_str()) != 0)
            return "no file system";
        std::ofstream(_folder / "m/file") << "old";
        const bool done = copy("m/file", "copy").done;
        std::ofstream(_folder / "m/file") << "new";
        const auto dates = [&](const char* name) { return _files.attributes(_folder / name)->modified; };
        return expectEqual("done", done, true) +
               expectEqual("whole seconds", statusOf(_folder / "m/file").st_mtim.tv_nsec, 0L) +
               expectEqual("later", dates("m/file") > dates("copy"), true);
    });
    EXPECT_EQ(answer, "");
}

TEST_F(LinuxItemCopyTest, copyingOpensNoMoreHandlesThanItCloses) {
    build({file("from/a/b/c", "x"), link("from/l", "a")});
    const auto handles = [&] { return _files.listNames("/proc/self/fd").valueOr({}).size(); };
    const std::size_t before = handles();
    EXPECT_TRUE(copy().done);
    EXPECT_FALSE(copy().done);
    EXPECT_TRUE(_files.remove(_folder / "to", {}).ok());
    EXPECT_EQ(handles(), before);
}

} // namespace
} // namespace vt::test

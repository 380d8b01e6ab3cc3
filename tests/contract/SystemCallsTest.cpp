// How many calls the adapters make for a file: what they cost where there are very many of them.
#include "support/SystemCalls.h"
#include "platform/linux/LinuxFiles.h"
#include "platform/linux/LinuxItemCopy.h"
#include "support/CopyWitness.h"
#include "support/FileGrounds.h"
#include "support/TreeLiteral.h"

#include <algorithm>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <stdexcept>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <thread>
#include <unistd.h>

namespace vt::test {
namespace {

constexpr std::size_t mebibyte = 1024 * 1024;
constexpr int some = 50; // files

// The pages of a file that is not empty.
class FilePages {
  public:
    explicit FilePages(const std::string& path)
        : _file(::open(path.c_str(), O_RDONLY | O_CLOEXEC)),
          _size(static_cast<std::size_t>(::lseek(_file.get(), 0, SEEK_END))),
          _start(::mmap(nullptr, _size, PROT_READ, MAP_SHARED, _file.get(), 0)) {
        if (_start == MAP_FAILED) throw std::runtime_error("no mapping of " + path);
    }
    ~FilePages() { ::munmap(_start, _size); }
    FilePages(const FilePages&) = delete;
    FilePages& operator=(const FilePages&) = delete;

    [[nodiscard]] bool anyInMemory() const {
        constexpr std::size_t page = 4096; // the smallest
        std::vector<unsigned char> there(_size / page + 1);
        EXPECT_EQ(::mincore(_start, _size, there.data()), 0);
        return std::any_of(there.begin(), there.end(), [](unsigned char flags) { return (flags & 1U) != 0; });
    }
    void letGo() const {
        EXPECT_EQ(::fsync(_file.get()), 0);
        EXPECT_EQ(::posix_fadvise(_file.get(), 0, 0, POSIX_FADV_DONTNEED), 0);
    }
    // The sanitizers make a call of mlock() do nothing.
    [[nodiscard]] bool keepInMemory() const { return ::syscall(SYS_mlock, _start, _size) == 0; }

  private:
    UniqueFd _file;
    std::size_t _size;
    void* _start;
};

class SystemCallsTest : public testing::Test {
  protected:
    SystemCallsTest() : _umask(::umask(022)) {} // the usual one: another may cost a call for each mode
    ~SystemCallsTest() override { ::umask(_umask); }

    void makeFiles(const std::string& below, int count, const std::string& content = "content") {
        buildTree(_files, _files, _folder / below, {});
        for (int i = 0; i < count; ++i)
            ASSERT_TRUE(_files.create(_folder / below + "/f" + std::to_string(i), content, 0644).ok());
    }
    // As a sync copies a folder that the drive does not have.
    void copyFolder(const std::string& from, const std::string& to) {
        const std::vector<DirectoryEntry> entries = _files.list(_folder / from).valueOr({});
        const auto copier = _copier.forFolder(_folder / from, _folder / to, entries);
        CopyWitness witness;
        for (const DirectoryEntry& entry : entries)
            (void)copier->copyItem(_folder / from + "/" + entry.name, _folder / to + "/" + entry.name, witness);
    }
    // Afterwards nothing of these files is in memory; false in a folder that is in memory alone, where all stays.
    [[nodiscard]] bool forgetContents(const std::vector<std::string>& paths) {
        for (const std::string& below : paths) {
            const FilePages pages(_folder / below);
            // Whoever looks at a page just then keeps it.
            for (int tries = 0; pages.anyInMemory(); ++tries) {
                if (tries == 1000) return false;
                pages.letGo();
                std::this_thread::yield();
            }
        }
        return true;
    }
    [[nodiscard]] std::vector<std::string> filesIn(const std::string& below) {
        std::vector<std::string> paths;
        for (const std::string& name : _files.listNames(_folder / below).valueOr({}))
            paths.push_back(below + "/" + name);
        return paths;
    }
    // Whatever the computer does to have more memory, these files stay there as long as the answer lives.
    [[nodiscard]] std::vector<std::unique_ptr<FilePages>> keptInMemory(const std::vector<std::string>& paths) {
        std::vector<std::unique_ptr<FilePages>> kept;
        for (const std::string& below : paths) {
            kept.push_back(std::make_unique<FilePages>(_folder / below));
            EXPECT_TRUE(kept.back()->keepInMemory()) << below;
        }
        return kept;
    }
    [[nodiscard]] bool sharesExtents() const {
        struct statfs volume {};
        EXPECT_EQ(::statfs(_folder.path().c_str(), &volume), 0);
        constexpr long btrfs = 0x9123683E, xfs = 0x58465342;
        return volume.f_type == btrfs || volume.f_type == xfs;
    }
    // What a file more costs, once everything that is done once has been done.
    int callsForOneMore(const std::function<void(const std::string&)>& work, long number = -1) {
        makeFiles("few", some);
        makeFiles("more", 2 * some);
        for (const std::string name : {"few-copy", "more-copy"}) buildTree(_files, _files, _folder / name, {});
        const auto calls = [&](const std::string& name) {
            const SystemCalls made = SystemCalls::of([&] { work(name); });
            return number < 0 ? made.all() : made.count(number);
        };
        const int difference = calls("more") - calls("few");
        return (difference + some / 2) / some;
    }

    mode_t _umask;
    TemporaryFolder _folder;
    LinuxFiles _files;
    LinuxItemCopy _copier;
};

TEST_F(SystemCallsTest, aListedFileIsLookedAtOnce) {
    const auto list = [&](const std::string& name) { (void)_files.list(_folder / name); };
    EXPECT_EQ(callsForOneMore(list), 1);
}

// Open, look, make, copy, look again, attributes, dates and twice close; a file that has to be read and written by
// hand costs one more.
TEST_F(SystemCallsTest, aNewFileCostsTenCalls) {
    const auto copy = [&](const std::string& name) { copyFolder(name, name + "-copy"); };
    EXPECT_LE(callsForOneMore(copy), 11); // one of them is the listing's
    EXPECT_EQ(_files.listNames(_folder / "more-copy").valueOr({}).size(), 2U * some);
}

TEST_F(SystemCallsTest, whatIsInMemoryIsNotReadAhead) {
    makeFiles("from", 2 * some);
    buildTree(_files, _files, _folder / "to", {});
    const auto kept = keptInMemory(filesIn("from"));
    EXPECT_EQ(SystemCalls::of([&] { copyFolder("from", "to"); }).count(SYS_fadvise64), 0);
}

TEST_F(SystemCallsTest, whatIsNotInMemoryIsReadAhead) {
    makeFiles("from", 2 * some);
    buildTree(_files, _files, _folder / "to", {});
    const bool cold = forgetContents(filesIn("from"));
    const int asked = SystemCalls::of([&] { copyFolder("from", "to"); }).count(SYS_fadvise64);
    EXPECT_EQ(asked, cold ? 2 * some : 0);
    EXPECT_EQ(snapshotTree(_files, _files, _folder / "from"), snapshotTree(_files, _files, _folder / "to"));
}

// Photos, say: each is asked for in time and let go of after its copy, though it was in memory when its turn came.
TEST_F(SystemCallsTest, whatWasReadAheadLeavesTheMemoryAgain) {
    constexpr int photos = 40;
    makeFiles("from", photos, std::string(mebibyte, 'p'));
    const auto asked = [&](const std::string& to) {
        buildTree(_files, _files, _folder / to, {});
        return SystemCalls::of([&] { copyFolder("from", to); }).count(SYS_fadvise64);
    };
    {
        const auto kept = keptInMemory(filesIn("from"));
        EXPECT_EQ(asked("to"), 0);
    }
    const bool cold = forgetContents(filesIn("from"));
    EXPECT_EQ(asked("to again"), !cold ? 0 : sharesExtents() ? photos : 2 * photos);
    EXPECT_EQ(snapshotTree(_files, _files, _folder / "from"), snapshotTree(_files, _files, _folder / "to again"));
}

TEST_F(SystemCallsTest, aNameMoreInAnOpenFileIsOneCall) {
    makeFiles("from", 1);
    const auto append = [&](const std::string& name) {
        const auto appender = _files.appender(_folder / "from/f0");
        const int count = name == "few" ? some : 2 * some;
        for (int i = 0; i < count; ++i) (void)(*appender)->append("name\n");
    };
    EXPECT_EQ(callsForOneMore(append), 1);
}

TEST_F(SystemCallsTest, aLargeFileIsWrittenOutWhileItIsCopied) {
    buildTree(_files, _files, _folder.path(), {file("large", std::string(33 * mebibyte, 'l')), file("small", "s")});
    const auto written = [&](const std::string& name) {
        const auto copy = [&] {
            CopyWitness witness;
            (void)_copier.copyItem(_folder / name, _folder / name + "-copy", witness);
        };
        return SystemCalls::of(copy).count(SYS_sync_file_range);
    };
    EXPECT_EQ(written("large"), sharesExtents() ? 0 : 4 + 3); // four stretches sent, three of them waited for
    EXPECT_EQ(written("small"), 0);
    EXPECT_EQ(_files.attributes(_folder / "large-copy")->size, 33 * mebibyte);
}

// Of the copy three stretches leave the memory, of the source its five, unless they were there before.
TEST_F(SystemCallsTest, aLargeFileTakesNoMemoryThatItDidNotHaveBefore) {
    buildTree(_files, _files, _folder.path(), {file("large", std::string(33 * mebibyte, 'l'))});
    const auto letGo = [&](const std::string& copy) {
        CopyWitness witness;
        const auto work = [&] { (void)_copier.copyItem(_folder / "large", _folder / copy, witness); };
        return SystemCalls::of(work).count(SYS_fadvise64);
    };
    const bool shares = sharesExtents();
    {
        const auto kept = keptInMemory({"large"});
        EXPECT_EQ(letGo("copy of what is in memory"), shares ? 0 : 3);
    }
    const bool cold = forgetContents({"large"});
    EXPECT_EQ(letGo("copy of what is not"), shares ? 0 : cold ? 3 + 5 : 3);
    EXPECT_TRUE(_files.read(_folder / "copy of what is not", 34 * mebibyte).valueOr("") ==
                std::string(33 * mebibyte, 'l'));
}

TEST_F(SystemCallsTest, aFileOfHolesCostsNoMoreThanASmallOne) {
    constexpr off_t size = off_t{2} << 40;
    buildTree(_files, _files, _folder / "holes", {});
    buildTree(_files, _files, _folder / "copy", {});
    const UniqueFd file(::open((_folder / "holes/huge").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644));
    ASSERT_EQ(::ftruncate(file.get(), size), 0);
    const SystemCalls made = SystemCalls::of([&] { copyFolder("holes", "copy"); });
    EXPECT_LT(made.all(), 60);
    EXPECT_EQ(_files.attributes(_folder / "copy/huge").valueOr({}).size, static_cast<std::uint64_t>(size));
}

} // namespace
} // namespace vt::test

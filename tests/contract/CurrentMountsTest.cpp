// The mount table that is read again only after a change: never old, and free of charge where nothing changed.
#include "platform/linux/volumes/CurrentMounts.h"
#include "support/SystemCalls.h"
#include "support/VolumeGrounds.h"

#include <gtest/gtest.h>

namespace vt::test {
namespace {

class CurrentMountsTest : public testing::Test {
  protected:
    CurrentMountsTest() { enterPrivateMounts(); }
    ~CurrentMountsTest() override { ::umount2(_folder.path().c_str(), MNT_DETACH); }

    void mountHere(unsigned long flags = 0) {
        ASSERT_EQ(::mount("tmpfs", _folder.path().c_str(), "tmpfs", flags, "size=64k"), 0);
    }
    // What is mounted on top at the folder.
    [[nodiscard]] std::optional<MountEntry> here(CurrentMounts& mounts) const {
        const auto table = mounts.get();
        if (!table.ok()) return std::nullopt;
        const MountEntry* entry = mountAt(**table, _folder.path());
        return entry == nullptr ? std::nullopt : std::optional(*entry);
    }

    TemporaryFolder _folder;
};

TEST_F(CurrentMountsTest, eachChangeIsSeenAtOnce) {
    CurrentMounts mounts;
    for (int round = 0; round < 20; ++round) {
        ASSERT_FALSE(here(mounts).has_value());
        mountHere();
        const auto first = here(mounts);
        ASSERT_TRUE(first.has_value());
        EXPECT_FALSE(first->readOnly);
        ASSERT_EQ(::mount(nullptr, _folder.path().c_str(), nullptr, MS_REMOUNT | MS_RDONLY, nullptr), 0);
        ASSERT_TRUE(here(mounts).has_value());
        EXPECT_TRUE(here(mounts)->readOnly);
        mountHere(); // over the other
        ASSERT_TRUE(here(mounts).has_value());
        EXPECT_NE(here(mounts)->id, first->id);
        ASSERT_EQ(::umount2(_folder.path().c_str(), 0), 0);
        EXPECT_EQ(here(mounts)->id, first->id);
        ASSERT_EQ(::umount2(_folder.path().c_str(), 0), 0);
    }
}

TEST_F(CurrentMountsTest, theTableIsReadOnceForAnyNumberOfQuestions) {
    CurrentMounts mounts;
    ASSERT_TRUE(mounts.get().ok());
    const SystemCalls unchanged = SystemCalls::of([&] {
        for (int i = 0; i < 100; ++i) (void)mounts.get();
    });
    EXPECT_EQ(unchanged.count(SYS_openat), 0);
    EXPECT_EQ(unchanged.count(SYS_read), 0);
    mountHere();
    const SystemCalls changed = SystemCalls::of([&] {
        for (int i = 0; i < 100; ++i) (void)mounts.get();
    });
    EXPECT_EQ(changed.count(SYS_openat), 1);
}

// The kernel tells nobody of it.
TEST_F(CurrentMountsTest, aRenamedFolderAboveAMountIsFollowed) {
    FakeClock clock;
    FakeRunLoop loop(clock);
    LinuxVolumes volumes(loop);
    const std::string before = _folder.path() + "/before/stick";
    const std::string after = _folder.path() + "/after/stick";
    std::filesystem::create_directories(before);
    ASSERT_EQ(::mount("tmpfs", before.c_str(), "tmpfs", 0, "size=64k"), 0);
    ASSERT_EQ(volumes.statVolume(before)->mountedOn, before);
    std::filesystem::rename(_folder.path() + "/before", _folder.path() + "/after");
    EXPECT_EQ(volumes.statVolume(after)->mountedOn, after);
    ::umount2(after.c_str(), MNT_DETACH);
}

// A sync and the requests around it ask some fifty times about the drive.
TEST_F(CurrentMountsTest, questionsAboutAVolumeReadNoTableWhereNothingChanged) {
    FakeClock clock;
    FakeRunLoop loop(clock);
    LinuxVolumes volumes(loop);
    mountHere();
    ASSERT_EQ(volumes.statVolume(_folder.path())->mountedOn, _folder.path());
    const SystemCalls made = SystemCalls::of([&] {
        for (int i = 0; i < 50; ++i) {
            (void)volumes.statVolume(_folder.path());
            (void)volumes.capabilities(_folder.path());
            (void)volumes.describe(_folder.path());
        }
    });
    EXPECT_EQ(made.count(SYS_read), 0);
    ASSERT_EQ(::umount2(_folder.path().c_str(), 0), 0);
    EXPECT_NE(volumes.statVolume(_folder.path())->mountedOn, _folder.path());
}

} // namespace
} // namespace vt::test

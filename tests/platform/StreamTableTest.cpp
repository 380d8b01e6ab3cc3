#include "platform/linux/watch/StreamTable.h"

#include "platform/fake/FakeClock.h"
#include "platform/fake/FakeRunLoop.h"
#include "platform/linux/watch/LinuxFileEvents.h"
#include "support/TemporaryFolder.h"

#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <thread>

namespace vt::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class RecordingBackend final : public WatchBackend {
  public:
    explicit RecordingBackend(std::vector<std::string>& calls) : _calls(calls) {}
    void add(std::uint64_t root, const std::string& path, double) override {
        _calls.push_back("add " + std::to_string(root) + " " + path);
    }
    void remove(std::uint64_t root) override { _calls.push_back("remove " + std::to_string(root)); }
    void leaveOut(const std::vector<std::string>&) override {}

  private:
    std::vector<std::string>& _calls;
};

class StreamTableTest : public testing::Test {
  protected:
    StreamTableTest() { table.setBackend(std::make_unique<RecordingBackend>(calls)); }

    std::unique_ptr<FileEventStream> stream(const std::string& path) {
        return table.stream(path, FileEventSettings{}, [this] { ++told; });
    }
    void report(std::uint64_t root, WatchReport::Kind kind = WatchReport::Kind::changed) {
        std::thread([&] { table.reporter()({root, kind}); }).join();
        loop.runPending();
    }

    std::vector<std::string> calls;
    int told = 0;
    FakeClock clock;
    FakeRunLoop loop{clock};
    StreamTable table{loop, std::chrono::seconds(15)};
};

TEST_F(StreamTableTest, AStreamMadeAgainWithinTheGraceKeepsItsRoot) {
    auto first = stream("/home/ada/Music/");
    first.reset();
    loop.advance(std::chrono::seconds(14));
    const auto second = stream("/home/ada//Music");
    loop.advance(std::chrono::seconds(60));
    EXPECT_THAT(calls, ElementsAre("add 1 /home/ada/Music"));
}

TEST_F(StreamTableTest, WhatComesWithinTheGraceIsToldToTheNextStream) {
    auto first = stream("/a");
    first.reset();
    report(1);
    EXPECT_EQ(told, 0);
    const auto second = stream("/a");
    EXPECT_EQ(told, 0) << "not before the loop's next turn";
    loop.runPending();
    EXPECT_EQ(told, 1);
}

TEST_F(StreamTableTest, TheRootGoesAfterTheGrace) {
    auto first = stream("/a");
    const auto other = stream("/b");
    first.reset();
    loop.advance(std::chrono::seconds(15));
    EXPECT_THAT(calls, ElementsAre("add 1 /a", "add 2 /b", "remove 1"));
    report(1);
    EXPECT_EQ(told, 0);
    const auto second = stream("/a");
    EXPECT_EQ(calls.back(), "add 3 /a");
}

TEST_F(StreamTableTest, AStreamMayEndItselfAndOthersWhileItIsTold) {
    std::vector<std::unique_ptr<FileEventStream>> streams;
    for (int number = 0; number < 3; ++number)
        streams.push_back(table.stream("/a", {}, [&] {
            ++told;
            streams.clear();
        }));
    report(1);
    EXPECT_EQ(told, 1);
}

TEST_F(StreamTableTest, StreamsMayOutliveTheTable) {
    auto own = std::make_unique<StreamTable>(loop, std::chrono::seconds(15));
    own->setBackend(std::make_unique<RecordingBackend>(calls));
    const auto reporter = own->reporter();
    const auto left = own->stream("/a", {}, [this] { ++told; });
    reporter({1, WatchReport::Kind::changed});
    own.reset();
    reporter({1, WatchReport::Kind::changed});
    loop.runPending();
    EXPECT_EQ(told, 0);
    EXPECT_EQ(left->latestEventId(), 0U);
}

TEST_F(StreamTableTest, OnlyAbsolutePathsAreWatched) {
    EXPECT_EQ(stream("Music"), nullptr);
    EXPECT_EQ(stream(""), nullptr);
    EXPECT_THAT(calls, IsEmpty());
}

TEST(LinuxFileEvents, WithoutRoomForWatchesOneLineSaysSoAndChangesAreStillFound) {
    TemporaryFolder folder;
    for (int number = 0; number < 30; ++number)
        std::filesystem::create_directories(folder / ("root/" + std::to_string(number) + "/below"));
    FakeClock clock;
    FakeRunLoop loop{clock};
    std::vector<std::string> lines;
    WatchOptions options;
    options.pollInterval = std::chrono::milliseconds(2);
    options.maximumWatches = 10;
    options.notice = [&](const std::string& line) { lines.push_back(line); };
    LinuxFileEvents events(loop, options);
    int told = 0;
    FileEventSettings settings;
    settings.latency = 0.005;
    const auto stream = events.stream(folder / "root", settings, [&] { ++told; });
    ASSERT_TRUE(loop.runUntil([&] { return !lines.empty(); }));
    for (int number = 0; number < 30; ++number) {
        const int before = told;
        std::filesystem::create_directory(folder / ("root/" + std::to_string(number) + "/below/new"));
        ASSERT_TRUE(loop.runUntil([&] { return told > before; })) << number;
    }
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_THAT(lines[0], HasSubstr("fs.inotify.max_user_watches"));
}

} // namespace
} // namespace vt::test

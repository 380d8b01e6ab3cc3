// What every source of folder events does: the fake, the kernel's events, and the looks from time to time.
#include "support/WatchGrounds.h"

#include <gtest/gtest.h>

namespace vt::test {
namespace {

struct WatchKind {
    const char* name;
    std::function<std::unique_ptr<WatchGround>()> make;
};

void PrintTo(const WatchKind& kind, std::ostream* out) {
    *out << kind.name;
}

// A stream that counts what it is told.
struct Watched {
    int changes = 0;
    int completions = 0;
    std::unique_ptr<FileEventStream> stream;
};

class FileEventsContract : public testing::TestWithParam<WatchKind> {
  protected:
    FileEventsContract() {
        ground->makeFolder("signal");
        ground->makeFolder("folder");
        watchInto(_signal, "signal");
        ground->watchingBegan("signal");
        EXPECT_TRUE(ground->runLoop.runUntil([&] { return _signal.completions > 0; }));
    }

    void watchInto(Watched& watched, const std::string& path) {
        FileEventSettings settings;
        settings.latency = 0.005;
        settings.complete = [&watched] { ++watched.completions; };
        watched.stream =
            ground->events().stream(ground->root() + "/" + path, settings, [&watched] { ++watched.changes; });
    }
    // A stream that is fully set up.
    std::unique_ptr<Watched> watch(const std::string& path) {
        auto watched = std::make_unique<Watched>();
        watchInto(*watched, path);
        settle();
        return watched;
    }
    // Two changes elsewhere have been told of, one after the other: what happened before them would have been, too.
    void settle() {
        for (int round = 0; round < 2; ++round) {
            const int before = _signal.changes;
            ground->write("signal/file" + std::to_string(_number++), "x");
            ASSERT_TRUE(ground->runLoop.runUntil([&] { return _signal.changes > before; }));
        }
    }
    void expectToldOf(Watched& watched, const std::string& what, const std::function<void()>& act) {
        settle();
        const int before = watched.changes;
        act();
        EXPECT_TRUE(ground->runLoop.runUntil([&] { return watched.changes > before; })) << what;
        settle();
    }
    void expectNothingOf(Watched& watched, const std::string& what, const std::function<void()>& act) {
        settle();
        const int before = watched.changes;
        act();
        settle();
        EXPECT_EQ(watched.changes, before) << what;
    }

    std::unique_ptr<WatchGround> ground = GetParam().make();

  private:
    Watched _signal;
    int _number = 0;
};

TEST_P(FileEventsContract, TellsOfEveryKindOfChange) {
    ground->makeFolder("elsewhere");
    ground->makeFolder("folder/sub");
    const auto watched = watch("folder");
    expectToldOf(*watched, "a new file", [&] { ground->write("folder/a", "1"); });
    expectToldOf(*watched, "more content", [&] { ground->write("folder/a", "2"); });
    expectToldOf(*watched, "content below", [&] { ground->write("folder/sub/b", "3"); });
    expectToldOf(*watched, "permissions of a file", [&] { ground->setMode("folder/a", 0640); });
    expectToldOf(*watched, "permissions of a folder", [&] { ground->setMode("folder/sub", 0750); });
    expectToldOf(*watched, "permissions of itself", [&] { ground->setMode("folder", 0750); });
    expectToldOf(*watched, "a new name", [&] { ground->move("folder/a", "folder/c"); });
    expectToldOf(*watched, "moved out", [&] { ground->move("folder/c", "elsewhere/c"); });
    expectToldOf(*watched, "moved in", [&] { ground->move("elsewhere/c", "folder/d"); });
    expectToldOf(*watched, "a link", [&] { ground->makeLink("folder/link", "d"); });
    expectToldOf(*watched, "a folder", [&] { ground->makeFolder("folder/new"); });
    expectToldOf(*watched, "removed file", [&] { ground->remove("folder/d"); });
    expectToldOf(*watched, "removed folder", [&] { ground->remove("folder/sub"); });
    expectNothingOf(*watched, "a change beside it", [&] { ground->write("elsewhere/x", "4"); });
}

TEST_P(FileEventsContract, ReadingRaisesNothing) {
    ground->write("folder/file", "content");
    ground->makeFolder("folder/sub");
    ground->write("folder/sub/file", "content");
    const auto watched = watch("folder");
    expectNothingOf(*watched, "a file read", [&] { ground->read("folder/file"); });
    expectNothingOf(*watched, "folders listed", [&] { ground->read("folder"); });
}

TEST_P(FileEventsContract, FollowsWhatComesAtOnceWithContent) {
    const auto watched = watch("folder");
    expectToldOf(*watched, "a tree made at once", [&] {
        ground->makeFolder("folder/one/two/three");
        ground->write("folder/one/two/three/file", "1");
    });
    expectToldOf(*watched, "deep in the new tree", [&] { ground->write("folder/one/two/three/file", "2"); });
    expectToldOf(*watched, "the tree renamed", [&] { ground->move("folder/one", "folder/1"); });
    expectToldOf(*watched, "deep in the renamed tree", [&] { ground->write("folder/1/two/three/file", "3"); });
}

TEST_P(FileEventsContract, FollowsTreesThatMoveInAndOut) {
    ground->makeFolder("elsewhere/tree/deep");
    const auto watched = watch("folder");
    expectToldOf(*watched, "a tree moved in", [&] { ground->move("elsewhere/tree", "folder/tree"); });
    expectToldOf(*watched, "deep inside", [&] { ground->write("folder/tree/deep/file", "1"); });
    expectToldOf(*watched, "moved out", [&] { ground->move("folder/tree", "elsewhere/back"); });
    expectNothingOf(*watched, "deep outside", [&] { ground->write("elsewhere/back/deep/file", "2"); });
}

TEST_P(FileEventsContract, SurvivesTheFolderItself) {
    ground->makeFolder("folder/sub");
    const auto watched = watch("folder");
    expectToldOf(*watched, "removed", [&] { ground->remove("folder"); });
    expectToldOf(*watched, "made again", [&] { ground->makeFolder("folder"); });
    expectToldOf(*watched, "a file in the new one", [&] { ground->write("folder/file", "1"); });
    expectToldOf(*watched, "removed again", [&] { ground->remove("folder"); });
    expectToldOf(*watched, "a file in its place", [&] { ground->write("folder", "2"); });
    expectToldOf(*watched, "that file changed", [&] { ground->write("folder", "3"); });
    expectToldOf(*watched, "that file removed", [&] { ground->remove("folder"); });
    expectToldOf(*watched, "a folder once more", [&] { ground->makeFolder("folder"); });
    expectToldOf(*watched, "deep inside", [&] {
        ground->makeFolder("folder/deep");
        ground->write("folder/deep/file", "4");
    });
}

TEST_P(FileEventsContract, NoticesAMissingFolderWhenItIsMade) {
    const auto watched = watch("not/yet/there");
    expectToldOf(*watched, "made with all that leads to it", [&] { ground->makeFolder("not/yet/there"); });
    expectToldOf(*watched, "a file inside", [&] { ground->write("not/yet/there/file", "1"); });
    expectToldOf(*watched, "a folder above removed", [&] { ground->remove("not"); });
    expectToldOf(*watched, "and made again", [&] { ground->makeFolder("not/yet/there"); });
}

TEST_P(FileEventsContract, NoticesThatAFolderAboveWasMoved) {
    ground->makeFolder("above/folder");
    const auto watched = watch("above/folder");
    expectToldOf(*watched, "moved away with the folder above", [&] { ground->move("above", "other"); });
    expectToldOf(*watched, "and back", [&] { ground->move("other", "above"); });
    expectToldOf(*watched, "a file inside", [&] { ground->write("above/folder/file", "1"); });
}

TEST_P(FileEventsContract, WatchesAFileThroughItsFolder) {
    ground->write("folder/file", "1");
    ground->write("folder/other", "1");
    const auto watched = watch("folder/file");
    expectToldOf(*watched, "its content", [&] { ground->write("folder/file", "2"); });
    expectNothingOf(*watched, "another file's content", [&] { ground->write("folder/other", "2"); });
    expectToldOf(*watched, "its replacement", [&] { ground->move("folder/other", "folder/file"); });
    expectToldOf(*watched, "its end", [&] { ground->remove("folder/file"); });
    expectToldOf(*watched, "its return", [&] { ground->write("folder/file", "3"); });
}

TEST_P(FileEventsContract, NamesAreAnyBytes) {
    const std::string name = "b\xff\xfe\n \x01"
                             "\xc3\x28";
    ground->makeFolder("folder/" + name);
    const auto watched = watch("folder/" + name);
    expectToldOf(*watched, "a file", [&] { ground->write("folder/" + name + "/\x80", "1"); });
    expectToldOf(*watched, "a folder", [&] { ground->makeFolder("folder/" + name + "/" + std::string(255, '\xfe')); });
}

TEST_P(FileEventsContract, AFloodIsToldOfToTheEnd) {
    const auto watched = watch("folder");
    expectToldOf(*watched, "a thousand files", [&] {
        for (int file = 0; file < 1000; ++file) ground->write("folder/" + std::to_string(file), "x");
    });
    expectToldOf(*watched, "one more", [&] { ground->write("folder/last", "x"); });
}

TEST_P(FileEventsContract, FoldersInsideEachOtherAreEachTold) {
    ground->makeFolder("folder/inner");
    const auto outer = watch("folder");
    const auto inner = watch("folder/inner");
    const int before = inner->changes;
    expectToldOf(*outer, "a change of both", [&] { ground->write("folder/inner/file", "1"); });
    EXPECT_GT(inner->changes, before);
    expectNothingOf(*inner, "a change of the outer one", [&] { ground->write("folder/file", "1"); });
    outer->stream.reset();
    expectToldOf(*inner, "after the outer one ended", [&] { ground->write("folder/inner/file", "2"); });
}

TEST_P(FileEventsContract, StreamsOfOnePathAreAllTold) {
    const auto one = watch("folder");
    const auto other = watch("folder");
    const int before = other->changes;
    expectToldOf(*one, "for the first", [&] { ground->write("folder/file", "1"); });
    EXPECT_GT(other->changes, before);
    one->stream.reset();
    expectToldOf(*other, "after one of them ended", [&] { ground->write("folder/file", "2"); });
}

TEST_P(FileEventsContract, AStreamMadeAgainLosesNothing) {
    const auto old = watch("folder");
    ground->write("folder/file", "1");
    old->stream.reset();
    Watched made;
    watchInto(made, "folder");
    ground->write("folder/file", "2");
    EXPECT_TRUE(ground->runLoop.runUntil([&] { return made.changes > 0; }));
    EXPECT_EQ(made.completions, 0) << "it was watched all the time";
}

TEST_P(FileEventsContract, NothingIsToldAfterTheEnd) {
    const auto watched = watch("folder");
    expectNothingOf(*watched, "after the stream's end", [&] {
        ground->write("folder/file", "1");
        watched->stream.reset();
    });
}

TEST_P(FileEventsContract, EventNumbersGrow) {
    const auto watched = watch("folder");
    const std::uint64_t before = watched->stream->latestEventId();
    expectToldOf(*watched, "a change", [&] { ground->write("folder/file", "1"); });
    const std::uint64_t after = watched->stream->latestEventId();
    EXPECT_GT(after, before);
    settle();
    EXPECT_EQ(watched->stream->latestEventId(), after) << "changes elsewhere do not count";
}

TEST_P(FileEventsContract, TheAgentsOwnFilesAndWhatIsLeftOutRaiseNothing) {
    ground->makeFolder("folder/drive/sub");
    ground->write("folder/own.log", "1");
    ground->events().leaveOut({ground->root() + "/folder/drive"});
    const auto watched = watch("folder");
    expectNothingOf(*watched, "a line in the log", [&] { ground->write("folder/own.log", "2"); });
    expectNothingOf(*watched, "a file on the drive", [&] { ground->write("folder/drive/sub/file", "3"); });
    const auto drive = watch("folder/drive/sub");
    expectToldOf(*drive, "where it is asked for", [&] { ground->write("folder/drive/sub/file", "4"); });
    expectNothingOf(*watched, "and still not above it", [&] { ground->write("folder/drive/sub/file", "5"); });
    ground->events().leaveOut({});
    settle();
    expectToldOf(*watched, "once it is no drive any more", [&] { ground->write("folder/drive/sub/file", "6"); });
}

TEST_P(FileEventsContract, ADriveThatWasChosenByALinkIsLeftOutToo) {
    ground->makeFolder("folder/drive/sub");
    ground->makeLink("link", "folder/drive");
    ground->events().leaveOut({ground->root() + "/link"});
    const auto watched = watch("folder");
    expectNothingOf(*watched, "a file on the drive", [&] { ground->write("folder/drive/sub/file", "1"); });
}

TEST_P(FileEventsContract, LinksAreNotFollowed) {
    ground->makeFolder("elsewhere");
    ground->makeLink("folder/link", "../elsewhere");
    const auto watched = watch("folder");
    expectNothingOf(*watched, "behind a link", [&] { ground->write("elsewhere/file", "1"); });
}

INSTANTIATE_TEST_SUITE_P(
    All, FileEventsContract,
    testing::Values(WatchKind{"fake", [] { return std::make_unique<FakeWatchGround>(); }},
                    WatchKind{"inotify", [] { return std::make_unique<RealWatchGround<LinuxFileEvents>>(); }},
                    WatchKind{"polling", [] { return std::make_unique<RealWatchGround<PollingFileEvents>>(); }}),
    [](const auto& kind) { return std::string(kind.param.name); });

} // namespace
} // namespace vt::test

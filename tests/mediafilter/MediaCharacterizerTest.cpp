#include "mediafilter/MediaCharacterizer.h"

#include "StubContents.h"
#include "StubFiles.h"
#include "mediafilter/MediaClasses.h"
#include "mediafilter/MediaPass.h"
#include "platform/fake/FakeClock.h"
#include "platform/fake/FakeMediaProbe.h"
#include "platform/fake/FakePreferences.h"
#include "platform/fake/FakeRunLoop.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <stdexcept>
#include <string>
#include <thread>

namespace vt {
namespace {

MediaDescription h264(std::int64_t width, std::int64_t height) {
    MediaTrack track;
    track.kind = MediaTrack::Kind::video;
    track.format = FourCharCode::fromText("avc1");
    track.width = width;
    track.height = height;
    track.sampleCount = 25;
    track.timeScale = 25;
    track.displayDuration = 25;
    return {1, 1, {track}};
}

class Characterizer : public testing::Test {
  protected:
    // Runs `work` as a drive's worker does, with the main thread serving.
    void onWorker(const std::function<void()>& work) {
        std::atomic<bool> done = false;
        std::thread worker([&] {
            work();
            done = true;
        });
        EXPECT_TRUE(runLoop.runUntil([&] { return done.load(); }));
        worker.join();
    }
    MediaServices::Answer asks(const std::string& path, const FileAttributes* known = nullptr) {
        MediaServices::Answer answer;
        onWorker([&] { answer = characterizer.characterize(path, 2, known); });
        return answer;
    }

    FakeClock clock;
    FakeRunLoop runLoop{clock};
    FakeMediaProbe probe;
    FakePreferences preferences;
    StubFiles files;
    StubContents contents;
    CharacterizationCache cache{contents, "/state/cache"};
    MediaCharacterizer characterizer{runLoop, probe, preferences, files, &cache};
};

TEST_F(Characterizer, describesAFile) {
    files.addFile("/a.mp4");
    probe.files["/a.mp4"].movie = h264(1280, 720);
    const auto answer = asks("/a.mp4");
    EXPECT_TRUE(answer.record.valid);
    EXPECT_EQ(answer.record.width, 1280);
    EXPECT_EQ(answer.record.containerType, 2);
    EXPECT_FALSE(answer.outOfTime);
}

TEST_F(Characterizer, readsOnTheWorkerUntilEverythingIsThere) {
    files.addFile("/a.mp4");
    probe.files["/a.mp4"].movie = h264(1280, 720);
    probe.files["/a.mp4"].roundsToRead = 5;
    EXPECT_TRUE(asks("/a.mp4").record.valid);
    EXPECT_EQ(probe.described, 6);
}

TEST_F(Characterizer, worksInlineOnTheMainThread) {
    files.addFile("/a.mp4");
    probe.files["/a.mp4"].movie = h264(1280, 720);
    EXPECT_TRUE(characterizer.characterize("/a.mp4", 2, nullptr).record.valid);
}

TEST_F(Characterizer, whatIsNoMovieIsNotValidAndRemembered) {
    files.addFile("/a.mp4");
    EXPECT_FALSE(asks("/a.mp4").record.valid);
    EXPECT_FALSE(asks("/a.mp4").record.valid);
    EXPECT_EQ(probe.opened, 1);
}

struct FailureRow {
    const char* title;
    int openError;
    int error;
    int readError;
    bool outOfTime;
    bool remembered;
};

TEST_F(Characterizer, failuresGiveNoValidRecord) {
    const FailureRow rows[] = {
        {"cannot be opened", EACCES, 0, 0, false, false},  {"no regular file", EINVAL, 0, 0, false, true},
        {"no movie", 0, EINVAL, 0, false, true},           {"header too large", 0, EAGAIN, EFBIG, false, true},
        {"broken disk", 0, EAGAIN, EIO, false, false},     {"slow disk", 0, EAGAIN, ETIMEDOUT, true, false},
        {"slow to look at", 0, ETIMEDOUT, 0, true, false}, {"no memory", 0, ENOMEM, 0, false, false},
    };
    int number = 0;
    for (const FailureRow& row : rows) {
        const std::string path = "/" + std::to_string(++number) + ".mp4";
        files.addFile(path);
        auto& file = probe.files[path];
        file.openError = row.openError;
        file.error = row.error == EAGAIN ? 0 : row.error;
        file.roundsToRead = row.error == EAGAIN ? 1 : 0;
        file.readError = row.readError;
        testing::internal::CaptureStderr();
        const auto answer = asks(path);
        const std::string log = testing::internal::GetCapturedStderr();
        EXPECT_FALSE(answer.record.valid) << row.title;
        EXPECT_EQ(answer.outOfTime, row.outOfTime) << row.title;
        EXPECT_EQ(log.find(path + " took too long") != std::string::npos, row.outOfTime) << row.title;
        const int before = probe.opened;
        static_cast<void>(asks(path));
        EXPECT_EQ(probe.opened == before, row.remembered) << row.title;
    }
}

TEST_F(Characterizer, aFileThatChangedIsExaminedAgain) {
    auto& file = files.addFile("/a.mp4", 100);
    probe.files["/a.mp4"].movie = h264(1280, 720);
    static_cast<void>(asks("/a.mp4"));
    EXPECT_EQ(asks("/a.mp4").record.width, 1280);
    EXPECT_EQ(probe.opened, 1);
    file.modified = Date::fromSeconds(5);
    probe.files["/a.mp4"].movie = h264(320, 240);
    EXPECT_EQ(asks("/a.mp4").record.width, 320);
    EXPECT_EQ(probe.opened, 2);
}

TEST_F(Characterizer, knownAttributesThatAreOldDoNotKeepARecord) {
    FileAttributes old = files.addFile("/a.mp4", 100);
    probe.files["/a.mp4"].movie = h264(1280, 720);
    files.items["/a.mp4"].modified = Date::fromSeconds(9);
    EXPECT_TRUE(asks("/a.mp4", &old).record.valid);
    EXPECT_FALSE(cache.find(CharacterizationKey::of(old)));
    EXPECT_TRUE(cache.find(CharacterizationKey::of(files.items["/a.mp4"])));
}

TEST_F(Characterizer, aFileUnderAnotherNameIsFoundInTheCache) {
    const FileAttributes file = files.addFile("/a.mp4", 100);
    files.items["/b.mp4"] = file;
    probe.files["/a.mp4"].movie = h264(1280, 720);
    static_cast<void>(asks("/a.mp4"));
    EXPECT_EQ(asks("/b.mp4", &file).record.width, 1280);
    EXPECT_EQ(probe.opened, 1);
}

TEST_F(Characterizer, worksWithoutACache) {
    MediaCharacterizer plain(runLoop, probe, preferences, files, nullptr);
    files.addFile("/a.mp4");
    files.addFile("/b.mp4");
    probe.files["/a.mp4"].movie = h264(1280, 720);
    for (const char* path : {"/a.mp4", "/a.mp4", "/b.mp4", "/a.mp4"})
        static_cast<void>(plain.characterize(path, 1, nullptr));
    EXPECT_EQ(probe.opened, 3); // the last record is remembered
}

TEST_F(Characterizer, shutDownReleasesTheWorker) {
    files.addFile("/a.mp4");
    probe.files["/a.mp4"].movie = h264(1280, 720);
    runLoop.beginShutdown();
    MediaServices::Answer answer;
    std::thread worker([&] { answer = characterizer.characterize("/a.mp4", 2, nullptr); });
    worker.join();
    EXPECT_FALSE(answer.record.valid);
    EXPECT_EQ(cache.size(), 0U);
}

// Something happens to the file as soon as it is open.
class Meanwhile final : public MediaProbe {
  public:
    Meanwhile(MediaProbe& probe, std::function<void()> event) : _probe(probe), _event(std::move(event)) {}
    Result<std::unique_ptr<MediaFile>> open(const std::string& path) override {
        auto file = _probe.open(path);
        _event();
        return file;
    }
    Result<MediaDescription> describe(MediaFile& file) override { return _probe.describe(file); }

  private:
    MediaProbe& _probe;
    std::function<void()> _event;
};

TEST_F(Characterizer, aFileThatGrowsOrVanishesMeanwhileIsNotRemembered) {
    struct EventRow {
        const char* title;
        std::function<void()> event;
    };
    const EventRow rows[] = {
        {"grows", [&] { files.items["/a.mp4"].size += 1; }},
        {"is written over", [&] { files.items["/a.mp4"].statusChanged = Date::fromSeconds(77); }},
        {"gets another's content", [&] { files.items["/a.mp4"].inode += 1; }},
        {"vanishes", [&] { files.items.erase("/a.mp4"); }},
    };
    for (const EventRow& row : rows) {
        files.addFile("/a.mp4", 100);
        probe.files["/a.mp4"].movie = h264(1280, 720);
        Meanwhile meanwhile(probe, row.event);
        MediaCharacterizer watched(runLoop, meanwhile, preferences, files, &cache);
        EXPECT_TRUE(watched.characterize("/a.mp4", 2, nullptr).record.valid) << row.title;
        EXPECT_EQ(cache.size(), 0U) << row.title;
        files.items.clear();
        files.addFile("/a.mp4", 100);
        const int before = probe.opened;
        static_cast<void>(watched.characterize("/a.mp4", 2, nullptr));
        EXPECT_EQ(probe.opened, before + 1) << row.title;
        files.items.clear();
    }
}

TEST_F(Characterizer, describesForAnExplanationWithoutRemembering) {
    files.addFile("/a.mp4");
    probe.files["/a.mp4"].movie = h264(1280, 720);
    probe.files["/a.mp4"].roundsToRead = 3;
    for (int i = 1; i <= 2; ++i) {
        Result<MediaDescription> movie = Error{};
        onWorker([&] { movie = characterizer.describe("/a.mp4"); });
        ASSERT_TRUE(movie.ok());
        EXPECT_EQ(movie->tracks.size(), 1U);
        EXPECT_EQ(probe.opened, i);
    }
    EXPECT_EQ(cache.size(), 0U);
    probe.files["/a.mp4"].error = EINVAL;
    EXPECT_EQ(characterizer.describe("/a.mp4").code(), EINVAL);
    runLoop.beginShutdown();
    std::thread worker([&] { EXPECT_EQ(characterizer.describe("/a.mp4").code(), ECANCELED); });
    worker.join();
}

class ThrowingProbe final : public MediaProbe {
  public:
    Result<std::unique_ptr<MediaFile>> open(const std::string&) override {
        struct Nothing final : MediaFile {
            Result<void> readMore() override { return {}; }
        };
        return std::unique_ptr<MediaFile>(std::make_unique<Nothing>());
    }
    Result<MediaDescription> describe(MediaFile&) override { throw std::runtime_error("out of paper"); }
};

TEST_F(Characterizer, anExceptionIsLoggedAndMeansNotValid) {
    ThrowingProbe throwing;
    MediaCharacterizer plain(runLoop, throwing, preferences, files, nullptr);
    testing::internal::CaptureStderr();
    EXPECT_FALSE(plain.characterize("/a.mp4", 2, nullptr).record.valid);
    EXPECT_NE(testing::internal::GetCapturedStderr().find("QTMovie generated exception out of paper for path /a.mp4"),
              std::string::npos);
}

TEST_F(Characterizer, readsThePhotoBoothPreference) {
    EXPECT_FALSE(characterizer.photoBoothLibrary());
    preferences.set("com.apple.PhotoBooth", PreferenceHost::any, "LibraryPath", 5);
    EXPECT_FALSE(characterizer.photoBoothLibrary());
    preferences.set("com.apple.PhotoBooth", PreferenceHost::any, "LibraryPath", "/home/ada/Photo Booth");
    std::optional<std::string> library;
    onWorker([&] { library = characterizer.photoBoothLibrary(); });
    EXPECT_EQ(library, "/home/ada/Photo Booth");
}

TEST_F(Characterizer, keepsItsCacheWhenAPassBegins) {
    files.addFile("/a.mp4");
    static_cast<void>(asks("/a.mp4"));
    EXPECT_EQ(contents.writes, 0);
    characterizer.passBegins();
    EXPECT_EQ(contents.writes, 1);
}

TEST_F(Characterizer, manyWorkersShareIt) {
    for (int i = 0; i < 20; ++i) {
        const std::string path = "/" + std::to_string(i) + ".mp4";
        files.addFile(path, static_cast<std::uint64_t>(i) + 1);
        probe.files[path].movie = h264(100 + i, 100);
    }
    std::atomic<int> finished = 0;
    std::atomic<int> wrong = 0;
    const auto work = [&](int first) {
        for (int round = 0; round < 10; ++round)
            for (int i = first; i < 20; i += 2) {
                const std::string path = "/" + std::to_string(i) + ".mp4";
                const FileAttributes known = files.items.at(path);
                if (characterizer.characterize(path, 2, &known).record.width != 100 + i) ++wrong;
            }
        ++finished;
    };
    // Known once, so that the workers read the fakes only.
    for (int i = 0; i < 20; ++i) static_cast<void>(asks("/" + std::to_string(i) + ".mp4"));
    std::thread one(work, 0);
    std::thread two(work, 1);
    EXPECT_TRUE(runLoop.runUntil([&] { return finished == 2; }));
    one.join();
    two.join();
    EXPECT_EQ(wrong, 0);
}

} // namespace
} // namespace vt

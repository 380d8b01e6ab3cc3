// What everything that describes media files promises.
#include "platform/fake/FakeMediaProbe.h"
#include "platform/linux/media/LinuxMediaProbe.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <sys/stat.h>

namespace vt {
namespace {

// A probe, and the paths of what every ground has: a sound file of 8,000 Hz with one channel of 16 bits, a text, a link
// to the sound, a folder, a pipe, and nothing.
class Ground {
  public:
    enum class Poor : std::uint8_t { no, ofBytes, ofTime };
    virtual ~Ground() = default;
    virtual std::unique_ptr<MediaProbe> probe(Poor poor) = 0;
    std::string sound, text, link, folder, pipe, missing;
};

class FakeGround final : public Ground {
  public:
    FakeGround() {
        sound = "/ground/sound";
        text = "/ground/text";
        link = "/ground/link";
        folder = "/ground/folder";
        pipe = "/ground/pipe";
        missing = "/ground/missing";
    }
    std::unique_ptr<MediaProbe> probe(Poor poor) override {
        auto fake = std::make_unique<FakeMediaProbe>();
        FakeMediaProbe::File wave;
        MediaTrack track;
        track.kind = MediaTrack::Kind::sound;
        track.format = FourCharCode::fromText("sowt");
        track.sampleRate = 8000;
        track.channels = 1;
        wave.movie = {1, 1, {track}};
        wave.roundsToRead = 1;
        wave.readError = poor == Poor::ofBytes ? EFBIG : poor == Poor::ofTime ? ETIMEDOUT : 0;
        fake->files[sound] = fake->files[link] = wave;
        fake->files[text].error = EINVAL;
        fake->files[text].roundsToRead = 1;
        fake->files[folder].openError = fake->files[pipe].openError = EINVAL;
        fake->files[missing].openError = ENOENT;
        return fake;
    }
};

class LinuxGround final : public Ground {
  public:
    LinuxGround() {
        sound = _folder.path() + "/sound";
        text = _folder.path() + "/text";
        link = _folder.path() + "/link";
        folder = _folder.path() + "/folder";
        pipe = _folder.path() + "/pipe";
        missing = _folder.path() + "/missing";
        std::ofstream(sound, std::ios::binary) << wave();
        std::ofstream(text) << std::string(2000, 'a') << "\nnot a movie\n";
        std::filesystem::create_symlink(sound, link);
        std::filesystem::create_directory(folder);
        EXPECT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    }
    std::unique_ptr<MediaProbe> probe(Poor poor) override {
        MediaBudget budget;
        if (poor == Poor::ofBytes) budget.bytes = 10;
        if (poor == Poor::ofTime) budget.time = std::chrono::milliseconds(0);
        return std::make_unique<LinuxMediaProbe>(budget);
    }

  private:
    // One second.
    static std::string wave() {
        const auto number = [](std::uint32_t value, int bytes) {
            std::string text;
            for (; bytes > 0; --bytes, value >>= 8U) text += static_cast<char>(value & 0xFFU);
            return text;
        };
        const std::string samples(16'000, '\0');
        const std::string format =
            number(1, 2) + number(1, 2) + number(8000, 4) + number(16'000, 4) + number(2, 2) + number(16, 2);
        return "RIFF" + number(36 + 16'000, 4) + "WAVEfmt " + number(16, 4) + format + "data" + number(16'000, 4) +
               samples;
    }
    test::TemporaryFolder _folder;
};

class MediaProbeContract : public testing::TestWithParam<std::unique_ptr<Ground> (*)()> {
  protected:
    // Reads and looks in turns until the probe has an answer.
    static Result<MediaDescription> describe(MediaProbe& probe, const std::string& path) {
        auto file = probe.open(path);
        if (!file.ok()) return file.error();
        while (true) {
            auto movie = probe.describe(**file);
            if (movie.ok() || movie.code() != EAGAIN) return movie;
            if (const auto read = (*file)->readMore(); !read.ok()) return read.error();
        }
    }
    static void expectTheSound(const Result<MediaDescription>& movie) {
        ASSERT_TRUE(movie.ok()) << movie.error().describe();
        ASSERT_EQ(movie->tracks.size(), 1U);
        const MediaTrack& track = movie->tracks[0];
        EXPECT_EQ(track.kind, MediaTrack::Kind::sound);
        EXPECT_TRUE(track.enabled);
        EXPECT_TRUE(track.hasMedia);
        EXPECT_TRUE(track.hasDescription);
        ASSERT_TRUE(track.format);
        EXPECT_EQ(track.format->text(), "sowt");
        EXPECT_EQ(track.sampleRate, 8000);
        EXPECT_EQ(track.channels, 1);
        EXPECT_EQ(static_cast<double>(movie->duration) / movie->timeScale, 1);
    }
    std::unique_ptr<Ground> ground = GetParam()();
    std::unique_ptr<MediaProbe> probe = ground->probe(Ground::Poor::no);
};

TEST_P(MediaProbeContract, DescribesWhatItHasRead) {
    expectTheSound(describe(*probe, ground->sound));
}
TEST_P(MediaProbeContract, FollowsLinks) {
    expectTheSound(describe(*probe, ground->link));
}
TEST_P(MediaProbeContract, NothingIsReadBeforeItIsAskedFor) {
    auto file = probe->open(ground->sound);
    ASSERT_TRUE(file.ok());
    EXPECT_EQ(probe->describe(**file).code(), EAGAIN);
    EXPECT_EQ(probe->describe(**file).code(), EAGAIN);
    ASSERT_TRUE((*file)->readMore().ok());
    expectTheSound(probe->describe(**file));
    expectTheSound(probe->describe(**file));
}
TEST_P(MediaProbeContract, TwoOpenFilesDoNotKnowOfEachOther) {
    auto first = probe->open(ground->sound);
    auto second = probe->open(ground->sound);
    ASSERT_TRUE(first.ok() && second.ok());
    EXPECT_EQ(probe->describe(**first).code(), EAGAIN);
    ASSERT_TRUE((*first)->readMore().ok());
    EXPECT_EQ(probe->describe(**second).code(), EAGAIN);
    expectTheSound(probe->describe(**first));
}
TEST_P(MediaProbeContract, WhatIsNoMovieIsInvalid) {
    const auto movie = describe(*probe, ground->text);
    EXPECT_EQ(movie.code(), EINVAL);
    EXPECT_NE(movie.error().text, "");
}
TEST_P(MediaProbeContract, WhatIsNoRegularFileIsNotOpened) {
    EXPECT_EQ(probe->open(ground->folder).code(), EINVAL);
    EXPECT_EQ(probe->open(ground->pipe).code(), EINVAL); // would wait for a writer
}
TEST_P(MediaProbeContract, NothingIsThere) {
    EXPECT_EQ(probe->open(ground->missing).code(), ENOENT);
}
TEST_P(MediaProbeContract, KeepsToItsBudget) {
    EXPECT_EQ(describe(*ground->probe(Ground::Poor::ofBytes), ground->sound).code(), EFBIG);
    EXPECT_EQ(describe(*ground->probe(Ground::Poor::ofTime), ground->sound).code(), ETIMEDOUT);
}

template <typename Kind> std::unique_ptr<Ground> make() {
    return std::make_unique<Kind>();
}
INSTANTIATE_TEST_SUITE_P(Fake, MediaProbeContract, testing::Values(&make<FakeGround>));
INSTANTIATE_TEST_SUITE_P(Real, MediaProbeContract, testing::Values(&make<LinuxGround>));

} // namespace
} // namespace vt

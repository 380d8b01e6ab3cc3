#include "platform/linux/media/LinuxMediaProbe.h"

#include "CorpusFiles.h"
#include "MovieBytes.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <sys/stat.h>

namespace vt {
namespace {

class ProbeOfLinux : public testing::Test {
  protected:
    static Result<MediaDescription> describe(MediaProbe& probe, const std::string& path, int* rounds = nullptr) {
        auto file = probe.open(path);
        if (!file.ok()) return file.error();
        while (true) {
            auto movie = probe.describe(**file);
            if (movie.ok() || movie.code() != EAGAIN) return movie;
            if (rounds != nullptr) ++*rounds;
            if (const auto read = (*file)->readMore(); !read.ok()) return read.error();
        }
    }
    int codeOf(const std::string& path) { return describe(probe, path).code(); }
    std::string write(const std::string& name, const std::string& bytes) {
        std::string path = (corpus.folder() / name).string();
        std::ofstream(path, std::ios::binary) << bytes;
        return path;
    }
    static std::string contentOf(const std::string& path) {
        std::ifstream file(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    CorpusFiles corpus;
    LinuxMediaProbe probe;
};

TEST_F(ProbeOfLinux, neverOpensWhatIsNoRegularFile) {
    const std::string pipe = (corpus.folder() / "pipe.mp4").string();
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    EXPECT_EQ(probe.open(pipe).code(), EINVAL); // would hang otherwise
    EXPECT_EQ(probe.open("/dev/zero").code(), EINVAL);
    EXPECT_EQ(probe.open(corpus.folder().string()).code(), EINVAL);
    EXPECT_EQ(probe.open((corpus.folder() / "missing.mp4").string()).code(), ENOENT);
}

TEST_F(ProbeOfLinux, followsLinks) {
    const std::string link = (corpus.folder() / "link").string();
    std::filesystem::create_symlink(corpus.path("h264-silent.mp4"), link);
    EXPECT_TRUE(describe(probe, link).ok());
}

TEST_F(ProbeOfLinux, readsNothingWhileItDescribes) {
    const std::string path = corpus.path("h264-silent.mp4");
    auto file = probe.open(path);
    ASSERT_TRUE(file.ok());
    EXPECT_EQ(probe.describe(**file).code(), EAGAIN);
    std::filesystem::resize_file(path, 0);
    EXPECT_EQ(probe.describe(**file).code(), EAGAIN);
    ASSERT_TRUE((*file)->readMore().ok());
    EXPECT_EQ(probe.describe(**file).code(), EINVAL); // it has become empty
}

TEST_F(ProbeOfLinux, aFileThatVanishesIsDescribedAllTheSame) {
    const std::string path = corpus.path("h264-silent.mp4");
    auto file = probe.open(path);
    ASSERT_TRUE(file.ok());
    std::filesystem::remove(path);
    EXPECT_EQ(probe.describe(**file).code(), EAGAIN);
    ASSERT_TRUE((*file)->readMore().ok());
    EXPECT_TRUE(probe.describe(**file).ok());
}

TEST_F(ProbeOfLinux, aFileThatGrowsIsSeenAsItWasOpened) {
    const std::string path = corpus.path("h264-silent.mp4");
    auto file = probe.open(path);
    ASSERT_TRUE(file.ok());
    std::ofstream(path, std::ios::binary | std::ios::app) << std::string(1'000'000, '\0');
    EXPECT_EQ(probe.describe(**file).code(), EAGAIN);
    ASSERT_TRUE((*file)->readMore().ok());
    EXPECT_TRUE(probe.describe(**file).ok());
}

TEST_F(ProbeOfLinux, aFileThatIsCutWhileItIsReadIsNoMovie) {
    const std::string path = corpus.path("h264-pcm.mov");
    const auto whole = std::filesystem::file_size(path);
    auto file = probe.open(path);
    ASSERT_TRUE(file.ok());
    EXPECT_EQ(probe.describe(**file).code(), EAGAIN);
    ASSERT_TRUE((*file)->readMore().ok()); // the beginning; the index stands at the end
    std::filesystem::resize_file(path, whole / 2);
    Result<MediaDescription> movie = probe.describe(**file);
    while (!movie.ok() && movie.code() == EAGAIN) {
        ASSERT_TRUE((*file)->readMore().ok());
        movie = probe.describe(**file);
    }
    EXPECT_EQ(movie.code(), EINVAL);
}

TEST_F(ProbeOfLinux, findsAnIndexBehindTheContent) {
    int rounds = 0;
    EXPECT_TRUE(describe(probe, corpus.path("h264-pcm.mov"), &rounds).ok());
    EXPECT_GE(rounds, 2);
    EXPECT_LE(rounds, 4);
}

TEST_F(ProbeOfLinux, keepsToItsBudget) {
    const std::string path = corpus.path("h264-pcm.mov");
    MediaBudget noBytes;
    noBytes.bytes = 1000;
    LinuxMediaProbe poor(noBytes);
    EXPECT_EQ(describe(poor, path).code(), EFBIG);
    MediaBudget noRounds;
    noRounds.rounds = 1;
    LinuxMediaProbe impatient(noRounds);
    EXPECT_EQ(describe(impatient, path).code(), EFBIG);
    MediaBudget noTime;
    noTime.time = std::chrono::milliseconds(0);
    LinuxMediaProbe hurried(noTime);
    EXPECT_EQ(describe(hurried, path).code(), ETIMEDOUT);
}

TEST_F(ProbeOfLinux, knowsNoPlaylists) {
    const std::string film = corpus.path("h264-silent.mp4");
    EXPECT_EQ(codeOf(write("list.mp4", "#EXTM3U\n#EXT-X-TARGETDURATION:1\n#EXTINF:1,\n" + film + "\n")), EINVAL);
    EXPECT_EQ(codeOf(write("concat.mp4", "ffconcat version 1.0\nfile '" + film + "'\n")), EINVAL);
}

// The demuxer leaves the size of such pictures to a decoder, which finds nothing here.
TEST_F(ProbeOfLinux, aMovieWithoutContentTellsWhatItsIndexSays) {
    for (const char* format : {"mp4v", "h263", "s263", "avc1"}) {
        const moviebytes::Track track{.descriptions = {moviebytes::imageDescription(format, 1281, 722)},
                                      .timeScale = 30'000,
                                      .samples = 300,
                                      .unitsPerSample = 1001};
        const auto movie = describe(probe, write("index.mp4", moviebytes::movie({track})));
        ASSERT_TRUE(movie.ok()) << format;
        ASSERT_EQ(movie->tracks.size(), 1U) << format;
        const MediaTrack& found = movie->tracks[0];
        EXPECT_EQ(found.format->text(), std::string(format) == "s263" ? "h263" : format);
        EXPECT_EQ(found.width, 1281) << format;
        EXPECT_EQ(found.height, 722) << format;
        EXPECT_DOUBLE_EQ(found.timeScale * static_cast<double>(found.sampleCount) /
                             static_cast<double>(found.displayDuration),
                         30'000.0 / 1001)
            << format;
    }
}

TEST_F(ProbeOfLinux, theFirstSampleDescriptionCounts) {
    for (const char* second : {"avc1", "jpeg"}) {
        const moviebytes::Track track{.descriptions = {moviebytes::imageDescription("avc1", 640, 480),
                                                       moviebytes::imageDescription(second, 1920, 1080)}};
        const auto movie = describe(probe, write("two.mov", moviebytes::movie({track})));
        ASSERT_TRUE(movie.ok()) << second;
        ASSERT_EQ(movie->tracks.size(), 1U) << second;
        EXPECT_EQ(movie->tracks[0].format->text(), "avc1") << second;
        EXPECT_EQ(movie->tracks[0].width, 640) << second;
        EXPECT_EQ(movie->tracks[0].height, 480) << second;
    }
}

TEST_F(ProbeOfLinux, survivesDamagedFiles) {
    std::mt19937 random(11);
    for (const char* name : {"h264.mp4", "mjpeg-ulaw.avi", "aac.m4a", "h264-fragmented.mp4", "mpeg4.3gp"}) {
        const std::string whole = contentOf(corpus.path(name));
        for (int i = 0; i < 60; ++i) {
            std::string damaged = whole;
            for (int hits = 0; hits < 20; ++hits) damaged[random() % damaged.size()] = static_cast<char>(random());
            if (i % 3 == 0) damaged.resize(random() % damaged.size());
            // The index of a movie stands at its end: damage that is sure to be seen.
            if (i % 3 == 1 && damaged.size() > 500)
                for (int hits = 0; hits < 20; ++hits)
                    damaged[damaged.size() - 1 - random() % 500] = static_cast<char>(random());
            const auto movie = describe(probe, write("damaged", damaged));
            if (!movie.ok()) {
                EXPECT_TRUE(movie.code() == EINVAL || movie.code() == EFBIG || movie.code() == ETIMEDOUT)
                    << name << ": " << movie.error().describe();
            }
        }
    }
}

} // namespace
} // namespace vt

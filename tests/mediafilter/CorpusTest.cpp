// Real files, looked at by the real probe, against every media class.
#include "CorpusFiles.h"
#include "StubFiles.h"
#include "mediafilter/MediaCharacterizer.h"
#include "mediafilter/MediaClasses.h"
#include "platform/fake/FakeClock.h"
#include "platform/fake/FakePreferences.h"
#include "platform/fake/FakeRunLoop.h"
#include "platform/linux/media/LinuxMediaProbe.h"

#include <gtest/gtest.h>

#include <string>

namespace vt {
namespace {

class NoExclusions final : public ExclusionTables {
  public:
    [[nodiscard]] const std::vector<std::string>& filteredFileNames() const override { return _none; }
    [[nodiscard]] const std::vector<std::string>& filteredFilePaths() const override { return _none; }

  private:
    std::vector<std::string> _none;
};

class Corpus : public testing::Test {
  protected:
    MediaFileCharacterization record(const std::string& name) {
        return characterizer.characterize(corpus.path(name), 0, nullptr).record;
    }
    // One letter a class, from 0 to 7: y accepted, - refused.
    std::string answers(const std::string& name, MediaKind kind) {
        std::string result;
        for (std::int32_t value = 0; value < 8; ++value) {
            VTFileValidator validator(exclusions, HomePaths("/home/ada"), files);
            validator.setMediaServices(&characterizer);
            validator.addContainerValidators(mediaList(static_cast<VTMediaClass>(value), kind));
            result += validator.shouldCopyItem(corpus.path(name), false) ? 'y' : '-';
        }
        return result;
    }

    CorpusFiles corpus;
    FakeClock clock;
    FakeRunLoop runLoop{clock};
    LinuxMediaProbe probe;
    FakePreferences preferences;
    StubFiles files;
    NoExclusions exclusions;
    MediaCharacterizer characterizer{runLoop, probe, preferences, files, nullptr};
};

struct Row {
    const char* file;
    const char* movies; // unlimited, Apple low, high, unlimited, Android, Kindle Fire, Kindle Fire HD, Windows RT
    const char* music;
};

TEST_F(Corpus, everyFileAgainstEveryClass) {
    const Row rows[] = {
        {"h264.mp4", "yyyyyyyy", "y-------"},
        {"h264-high.mov", "y-yy---y", "y-------"},
        {"h264-wide.mp4", "y--yyyyy", "y-------"},
        {"h264-fast.mp4", "y--yyyyy", "y-------"},
        {"h264-surround.mp4", "y--yyyyy", "y-------"},
        {"h264-two-sounds.mov", "yyyy---y", "y-------"},
        {"h264-ac3.mp4", "y-----yy", "y-------"},
        {"h264-pcm.mov", "y-------", "y-------"},
        {"h264.3gp", "y---yyyy", "--------"},
        {"clip.3g2x", "-------y", "--------"},
        {"h264-silent.mp4", "yyyyyyyy", "y-------"},
        {"h264-fragmented.mp4", "yyyyyyyy", "y-------"},
        {"h265.mp4", "y-------", "y-------"},
        {"mpeg4.mp4", "yyyy---y", "y-------"},
        {"mpeg4.3gp", "y---yyyy", "--------"},
        {"mpeg4.avi", "y------y", "--------"},
        {"h263-amr.3gp", "y---yyy-", "--------"},
        {"h263-silent.3gp", "y---yyyy", "--------"},
        {"amr.3gp", "y-------", "y---yyy-"},
        {"mjpeg-ulaw.avi", "y-yy---y", "--------"},
        {"mjpeg-pcm.avi", "y------y", "--------"},
        {"jpeg-pcm.mov", "y--y----", "y-------"},
        {"two-videos.mov", "yyyy---y", "y-------"},
        {"disabled-video.mov", "yyyy---y", "y-------"},
        {"disabled-sound.mp4", "y-------", "y-------"},
        {"seventeen-sounds.mov", "y------y", "y-------"},
        {"aac.m4a", "--------", "yyyyyyyy"},
        {"alac.m4a", "--------", "yyyy----"},
        {"ac3.m4a", "--------", "y------y"},
        {"aac.aac", "--------", "yyyyyyyy"},
        {"mp3.mp3", "--------", "yyyyyyyy"},
        {"book-attached-cover.m4b", "--------", "yyyy----"},
        {"book-cover-track.m4b", "--------", "yyyy----"},
        {"cover-track.m4a", "--------", "y-------"},
        {"truncated.mp4", "y-------", "y-------"},
        {"text.mp4", "y-------", "y-------"},
        {"text.aac", "--------", "yyyyyyy-"},
        {"empty.mp4", "y-------", "y-------"},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(answers(row.file, MediaKind::movies), row.movies) << row.file;
        EXPECT_EQ(answers(row.file, MediaKind::music), row.music) << row.file;
    }
}

TEST_F(Corpus, aFilmsRecord) {
    const auto film = record("h264-high.mov");
    EXPECT_TRUE(film.valid);
    EXPECT_TRUE(film.hasVideo);
    EXPECT_EQ(film.videoCodec, 1);
    EXPECT_EQ(film.width, 1280);
    EXPECT_EQ(film.height, 720);
    EXPECT_EQ(film.frameRate, 30.0F);
    EXPECT_NEAR(film.duration, 1.0F, 0.05F);
    EXPECT_TRUE(film.hasAudio);
    ASSERT_EQ(film.audioTrackCount, 1U);
    EXPECT_EQ(film.audioTracks[0], (AudioTrackCharacterization{1, 48'000.0F, 2}));
}

struct RecordRow {
    const char* file;
    std::int32_t video;
    std::int64_t width;
    float rate;
    std::size_t sounds;
    std::int32_t sound; // of the first entry
};

TEST_F(Corpus, recordsOfOtherContainers) {
    const RecordRow rows[] = {
        {"mpeg4.mp4", 2, 640, 25, 1, 1},
        {"mpeg4.avi", 9, 640, 25, 1, 2},
        {"mjpeg-ulaw.avi", 3, 1280, 30, 1, 7},
        {"mjpeg-pcm.avi", 3, 640, 25, 1, 6},
        {"jpeg-pcm.mov", 12, 640, 25, 1, 6},
        {"h263-amr.3gp", 16, 176, 15, 1, 15},
        {"h264-fragmented.mp4", 1, 640, 25, 1, 1},
        {"h265.mp4", 0, 640, 25, 0, 0},
        {"two-videos.mov", 2, 320, 25, 0, 0},
        {"disabled-video.mov", 1, 640, 25, 0, 0},
        {"seventeen-sounds.mov", 1, 640, 25, 16, 14},
        {"book-cover-track.m4b", 20, 64, 1, 1, 1},
        {"book-attached-cover.m4b", 0, 0, 0, 1, 1},
        {"alac.m4a", 0, 0, 0, 1, 3},
        {"mp3.mp3", 0, 0, 0, 1, 2},
        {"aac.aac", 0, 0, 0, 1, 1},
        {"disabled-sound.mp4", 1, 640, 25, 0, 0},
    };
    for (const RecordRow& row : rows) {
        const auto found = record(row.file);
        EXPECT_TRUE(found.valid) << row.file;
        EXPECT_EQ(found.videoCodec, row.video) << row.file;
        EXPECT_EQ(found.hasVideo, row.width != 0) << row.file;
        EXPECT_EQ(found.width, row.width) << row.file;
        EXPECT_FLOAT_EQ(found.frameRate, row.rate) << row.file;
        EXPECT_EQ(found.audioTrackCount, row.sounds) << row.file;
        EXPECT_EQ(found.audioTracks[0].codec, row.sound) << row.file;
    }
    EXPECT_TRUE(record("disabled-sound.mp4").hasAudio);
}

} // namespace
} // namespace vt

// Real files, looked at by the real probe, against every media class.
#include "CorpusFiles.h"
#include "StubFiles.h"
#include "mediafilter/FilterWords.h"
#include "mediafilter/MediaCharacterizer.h"
#include "mediafilter/MediaClasses.h"
#include "platform/fake/FakeClock.h"
#include "platform/fake/FakePreferences.h"
#include "platform/fake/FakeRunLoop.h"
#include "platform/linux/LinuxFiles.h"
#include "platform/linux/media/LinuxMediaProbe.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <sys/stat.h>

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

    // Why Apple's high class takes the file or not, asked in all of its lists.
    std::string reason(const std::string& name) {
        VTFileValidator validator(exclusions, HomePaths("/home/ada"), realFiles);
        for (const MediaKind kind : mediaKinds)
            validator.addContainerValidators(mediaList(VTMediaClass::appleHigh, kind));
        Facts facts(characterizer);
        const auto verdict = validator.explain(corpus.path(name), false, facts);
        EXPECT_TRUE(verdict.ok()) << name;
        if (!verdict.ok()) return {};
        return filterwords::sentence(*verdict, facts.record);
    }

    class Facts final : public MediaFacts {
      public:
        explicit Facts(MediaServices& media) : _media(media) {}
        [[nodiscard]] MediaFileCharacterization characterization(const std::string& path, std::int32_t type) override {
            if (!record) record = _media.characterize(path, type, nullptr).record;
            return *record;
        }
        [[nodiscard]] std::optional<std::string> photoBoothLibrary() override { return std::nullopt; }
        std::optional<MediaFileCharacterization> record;

      private:
        MediaServices& _media;
    };

    CorpusFiles corpus;
    LinuxFiles realFiles;
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
    const char* why; // Apple's high class takes or refuses it, in all of its lists
};

const char* const highFits = R"("H264 high" accepts it: its video and its sound fit)";
const char* const highSound =
    R"("H264 high" refuses it: none of its sound tracks is AAC up to 48000 Hz with at most 2 channels)";
const char* const soundFits = R"("audio only" accepts it: its sound fits)";
const char* const bookFits = R"("audio book" accepts it: its sound fits)";
const char* const noPattern = "no pattern of the lists that are switched on matches its name";
const char* const noMovie = "it is no movie that can be read";

TEST_F(Corpus, everyFileAgainstEveryClass) {
    const Row rows[] = {
        {"h264.mp4", "yyyyyyyy", "y-------", highFits},
        {"h264-high.mov", "y-yy---y", "y-------", highFits},
        {"h264-wide.mp4", "y--yyyyy", "y-------",
         R"("H264 high" refuses it: 1281 x 720 pixels are more than 1280 x 720)"},
        {"h264-fast.mp4", "y--yyyyy", "y-------", R"("H264 high" refuses it: 60 frames per second are more than 30)"},
        {"h264-surround.mp4", "y--yyyyy", "y-------", highSound},
        {"h264-two-sounds.mov", "yyyy---y", "y-------", highFits},
        {"h264-ac3.mp4", "y-----yy", "y-------", highSound},
        {"h264-pcm.mov", "y-------", "y-------", highSound},
        {"h264.3gp", "y---yyyy", "--------", noPattern},
        {"clip.3g2x", "-------y", "--------", noPattern},
        {"h264-silent.mp4", "yyyyyyyy", "y-------", R"("H264 high" accepts it: its video fits and it has no sound)"},
        {"h264-fragmented.mp4", "yyyyyyyy", "y-------", highFits},
        {"h265.mp4", "y-------", "y-------",
         R"(it is of no kind that is taken: "MP4": its video is of an unknown codec, not MPEG-4; )"
         R"("H264 high": its video is of an unknown codec, not H.264; )"
         R"("DRMV high": its video is of an unknown codec, not protected video)"},
        {"h264-edited.mp4", "yyyyyyyy", "y-------", highFits},
        {"Movie.MP4", "yyyyyyyy", "y-------", highFits},
        {"h264.m4v", "yyyy---y", "--------", highFits},
        {"protected.m4v", "yyyy----", "--------", R"("DRMV high" accepts it: its video and its sound fit)"},
        {"film.m4a", "--------", "y-------", "it has video"},
        {"film.m4b", "--------", "y-------", "it has video that is no PNG cover"},
        {"disabled-everything.mp4", "y-------", "y-------",
         R"("audio only" refuses it: its sound tracks are all switched off)"},
        {"mpeg4.mp4", "yyyy---y", "y-------", R"("MP4" accepts it: its video and its sound fit)"},
        {"mpeg4.3gp", "y---yyyy", "--------", noPattern},
        {"mpeg4.avi", "y------y", "--------", R"(its video is Graphics or FMP4, not Motion JPEG (OpenDML))"},
        {"h263-amr.3gp", "y---yyy-", "--------", noPattern},
        {"h263-silent.3gp", "y---yyyy", "--------", noPattern},
        {"amr.3gp", "y-------", "y---yyy-", noPattern},
        {"mjpeg-ulaw.avi", "y-yy---y", "--------", R"("Windows MJPEG" accepts it: its video and its sound fit)"},
        {"mjpeg-pcm.avi", "y------y", "--------",
         R"("Windows MJPEG" refuses it: none of its sound tracks is mu-law with at most 2 channels)"},
        {"jpeg-pcm.mov", "y--y----", "y-------",
         R"(it is of no kind that is taken: "MP4": its video is JPEG, not MPEG-4; )"
         R"("H264 high": its video is JPEG, not H.264; "DRMV high": its video is JPEG, not protected video)"},
        {"two-videos.mov", "yyyy---y", "y-------", R"("MP4" accepts it: its video fits and it has no sound)"},
        {"disabled-video.mov", "yyyy---y", "y-------", R"("H264 high" accepts it: its video fits and it has no sound)"},
        {"disabled-sound.mp4", "y-------", "y-------",
         R"("H264 high" refuses it: its sound tracks are all switched off)"},
        {"seventeen-sounds.mov", "y------y", "y-------", highSound},
        {"aac.m4a", "--------", "yyyyyyyy", soundFits},
        {"protected.m4a", "--------", "yyyy----", soundFits},
        {"sound.mp4", "y-------", "yyyy----", soundFits},
        {"sound.mov", "y-------", "yyyy----", soundFits},
        {"alac.m4a", "--------", "yyyy----", soundFits},
        {"ac3.m4a", "--------", "y------y",
         R"("audio only" refuses it: none of its sound tracks is AAC, Apple Lossless, mu-law, Audible or protected AAC)"},
        {"aac.aac", "--------", "yyyyyyyy", R"(its name matches .*\.aac$, which is enough without a look inside)"},
        {"mp3.mp3", "--------", "yyyyyyyy", R"(its name matches .*\.mp3$, which is enough without a look inside)"},
        {"book-attached-cover.m4b", "--------", "yyyy----", bookFits},
        {"book-cover-track.m4b", "--------", "yyyy----", bookFits},
        {"cover-track.m4a", "--------", "y-------", "it has video"},
        {"truncated.mp4", "y-------", "y-------", noMovie},
        {"text.mp4", "y-------", "y-------", noMovie},
        {"text.aac", "--------", "yyyyyyy-", R"(its name matches .*\.aac$, which is enough without a look inside)"},
        {"empty.mp4", "y-------", "y-------", noMovie},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(answers(row.file, MediaKind::movies), row.movies) << row.file;
        EXPECT_EQ(answers(row.file, MediaKind::music), row.music) << row.file;
        EXPECT_EQ(reason(row.file), row.why) << row.file;
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
        {"h264-edited.mp4", 1, 320, 25, 1, 1},
        {"protected.m4v", 19, 640, 25, 1, 17},
        {"protected.m4a", 0, 0, 0, 1, 17},
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

TEST_F(Corpus, whatIsNoRegularFileIsRefusedWithoutBeingOpened) {
    const std::string pipe = (corpus.folder() / "x.mp4").string();
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    std::filesystem::create_symlink("/dev/zero", corpus.folder() / "y.mp4");
    for (const char* name :
         {"x.mp4", "y.mp4"}) { // opening the pipe would wait for a writer, the device would never end
        EXPECT_EQ(answers(name, MediaKind::movies), "y-------") << name;
        EXPECT_EQ(reason(name), "it is no movie that can be read") << name;
    }
}

TEST_F(Corpus, theLimitCountsTheBytesOfRealFiles) {
    const auto accepts = [&](const char* name, std::uintmax_t size) {
        const std::string path = (corpus.folder() / name).string();
        std::ofstream(path).close();
        std::filesystem::resize_file(path, size); // a hole: no disk is used
        VTFileValidator validator(exclusions, HomePaths("/home/ada"), realFiles);
        validator.addContainerValidators(mediaList(VTMediaClass::unlimited, MediaKind::movies));
        EXPECT_TRUE(validator.shouldCopyItem(path, false)) << name;
        return validator.shouldCopyItem(path, true);
    };
    EXPECT_TRUE(accepts("below.mkv", 4'294'967'295U));
    EXPECT_FALSE(accepts("exactly.mkv", 4'294'967'296U));
}

} // namespace
} // namespace vt

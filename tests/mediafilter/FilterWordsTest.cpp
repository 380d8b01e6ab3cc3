#include "mediafilter/FilterWords.h"

#include "Records.h"
#include "StubFiles.h"
#include "mediafilter/CodecValidators.h"
#include "mediafilter/MediaClasses.h"
#include "mediafilter/MediaPass.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

namespace vt {
namespace {

constexpr std::uint64_t fourGiB = 1ULL << 32U;

TEST(FilterWords, numbersAreShort) {
    EXPECT_EQ(filterwords::number(30), "30");
    EXPECT_EQ(filterwords::number(29.97002997), "29.97");
    EXPECT_EQ(filterwords::number(0), "0");
    EXPECT_EQ(filterwords::number(48'000), "48000");
    EXPECT_EQ(filterwords::number(23.976), "23.976");
}

MediaFileCharacterization film(std::int64_t width, std::int64_t height, float rate) {
    return video(1, width, height, rate);
}

TEST(FilterWords, validatorsSayWhy) {
    const VTH264HighCodecValidator high;
    const VTMP4CodecValidator mp4;
    const VTAudioOnlyCodecValidator audioOnly;
    const VTAudioBookCodecValidator book;
    EXPECT_EQ(high.name(), "H264 high");
    auto silenced = film(640, 480, 25);
    silenced.hasAudio = true;
    MediaFileCharacterization sound;
    sound.valid = true;

    EXPECT_EQ(high.reason({}), "it is no movie that can be read");
    EXPECT_EQ(high.reason(sound), "it has no video track that is switched on");
    EXPECT_EQ(mp4.reason(film(640, 480, 25)), "its video is H.264, not MPEG-4");
    EXPECT_EQ(high.reason(film(1920, 1080, 25)), "1920 x 1080 pixels are more than 1280 x 720");
    EXPECT_EQ(high.reason(film(640, 480, 59.94F)), "59.94 frames per second are more than 30");
    EXPECT_EQ(high.reason(film(640, 480, 25)), "its video fits and it has no sound");
    EXPECT_EQ(high.reason(withSound(film(640, 480, 25), 1, 44'100, 2)), "its video and its sound fit");
    EXPECT_EQ(high.reason(withSound(film(640, 480, 25), 1, 44'100, 6)),
              "none of its sound tracks is AAC up to 48000 Hz with at most 2 channels");
    EXPECT_EQ(high.reason(silenced), "its sound tracks are all switched off");
    EXPECT_EQ(VTH264KindleFireHDCodecValidator().reason(withSound(film(640, 480, 25), 2, 44'100, 2)),
              "none of its sound tracks is AAC, AC-3 or AMR");

    EXPECT_EQ(audioOnly.reason(film(640, 480, 25)), "it has video");
    EXPECT_EQ(book.reason(film(640, 480, 25)), "it has video that is no PNG cover");
    EXPECT_EQ(audioOnly.reason(sound), "it has no sound track");
    EXPECT_EQ(audioOnly.reason(withSound(sound, 1, 44'100, 2)), "its sound fits");
    EXPECT_EQ(audioOnly.reason(withSound(sound, 14, 44'100, 2)),
              "none of its sound tracks is AAC, Apple Lossless, mu-law, Audible or protected AAC");
}

class StatedFacts final : public MediaFacts {
  public:
    [[nodiscard]] MediaFileCharacterization characterization(const std::string&, std::int32_t) override {
        looked = true;
        return record;
    }
    [[nodiscard]] std::optional<std::string> photoBoothLibrary() override { return "/home/ada/Photo Booth"; }
    MediaFileCharacterization record;
    bool looked = false;
};

class FewExclusions final : public ExclusionTables {
  public:
    [[nodiscard]] const std::vector<std::string>& filteredFileNames() const override { return _names; }
    [[nodiscard]] const std::vector<std::string>& filteredFilePaths() const override { return _paths; }

  private:
    std::vector<std::string> _names{".DS_Store"};
    std::vector<std::string> _paths{"/home/ada/secret.mp4"};
};

class Verdicts : public testing::Test {
  protected:
    void use(VTMediaClass mediaClass) {
        validator.flushValidators();
        for (const MediaKind kind : mediaKinds) validator.addContainerValidators(mediaList(mediaClass, kind));
    }
    FilterVerdict about(const std::string& path, bool limit = false) {
        if (!files.items.contains(path)) files.addFile(path);
        facts.looked = false;
        const auto verdict = validator.explain(path, limit, facts);
        EXPECT_TRUE(verdict.ok());
        return *verdict;
    }
    // "key: sentence"
    std::string words(const std::string& path, bool limit = false) {
        const FilterVerdict verdict = about(path, limit);
        return filterwords::keyOf(verdict) + ": " +
               filterwords::sentence(verdict, facts.looked ? std::optional(facts.record) : std::nullopt);
    }
    FewExclusions exclusions;
    StubFiles files;
    StatedFacts facts;
    VTFileValidator validator{exclusions, HomePaths("/home/ada"), files};
};

TEST_F(Verdicts, sayWhatDecided) {
    EXPECT_EQ(words("/home/ada/a.mp4"), "no lists: movies, music, pictures and documents are all switched off");
    use(VTMediaClass::appleHigh);
    EXPECT_EQ(words("/home/ada/.d$f.a"), "work name: its name is one of the agent's own temporary names");
    EXPECT_EQ(words("/home/ada/.DS_Store"), "excluded name: nothing of this name is ever copied");
    EXPECT_EQ(words("/home/ada/secret.mp4"), "excluded path: nothing at this path is ever copied");
    files.addFolder("/home/ada/Music");
    EXPECT_EQ(words("/home/ada/Music"), "folder: folders always pass; each file in them is judged on its own");
    EXPECT_EQ(words("/home/ada/a.exe"), "no pattern: no pattern of the lists that are switched on matches its name");
    EXPECT_EQ(words("/home/ada/Photo Booth/a.exe"), "library: it lies in the Photo Booth library");
    EXPECT_EQ(words("/home/ada/a.mp3"), R"(name: its name matches .*\.mp3$, which is enough without a look inside)");
    EXPECT_FALSE(facts.looked);
    facts.record = film(1280, 720, 30);
    EXPECT_EQ(words("/home/ada/a.mp4"), R"(content: "H264 high" accepts it: its video fits and it has no sound)");
    EXPECT_TRUE(facts.looked);
    facts.record = film(1281, 720, 30);
    EXPECT_EQ(words("/home/ada/a.mp4"),
              R"(refused: "H264 high" refuses it: 1281 x 720 pixels are more than 1280 x 720)");
    facts.record.videoCodec = 0;
    EXPECT_EQ(words("/home/ada/a.mp4"),
              R"(refused: it is of no kind that is taken: "MP4": its video is of an unknown codec, not MPEG-4; )"
              R"("H264 high": its video is of an unknown codec, not H.264; )"
              R"("DRMV high": its video is of an unknown codec, not protected video)");
    facts.record = {};
    EXPECT_EQ(words("/home/ada/a.mp4"), "refused: it is no movie that can be read");
    files.addFile("/home/ada/big.mp3", fourGiB);
    EXPECT_EQ(words("/home/ada/big.mp3", true), "too large: the drive's file system holds no file of 4 GiB or more");
    EXPECT_EQ(words("/home/ada/big.mp3", false).substr(0, 5), "name:");
}

TEST_F(Verdicts, tellEveryPatternThatWasAsked) {
    use(VTMediaClass::appleHigh);
    facts.record = film(1920, 1080, 30);
    const FilterVerdict verdict = about("/home/ada/a.mp4");
    ASSERT_EQ(verdict.trials.size(), 2U);
    EXPECT_EQ(filterwords::answerOf(verdict.trials[0]), "refused");
    EXPECT_EQ(filterwords::answerOf(verdict.trials[1]), "declined");
    const auto movies = filterwords::askedIn(verdict.trials[0], facts.record);
    ASSERT_EQ(movies.size(), 2U); // the third is not asked any more
    EXPECT_EQ(movies[0].name + " " + movies[0].answer, "MP4 declined");
    EXPECT_EQ(movies[1].name + " " + movies[1].answer, "H264 high refused");
    const auto music = filterwords::askedIn(verdict.trials[1], facts.record);
    ASSERT_EQ(music.size(), 1U);
    EXPECT_EQ(music[0].name + " " + music[0].answer + " " + music[0].reason, "audio only declined it has video");
}

TEST_F(Verdicts, nothingAtThePathIsAnError) {
    use(VTMediaClass::unlimited);
    EXPECT_EQ(validator.explain("/home/ada/missing.mp4", false, facts).code(), ENOENT);
}

// What is explained is what is decided, for any content of any name in every class.
TEST_F(Verdicts, agreeWithTheDecision) {
    class Media final : public MediaServices {
      public:
        explicit Media(const MediaFileCharacterization& record) : _record(record) {}
        [[nodiscard]] Answer characterize(const std::string&, std::int32_t, const FileAttributes*) override {
            return {_record, false};
        }
        [[nodiscard]] Result<MediaDescription> describe(const std::string& path) override {
            return Error::fromErrno(EINVAL, path);
        }
        [[nodiscard]] std::optional<std::string> photoBoothLibrary() override { return "/home/ada/Photo Booth"; }
        void passBegins() override {}

      private:
        const MediaFileCharacterization& _record;
    };
    Media media(facts.record);
    validator.setMediaServices(&media);
    std::mt19937 random(7);
    const auto pick = [&](int below) { return static_cast<int>(random() % static_cast<unsigned>(below)); };
    const char* const names[] = {"a.mp4", "a.M4V", "a.mov", "a.avi", "a.3gp",  "a.3g2x", "a.m4a",         "a.m4b",
                                 "a.aac", "a.mp3", "a.wav", "a.exe", "a.jpeg", "a.azw3", "a.photolibrary"};
    for (const char* name : names) {
        const std::string path = std::string("/home/ada/") + name;
        files.addFile(path, pick(2) == 0 ? fourGiB : fourGiB - 1);
    }
    int accepted = 0;
    for (int round = 0; round < 4000; ++round) {
        use(static_cast<VTMediaClass>(pick(8)));
        const int codecs[] = {1, 2, 3, 12, 16, 19, 20, 0};
        facts.record = film(pick(2) == 0 ? 640 : 1281, 480, pick(2) == 0 ? 25 : 60);
        facts.record.videoCodec = codecs[pick(8)];
        facts.record.hasVideo = pick(4) != 0;
        facts.record.valid = pick(8) != 0;
        for (int tracks = pick(3); tracks > 0; --tracks)
            facts.record = withSound(facts.record, pick(21), 48'000, pick(2) == 0 ? 2 : 6);
        const std::string path = std::string("/home/ada/") + names[pick(15)];
        const bool limit = pick(2) == 0;
        const FilterVerdict verdict = about(path, limit);
        EXPECT_EQ(accepts(verdict.reason), validator.shouldCopyItem(path, limit)) << path;
        EXPECT_NE(filterwords::sentence(verdict, facts.record), "");
        if (accepts(verdict.reason)) ++accepted;
    }
    EXPECT_GT(accepted, 400);
    EXPECT_LT(accepted, 3600);
}

} // namespace
} // namespace vt

#include "mediafilter/Characterization.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

namespace vt {
namespace {

MediaTrack video(const char* code, std::int64_t width, std::int64_t height) {
    MediaTrack track;
    track.kind = MediaTrack::Kind::video;
    track.format = FourCharCode::fromText(code);
    track.width = width;
    track.height = height;
    track.sampleCount = 300;
    track.timeScale = 30'000;
    track.displayDuration = 300'300;
    return track;
}

MediaTrack sound(const char* code, double rate = 44'100, std::int64_t channels = 2) {
    MediaTrack track;
    track.kind = MediaTrack::Kind::sound;
    track.format = FourCharCode::fromText(code);
    track.sampleRate = rate;
    track.channels = channels;
    return track;
}

MediaFileCharacterization of(std::vector<MediaTrack> tracks) {
    return characterizationOf(MediaDescription{6'500, 1'000, std::move(tracks)}, 2);
}

TEST(Characterization, reducesAFilm) {
    const auto record = of({video("avc1", 1280, 720), sound("mp4a", 48'000.75, 6)});
    EXPECT_TRUE(record.valid);
    EXPECT_EQ(record.containerType, 2);
    EXPECT_FLOAT_EQ(record.duration, 6.5F);
    EXPECT_TRUE(record.hasVideo);
    EXPECT_TRUE(record.hasAudio);
    EXPECT_EQ(record.videoCodec, 1);
    EXPECT_EQ(record.width, 1280);
    EXPECT_EQ(record.height, 720);
    EXPECT_FLOAT_EQ(record.frameRate, 29.97003F);
    ASSERT_EQ(record.audioTrackCount, 1U);
    EXPECT_EQ(record.audioTracks[0], (AudioTrackCharacterization{1, 48'000.0F, 6}));
    EXPECT_EQ(record.reserved, 0);
}

TEST(Characterization, theLastEnabledVideoTrackWins) {
    auto disabled = video("png ", 10, 10);
    disabled.enabled = false;
    const auto record = of({video("avc1", 1280, 720), video("mp4v", 320, 240), disabled});
    EXPECT_EQ(record.videoCodec, 2);
    EXPECT_EQ(record.width, 320);
    EXPECT_EQ(record.height, 240);
}

TEST(Characterization, aVideoTrackWithoutMediaIsVideoAllTheSame) {
    auto empty = video("avc1", 1280, 720);
    empty.hasMedia = false;
    auto undescribed = video("avc1", 1280, 720);
    undescribed.hasDescription = false;
    auto blank = video("avc1", 1280, 720);
    blank.format.reset();
    for (const MediaTrack& track : {empty, undescribed, blank}) {
        const auto record = of({track});
        EXPECT_TRUE(record.hasVideo);
        EXPECT_EQ(record.videoCodec, 0);
        EXPECT_EQ(record.width, 0);
    }
    EXPECT_EQ(of({video("mp4v", 320, 240), undescribed}).width, 320);
}

TEST(Characterization, onlyDisabledVideoIsNoVideo) {
    auto disabled = video("avc1", 1280, 720);
    disabled.enabled = false;
    const auto record = of({disabled, sound("mp4a")});
    EXPECT_FALSE(record.hasVideo);
    EXPECT_EQ(record.videoCodec, 0);
}

TEST(Characterization, disabledSoundIsSoundWithoutEntries) {
    auto disabled = sound("mp4a");
    disabled.enabled = false;
    const auto record = of({video("avc1", 640, 480), disabled});
    EXPECT_TRUE(record.hasAudio);
    EXPECT_EQ(record.audioTrackCount, 0U);
}

TEST(Characterization, anEmptySoundDescriptionTakesItsEntry) {
    auto blank = sound("mp4a");
    blank.format.reset();
    auto undescribed = sound("mp4a");
    undescribed.hasDescription = false;
    const auto record = of({blank, undescribed, sound("alac")});
    ASSERT_EQ(record.audioTrackCount, 2U);
    EXPECT_EQ(record.audioTracks[0], AudioTrackCharacterization{});
    EXPECT_EQ(record.audioTracks[1].codec, 3);
}

TEST(Characterization, holdsSixteenSoundTracks) {
    const auto record = of(std::vector<MediaTrack>(40, sound("mp4a")));
    EXPECT_EQ(record.audioTrackCount, 16U);
    EXPECT_EQ(record.audioTracks[15].codec, 1);
}

TEST(Characterization, otherTracksCountForNothing) {
    MediaTrack text;
    text.format = FourCharCode::fromText("avc1");
    const auto record = of({text});
    EXPECT_TRUE(record.valid);
    EXPECT_FALSE(record.hasVideo);
    EXPECT_FALSE(record.hasAudio);
}

TEST(Characterization, logsCodecsThatItDoesNotKnow) {
    testing::internal::CaptureStderr();
    const auto record = of({video("hvc1", 1920, 1080), sound("Opus")});
    const std::string log = testing::internal::GetCapturedStderr();
    EXPECT_EQ(record.videoCodec, 0);
    EXPECT_EQ(record.width, 1920);
    EXPECT_EQ(record.audioTracks[0].codec, 0);
    EXPECT_NE(log.find("unknown video codec 68766331"), std::string::npos) << log;
    EXPECT_NE(log.find("unknown audio codec 4f707573"), std::string::npos) << log;
}

TEST(Characterization, fmp4SharesItsNumberWithSmc) {
    EXPECT_EQ(of({video("FMP4", 640, 480)}).videoCodec, 9);
}

TEST(Characterization, badNumbersGiveZeroAndNoCrash) {
    auto track = video("avc1", -5, std::numeric_limits<std::int64_t>::max());
    track.displayDuration = 0;
    EXPECT_EQ(of({track}).frameRate, 0.0F);
    track.displayDuration = -1;
    EXPECT_EQ(of({track}).frameRate, 0.0F);
    const auto record = characterizationOf(MediaDescription{5, 0, {}}, 0);
    EXPECT_EQ(record.duration, 0.0F);
}

} // namespace
} // namespace vt

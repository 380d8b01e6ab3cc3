#include "mediafilter/CodecValidators.h"

#include "Records.h"
#include "ValidatorNames.h"
#include "mediafilter/CodecNumbers.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace vt {
namespace {

using Codecs = std::set<std::int32_t>;

struct VideoRow {
    std::shared_ptr<const VTCodecValidator> validator;
    std::int32_t codec;
    std::int64_t width;  // 0: no limit
    std::int64_t height; // 0: no limit
    float rate;          // 0: no limit
    Codecs sound;
    float hertz;           // 0: no limit
    std::int64_t channels; // below; 0: no limit
};

template <typename Validator> std::shared_ptr<const VTCodecValidator> make() {
    return std::make_shared<Validator>();
}

const std::vector<VideoRow>& videoRows() {
    static const Codecs pjpeg{1, 3, 4, 6, 7, 8, 11, 13, 15, 16};
    static const std::vector<VideoRow> rows = {
        {make<VTMP4CodecValidator>(), 2, 640, 480, 30, {1}, 48000, 3},
        {make<VTH264LowCodecValidator>(), 1, 640, 480, 30, {1}, 48000, 3},
        {make<VTH264HighCodecValidator>(), 1, 1280, 720, 30, {1}, 48000, 3},
        {make<VTDRMVLowCodecValidator>(), 19, 640, 480, 30, {1, 17}, 48000, 3},
        {make<VTDRMVHighCodecValidator>(), 19, 1280, 720, 30, {1, 17}, 48000, 3},
        {make<VTWindowsMJPEGCodecValidator>(), 3, 1280, 720, 30, {7}, 0, 3},
        {make<VTMP4UnlimitedCodecValidator>(), 2, 0, 0, 0, {1}, 0, 0},
        {make<VTH264UnlimitedCodecValidator>(), 1, 0, 0, 0, {1}, 0, 0},
        {make<VTH263UnlimitedCodecValidator>(), 16, 0, 0, 0, {1}, 0, 0},
        {make<VTDRMVUnlimitedCodecValidator>(), 19, 0, 0, 0, {1, 17}, 0, 0},
        {make<VTUnlimitedWindowsMJPEGCodecValidator>(), 3, 0, 0, 0, {7}, 0, 3},
        {make<VTUnlimitedPJPEGCodecValidator>(), 12, 0, 0, 0, pjpeg, 0, 0},
        {make<VTMPEG4KindleFireCodecValidator>(), 2, 0, 0, 0, {1, 15}, 0, 0},
        {make<VTH263KindleFireCodecValidator>(), 16, 0, 0, 0, {1, 15}, 0, 0},
        {make<VTH264KindleFireCodecValidator>(), 1, 0, 0, 0, {1, 15}, 0, 0},
        {make<VTH263KindleFireHDCodecValidator>(), 16, 0, 0, 0, {1, 14, 15}, 0, 0},
        {make<VTH264KindleFireHDCodecValidator>(), 1, 0, 0, 0, {1, 14, 15}, 0, 0},
        {make<VTMPEG4WinRTLimitedCodecValidator>(), 2, 0, 0, 0, {1, 2, 14}, 0, 0},
        {make<VTH264WinRTCodecValidator>(), 1, 0, 0, 0, {1, 2, 14}, 0, 0},
        {make<VTH264WindowsRTCodecValidator>(), 1, 0, 0, 0, {1, 2, 14}, 0, 0},
    };
    return rows;
}

struct AudioRow {
    std::shared_ptr<const VTCodecValidator> validator;
    Codecs sound;
    bool cover;
};

const std::vector<AudioRow>& audioRows() {
    static const std::vector<AudioRow> rows = {
        {make<VTAudioOnlyCodecValidator>(), {1, 3, 4, 7, 9, 17}, false},
        {make<VTAudioBookCodecValidator>(), {1, 3, 4, 7, 9, 17}, true},
        {make<VTUnlimitedAudioOnlyCodecValidator>(), {1, 3, 4, 6, 7, 8, 11, 13, 15, 16, 17, 19}, false},
        {make<VTUnlimitedAudioBookCodecValidator>(), {1, 3, 4, 6, 7, 8, 11, 13, 15, 16, 17}, true},
        {make<VTAudioKindleFireCodecValidator>(), {1, 6, 15, 19}, false},
        {make<VTAudioWindowsRTCodecValidator>(), {1, 2, 6, 7, 14, 20}, false},
        {make<VTAudioAACCodecValidator>(), {1}, false},
    };
    return rows;
}

MediaFileCharacterization sound(std::int32_t codec) {
    MediaFileCharacterization record;
    record.valid = true;
    return withSound(record, codec, 44100, 2);
}

// Declined, refused or accepted; a declining validator must leave the flag alone.
enum class Says { declines, refuses, accepts };

std::ostream& operator<<(std::ostream& out, Says says) {
    return out << (says == Says::declines ? "declines" : says == Says::refuses ? "refuses" : "accepts");
}

Says ask(const VTCodecValidator& validator, const MediaFileCharacterization& record) {
    bool fromFalse = false;
    bool fromTrue = true;
    const bool decided = validator.matchCharacterization(record, fromFalse);
    EXPECT_EQ(validator.matchCharacterization(record, fromTrue), decided);
    if (decided) {
        EXPECT_EQ(fromFalse, fromTrue);
        return fromFalse ? Says::accepts : Says::refuses;
    }
    EXPECT_FALSE(fromFalse);
    EXPECT_TRUE(fromTrue);
    return Says::declines;
}

TEST(VideoValidators, decideTheirOwnCodecOnly) {
    for (const VideoRow& row : videoRows())
        for (std::int32_t codec = -1; codec <= 33; ++codec)
            EXPECT_EQ(ask(*row.validator, video(codec, 320, 240, 25)),
                      codec == row.codec ? Says::accepts : Says::declines)
                << validatorName(*row.validator) << " video " << codec;
}

TEST(VideoValidators, includeTheirLimits) {
    for (const VideoRow& row : videoRows()) {
        const std::int64_t width = row.width != 0 ? row.width : 100'000;
        const std::int64_t height = row.height != 0 ? row.height : 100'000;
        const float rate = row.rate != 0 ? row.rate : 1000.0F;
        const std::string name = validatorName(*row.validator);
        EXPECT_EQ(ask(*row.validator, video(row.codec, width, height, rate)), Says::accepts) << name;
        if (row.width == 0) continue;
        EXPECT_EQ(ask(*row.validator, video(row.codec, width + 1, height, rate)), Says::refuses) << name;
        EXPECT_EQ(ask(*row.validator, video(row.codec, width, height + 1, rate)), Says::refuses) << name;
        EXPECT_EQ(ask(*row.validator, video(row.codec, width, height, std::nextafter(rate, 100.0F))), Says::refuses)
            << name;
    }
}

TEST(VideoValidators, wantOneSoundTrackThatFits) {
    for (const VideoRow& row : videoRows()) {
        const std::string name = validatorName(*row.validator);
        const auto picture = video(row.codec, 320, 240, 25);
        for (std::int32_t codec = -1; codec <= 33; ++codec)
            EXPECT_EQ(ask(*row.validator, withSound(picture, codec, 48000, 2)),
                      row.sound.contains(codec) ? Says::accepts : Says::refuses)
                << name << " sound " << codec;
        const std::int32_t good = *row.sound.begin();
        EXPECT_EQ(ask(*row.validator, withSound(picture, good, 48001, 2)),
                  row.hertz == 0 ? Says::accepts : Says::refuses)
            << name;
        EXPECT_EQ(ask(*row.validator, withSound(picture, good, 44100, 3)),
                  row.channels == 0 ? Says::accepts : Says::refuses)
            << name;
        EXPECT_EQ(ask(*row.validator, withSound(withSound(picture, 10, 44100, 2), good, 44100, 2)), Says::accepts)
            << name;
    }
}

TEST(VideoValidators, refuseWhenAllSoundIsDisabled) {
    for (const VideoRow& row : videoRows()) {
        auto record = video(row.codec, 320, 240, 25);
        record.hasAudio = true;
        EXPECT_EQ(ask(*row.validator, record), Says::refuses) << validatorName(*row.validator);
    }
}

TEST(AudioValidators, acceptTheirCodecs) {
    for (const AudioRow& row : audioRows())
        for (std::int32_t codec = -1; codec <= 33; ++codec) {
            EXPECT_EQ(ask(*row.validator, sound(codec)), row.sound.contains(codec) ? Says::accepts : Says::refuses)
                << validatorName(*row.validator) << " sound " << codec;
            EXPECT_EQ(ask(*row.validator, withSound(sound(10), codec, 96000, 8)),
                      row.sound.contains(codec) ? Says::accepts : Says::refuses)
                << validatorName(*row.validator) << " second sound " << codec;
        }
}

TEST(AudioValidators, declineVideoExceptACover) {
    for (const AudioRow& row : audioRows())
        for (std::int32_t codec = 0; codec <= 22; ++codec) {
            auto record = sound(1);
            record.hasVideo = true;
            record.videoCodec = codec;
            EXPECT_EQ(ask(*row.validator, record), row.cover && codec == 20 ? Says::accepts : Says::declines)
                << validatorName(*row.validator) << " video " << codec;
        }
}

TEST(AudioValidators, acceptAMovieWithNothingInIt) {
    MediaFileCharacterization record;
    record.valid = true;
    for (const AudioRow& row : audioRows())
        EXPECT_EQ(ask(*row.validator, record), Says::accepts) << validatorName(*row.validator);
    record.hasAudio = true; // tracks, all of them disabled
    for (const AudioRow& row : audioRows())
        EXPECT_EQ(ask(*row.validator, record), Says::refuses) << validatorName(*row.validator);
}

TEST(AllValidators, declineWhatIsNotValid) {
    for (const VideoRow& row : videoRows()) {
        auto record = video(row.codec, 320, 240, 25);
        record.valid = false;
        EXPECT_EQ(ask(*row.validator, record), Says::declines) << validatorName(*row.validator);
    }
    for (const AudioRow& row : audioRows()) {
        auto record = sound(1);
        record.valid = false;
        EXPECT_EQ(ask(*row.validator, record), Says::declines) << validatorName(*row.validator);
    }
}

TEST(AllValidators, neverReadPastTheSixteenEntries) {
    auto record = video(1, 320, 240, 25);
    record.hasAudio = true;
    record.audioTrackCount = 1000;
    EXPECT_EQ(ask(VTH264LowCodecValidator(), record), Says::refuses);
}

TEST(AllValidators, knownFilms) {
    const auto film = withSound(video(1, 1280, 720, 30), 1, 48000, 2);
    EXPECT_EQ(ask(VTH264HighCodecValidator(), film), Says::accepts);
    EXPECT_EQ(ask(VTH264LowCodecValidator(), film), Says::refuses);
    EXPECT_EQ(ask(VTH264HighCodecValidator(), video(1, 1281, 720, 30)), Says::refuses);
    const auto twoTracks = withSound(withSound(video(1, 640, 480, 25), 14, 48000, 6), 1, 48000, 2);
    EXPECT_EQ(ask(VTH264LowCodecValidator(), twoTracks), Says::accepts);
    const auto surround = withSound(video(1, 640, 480, 25), 1, 48000, 6);
    EXPECT_EQ(ask(VTH264LowCodecValidator(), surround), Says::refuses);
    EXPECT_EQ(ask(VTH264HighCodecValidator(), surround), Says::refuses);
    EXPECT_EQ(ask(VTH264UnlimitedCodecValidator(), surround), Says::accepts);
}

struct CodeRow {
    const char* code;
    std::int32_t number;
};

TEST(CodecNumbers, ofVideo) {
    const CodeRow rows[] = {
        {"avc1", 1},  {"mp4v", 2},  {"dmb1", 3},  {"mjpa", 4},  {"mjpb", 4},  {"rle ", 6},  {"raw ", 7},
        {"cvid", 8},  {"smc ", 9},  {"FMP4", 9},  {"rpza", 10}, {"yuv2", 11}, {"yuvs", 11}, {"yuvu", 11},
        {"jpeg", 12}, {"mjp2", 13}, {"WRLE", 14}, {"h261", 15}, {"h263", 16}, {"dvc ", 17}, {"dvcp", 17},
        {"icod", 18}, {"drmi", 19}, {"png ", 20}, {"WRAW", 22}, {"hvc1", 0},  {"AVC1", 0},  {"mp4a", 0},
    };
    for (const CodeRow& row : rows)
        EXPECT_EQ(videoCodecNumber(*FourCharCode::fromText(row.code)), row.number) << row.code;
}

TEST(CodecNumbers, ofSound) {
    const CodeRow rows[] = {
        {"aac ", 1},  {"aach", 1},  {"aacl", 1},  {"aacp", 1},  {"aacs", 1},  {"mp4a", 1},  {".mp3", 2},
        {"mp3 ", 2},  {"alac", 3},  {"lpcm", 6},  {"twos", 6},  {"sowt", 6},  {"fl32", 6},  {"fl64", 6},
        {"ulaw", 7},  {"alaw", 8},  {"AUDB", 9},  {"MAC3", 10}, {"MAC6", 10}, {"ima4", 11}, {"Qclp", 12},
        {"QDM2", 13}, {"QDMC", 13}, {"ac-3", 14}, {"samr", 15}, {"ilbc", 16}, {"drms", 17}, {"soun", 18},
        {"qtim", 18}, {"gnrc", 18}, {"midi", 19}, {"Opus", 0},  {"avc1", 0},  {"sawb", 0},
    };
    for (const CodeRow& row : rows)
        EXPECT_EQ(audioCodecNumber(*FourCharCode::fromText(row.code)), row.number) << row.code;
    EXPECT_EQ(audioCodecNumber(FourCharCode(0x6D730011)), 20);
    EXPECT_EQ(audioCodecNumber(FourCharCode(0x6D730055)), 0);
}

} // namespace
} // namespace vt

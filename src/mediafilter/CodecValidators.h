// The codec validators by name: one rule per row, two kinds of rule.
// Thread: any; built at compile time, live for the whole run.
// Units: pixels, frames per second, hertz; every limit is inclusive, `channelsBelow` is not.
#pragma once

#include "mediafilter/VTCodecValidator.h"

#include <cstdint>
#include <initializer_list>
#include <limits>
#include <string>
#include <string_view>

namespace vt {

// A set of codec numbers, each below 32.
class CodecSet {
  public:
    constexpr CodecSet(std::initializer_list<unsigned> codecs) {
        for (const unsigned codec : codecs) _bits |= 1U << codec;
    }
    [[nodiscard]] constexpr bool holds(std::int32_t codec) const {
        return codec >= 0 && codec < 32 && (_bits >> static_cast<unsigned>(codec) & 1U) != 0;
    }

  private:
    std::uint32_t _bits = 0;
};

inline constexpr std::int64_t anySize = std::numeric_limits<std::int64_t>::max();
inline constexpr float anyRate = std::numeric_limits<float>::infinity();

// For files whose video has one certain codec: declines all others; refuses past the limits; with sound, wants at least
// one track that fits.
struct VideoRule {
    const char* name; // of the validator, for people
    std::int32_t videoCodec;
    std::int64_t maximumWidth;
    std::int64_t maximumHeight;
    float maximumFrameRate;
    CodecSet audioCodecs;
    float maximumSampleRate;
    std::int64_t channelsBelow;
};

// For files without video: declines all others; with sound, wants at least one track of an accepted codec.
struct AudioRule {
    const char* name; // of the validator, for people
    CodecSet audioCodecs;
    bool pngCoverAllowed; // a PNG picture as the only video counts as no video
};

// clang-format off
namespace codecrules {
//                                         name                        codec width   height   fps      sound                                 hertz    channels
inline constexpr VideoRule mp4             {"MP4",                      2,  640,     480,     30.0F,   {1},                                  48000,   3};
inline constexpr VideoRule h264Low         {"H264 low",                 1,  640,     480,     30.0F,   {1},                                  48000,   3};
inline constexpr VideoRule h264High        {"H264 high",                1,  1280,    720,     30.0F,   {1},                                  48000,   3};
inline constexpr VideoRule drmvLow         {"DRMV low",                 19, 640,     480,     30.0F,   {1, 17},                              48000,   3};
inline constexpr VideoRule drmvHigh        {"DRMV high",                19, 1280,    720,     30.0F,   {1, 17},                              48000,   3};
inline constexpr VideoRule windowsMjpeg    {"Windows MJPEG",            3,  1280,    720,     30.0F,   {7},                                  anyRate, 3};
inline constexpr VideoRule mp4Any          {"MP4 unlimited",            2,  anySize, anySize, anyRate, {1},                                  anyRate, anySize};
inline constexpr VideoRule h264Any         {"H264 unlimited",           1,  anySize, anySize, anyRate, {1},                                  anyRate, anySize};
inline constexpr VideoRule h263Any         {"H263 unlimited",           16, anySize, anySize, anyRate, {1},                                  anyRate, anySize};
inline constexpr VideoRule drmvAny         {"DRMV unlimited",           19, anySize, anySize, anyRate, {1, 17},                              anyRate, anySize};
inline constexpr VideoRule windowsMjpegAny {"Windows MJPEG unlimited",  3,  anySize, anySize, anyRate, {7},                                  anyRate, 3};
inline constexpr VideoRule pjpegAny        {"PJPEG unlimited",          12, anySize, anySize, anyRate, {1, 3, 4, 6, 7, 8, 11, 13, 15, 16},   anyRate, anySize};
inline constexpr VideoRule mpeg4Kindle     {"MPEG4 Kindle Fire",        2,  anySize, anySize, anyRate, {1, 15},                              anyRate, anySize};
inline constexpr VideoRule h263Kindle      {"H263 Kindle Fire",         16, anySize, anySize, anyRate, {1, 15},                              anyRate, anySize};
inline constexpr VideoRule h264Kindle      {"H264 Kindle Fire",         1,  anySize, anySize, anyRate, {1, 15},                              anyRate, anySize};
inline constexpr VideoRule h263KindleHd    {"H263 Kindle Fire HD",      16, anySize, anySize, anyRate, {1, 14, 15},                          anyRate, anySize};
inline constexpr VideoRule h264KindleHd    {"H264 Kindle Fire HD",      1,  anySize, anySize, anyRate, {1, 14, 15},                          anyRate, anySize};
inline constexpr VideoRule mpeg4WinRt      {"MPEG4 Windows RT",         2,  anySize, anySize, anyRate, {1, 2, 14},                           anyRate, anySize};
inline constexpr VideoRule h264WinRt       {"H263 Windows RT",          1,  anySize, anySize, anyRate, {1, 2, 14},                           anyRate, anySize};
inline constexpr VideoRule h264WindowsRt   {"H264 Windows RT",          1,  anySize, anySize, anyRate, {1, 2, 14},                           anyRate, anySize};

//                                         name                        sound                                              PNG cover allowed
inline constexpr AudioRule audioOnly       {"audio only",               {1, 3, 4, 7, 9, 17},                               false};
inline constexpr AudioRule audioBook       {"audio book",               {1, 3, 4, 7, 9, 17},                               true};
inline constexpr AudioRule audioOnlyAny    {"audio only unlimited",     {1, 3, 4, 6, 7, 8, 11, 13, 15, 16, 17, 19},        false};
inline constexpr AudioRule audioBookAny    {"audio book unlimited",     {1, 3, 4, 6, 7, 8, 11, 13, 15, 16, 17},            true};
inline constexpr AudioRule audioKindle     {"audio Kindle Fire",        {1, 6, 15, 19},                                    false};
inline constexpr AudioRule audioWindowsRt  {"audio Windows RT",         {1, 2, 6, 7, 14, 20},                              false};
inline constexpr AudioRule audioAac        {"audio AAC",                {1},                                               false};
} // namespace codecrules
// clang-format on

// What a rule finds about a file, in the order in which it looks. The first three decline, `soundFits` and `silent`
// accept, the rest refuses.
enum class RuleFinding : std::uint8_t {
    notValid,
    wrongVideo,
    otherCodec,
    tooLarge,
    tooFast,
    silent,
    soundFits,
    noSoundFits
};
[[nodiscard]] RuleFinding findingOf(const VideoRule& rule, const MediaFileCharacterization& record);
[[nodiscard]] RuleFinding findingOf(const AudioRule& rule, const MediaFileCharacterization& record);
// The finding as a validator's answer: see VTCodecValidator::matchCharacterization.
[[nodiscard]] bool decides(RuleFinding finding, bool& shouldCopy);
// The finding in words, see VTCodecValidator::reason.
[[nodiscard]] std::string reasonOf(const VideoRule& rule, const MediaFileCharacterization& record);
[[nodiscard]] std::string reasonOf(const AudioRule& rule, const MediaFileCharacterization& record);

template <const VideoRule& Rule> class VideoCodecValidator final : public VTCodecValidator {
  public:
    [[nodiscard]] bool matchCharacterization(const MediaFileCharacterization& record, bool& shouldCopy) const override {
        return decides(findingOf(Rule, record), shouldCopy);
    }
    [[nodiscard]] std::string_view name() const override { return Rule.name; }
    [[nodiscard]] std::string reason(const MediaFileCharacterization& record) const override {
        return reasonOf(Rule, record);
    }
};

template <const AudioRule& Rule> class AudioCodecValidator final : public VTCodecValidator {
  public:
    [[nodiscard]] bool matchCharacterization(const MediaFileCharacterization& record, bool& shouldCopy) const override {
        return decides(findingOf(Rule, record), shouldCopy);
    }
    [[nodiscard]] std::string_view name() const override { return Rule.name; }
    [[nodiscard]] std::string reason(const MediaFileCharacterization& record) const override {
        return reasonOf(Rule, record);
    }
};

using VTMP4CodecValidator = VideoCodecValidator<codecrules::mp4>;
using VTH264LowCodecValidator = VideoCodecValidator<codecrules::h264Low>;
using VTH264HighCodecValidator = VideoCodecValidator<codecrules::h264High>;
using VTDRMVLowCodecValidator = VideoCodecValidator<codecrules::drmvLow>;
using VTDRMVHighCodecValidator = VideoCodecValidator<codecrules::drmvHigh>;
using VTWindowsMJPEGCodecValidator = VideoCodecValidator<codecrules::windowsMjpeg>;
using VTMP4UnlimitedCodecValidator = VideoCodecValidator<codecrules::mp4Any>;
using VTH264UnlimitedCodecValidator = VideoCodecValidator<codecrules::h264Any>;
using VTH263UnlimitedCodecValidator = VideoCodecValidator<codecrules::h263Any>;
using VTDRMVUnlimitedCodecValidator = VideoCodecValidator<codecrules::drmvAny>;
using VTUnlimitedWindowsMJPEGCodecValidator = VideoCodecValidator<codecrules::windowsMjpegAny>;
using VTUnlimitedPJPEGCodecValidator = VideoCodecValidator<codecrules::pjpegAny>;
using VTMPEG4KindleFireCodecValidator = VideoCodecValidator<codecrules::mpeg4Kindle>;
using VTH263KindleFireCodecValidator = VideoCodecValidator<codecrules::h263Kindle>;
using VTH264KindleFireCodecValidator = VideoCodecValidator<codecrules::h264Kindle>;
using VTH263KindleFireHDCodecValidator = VideoCodecValidator<codecrules::h263KindleHd>;
using VTH264KindleFireHDCodecValidator = VideoCodecValidator<codecrules::h264KindleHd>;
using VTMPEG4WinRTLimitedCodecValidator = VideoCodecValidator<codecrules::mpeg4WinRt>;
using VTH264WinRTCodecValidator = VideoCodecValidator<codecrules::h264WinRt>;
using VTH264WindowsRTCodecValidator = VideoCodecValidator<codecrules::h264WindowsRt>;

using VTAudioOnlyCodecValidator = AudioCodecValidator<codecrules::audioOnly>;
using VTAudioBookCodecValidator = AudioCodecValidator<codecrules::audioBook>;
using VTUnlimitedAudioOnlyCodecValidator = AudioCodecValidator<codecrules::audioOnlyAny>;
using VTUnlimitedAudioBookCodecValidator = AudioCodecValidator<codecrules::audioBookAny>;
using VTAudioKindleFireCodecValidator = AudioCodecValidator<codecrules::audioKindle>;
using VTAudioWindowsRTCodecValidator = AudioCodecValidator<codecrules::audioWindowsRt>;
using VTAudioAACCodecValidator = AudioCodecValidator<codecrules::audioAac>;

} // namespace vt

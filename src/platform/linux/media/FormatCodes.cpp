#include "platform/linux/media/FormatCodes.h"

extern "C" {
#include <libavcodec/avcodec.h>
}

#include <algorithm>
#include <array>
#include <iterator>

namespace vt {

namespace {

using namespace literals;

struct CodecCode {
    AVCodecID codec;
    FourCharCode code;
};

// Sound in wave files and AVI is tagged with small numbers, raw streams not at all.
constexpr CodecCode soundCodes[] = {
    {AV_CODEC_ID_AAC, "mp4a"_fcc},       {AV_CODEC_ID_MP3, ".mp3"_fcc},          {AV_CODEC_ID_ALAC, "alac"_fcc},
    {AV_CODEC_ID_PCM_S16LE, "sowt"_fcc}, {AV_CODEC_ID_PCM_S24LE, "sowt"_fcc},    {AV_CODEC_ID_PCM_S32LE, "sowt"_fcc},
    {AV_CODEC_ID_PCM_U8, "sowt"_fcc},    {AV_CODEC_ID_PCM_S8, "twos"_fcc},       {AV_CODEC_ID_PCM_S16BE, "twos"_fcc},
    {AV_CODEC_ID_PCM_S24BE, "twos"_fcc}, {AV_CODEC_ID_PCM_S32BE, "twos"_fcc},    {AV_CODEC_ID_PCM_F32LE, "fl32"_fcc},
    {AV_CODEC_ID_PCM_F32BE, "fl32"_fcc}, {AV_CODEC_ID_PCM_F64LE, "fl64"_fcc},    {AV_CODEC_ID_PCM_F64BE, "fl64"_fcc},
    {AV_CODEC_ID_PCM_MULAW, "ulaw"_fcc}, {AV_CODEC_ID_PCM_ALAW, "alaw"_fcc},     {AV_CODEC_ID_AC3, "ac-3"_fcc},
    {AV_CODEC_ID_AMR_NB, "samr"_fcc},    {AV_CODEC_ID_ADPCM_IMA_QT, "ima4"_fcc},
};

constexpr CodecCode videoCodes[] = {
    {AV_CODEC_ID_H264, "avc1"_fcc},  {AV_CODEC_ID_MPEG4, "mp4v"_fcc},    {AV_CODEC_ID_H263, "h263"_fcc},
    {AV_CODEC_ID_H261, "h261"_fcc},  {AV_CODEC_ID_PNG, "png "_fcc},      {AV_CODEC_ID_MSRLE, "WRLE"_fcc},
    {AV_CODEC_ID_MJPEG, "jpeg"_fcc}, {AV_CODEC_ID_RAWVIDEO, "WRAW"_fcc},
};

template <std::size_t Count> std::optional<FourCharCode> codeFor(const CodecCode (&rows)[Count], AVCodecID codec) {
    const auto row =
        std::find_if(std::begin(rows), std::end(rows), [codec](const CodecCode& r) { return r.codec == codec; });
    return row == std::end(rows) ? std::nullopt : std::optional(row->code);
}

// A tag's first byte is its lowest.
FourCharCode codeOfTag(std::uint32_t tag) {
    return FourCharCode(__builtin_bswap32(tag));
}

FourCharCode upperCase(FourCharCode code) {
    std::string text = code.text();
    for (char& byte : text)
        if (byte >= 'a' && byte <= 'z') byte = static_cast<char>(byte - 'a' + 'A');
    return *FourCharCode::fromText(text);
}

std::optional<FourCharCode> movieCode(const AVCodecParameters& stream) {
    if (stream.codec_tag == 0) return std::nullopt;
    return movieFormatCode(codeOfTag(stream.codec_tag));
}

std::optional<FourCharCode> videoCode(const AVCodecParameters& stream, bool isAvi) {
    if (stream.codec_tag == 0) return codeFor(videoCodes, stream.codec_id);
    const FourCharCode code = codeOfTag(stream.codec_tag);
    if (isAvi && upperCase(code) == "MJPG"_fcc) return "dmb1"_fcc;
    return code;
}

std::optional<FourCharCode> soundCode(const AVCodecParameters& stream) {
    if (const auto code = codeFor(soundCodes, stream.codec_id)) return code;
    // A wave format number without a code of its own: "ms" and the number.
    constexpr std::uint32_t microsoft = 0x6D730000;
    constexpr std::uint32_t largestWaveFormat = 0xFFFF;
    if (stream.codec_tag == 0) return std::nullopt;
    if (stream.codec_tag <= largestWaveFormat) return FourCharCode(microsoft | stream.codec_tag);
    return codeOfTag(stream.codec_tag);
}

} // namespace

FourCharCode movieFormatCode(FourCharCode code) {
    // 3GPP names H.263 by a tag of its own.
    return code == "s263"_fcc ? "h263"_fcc : code;
}

std::optional<FourCharCode> formatCode(const AVCodecParameters& stream, std::string_view container) {
    if (container.starts_with("mov,")) return movieCode(stream);
    if (stream.codec_type == AVMEDIA_TYPE_VIDEO) return videoCode(stream, container == "avi");
    return soundCode(stream);
}

} // namespace vt

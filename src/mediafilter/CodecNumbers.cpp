#include "mediafilter/CodecNumbers.h"

#include <algorithm>

namespace vt {

namespace {

using namespace literals;

struct CodeRow {
    FourCharCode code;
    std::int32_t number;
};

// "FMP4" shares its number with "smc " on purpose: no video validator accepts it. 5 and 21 are unused.
constexpr CodeRow videoCodes[] = {
    {"avc1"_fcc, 1},  {"mp4v"_fcc, 2},  {"dmb1"_fcc, 3},  {"mjpa"_fcc, 4},  {"mjpb"_fcc, 4},
    {"rle "_fcc, 6},  {"raw "_fcc, 7},  {"cvid"_fcc, 8},  {"smc "_fcc, 9},  {"FMP4"_fcc, 9},
    {"rpza"_fcc, 10}, {"yuv2"_fcc, 11}, {"yuvs"_fcc, 11}, {"yuvu"_fcc, 11}, {"jpeg"_fcc, 12},
    {"mjp2"_fcc, 13}, {"WRLE"_fcc, 14}, {"h261"_fcc, 15}, {"h263"_fcc, 16}, {"dvc "_fcc, 17},
    {"dvcp"_fcc, 17}, {"icod"_fcc, 18}, {"drmi"_fcc, 19}, {"png "_fcc, 20}, {"WRAW"_fcc, 22},
};

// Microsoft's IMA ADPCM: "ms" and the two bytes of its wave format number.
constexpr FourCharCode microsoftImaAdpcm{0x6D730011};

// 4 and 5 are never produced.
constexpr CodeRow audioCodes[] = {
    {"aac "_fcc, 1},  {"aach"_fcc, 1},         {"aacl"_fcc, 1},  {"aacp"_fcc, 1},  {"aacs"_fcc, 1},  {"mp4a"_fcc, 1},
    {".mp3"_fcc, 2},  {"mp3 "_fcc, 2},         {"alac"_fcc, 3},  {"lpcm"_fcc, 6},  {"twos"_fcc, 6},  {"sowt"_fcc, 6},
    {"fl32"_fcc, 6},  {"fl64"_fcc, 6},         {"ulaw"_fcc, 7},  {"alaw"_fcc, 8},  {"AUDB"_fcc, 9},  {"MAC3"_fcc, 10},
    {"MAC6"_fcc, 10}, {"ima4"_fcc, 11},        {"Qclp"_fcc, 12}, {"QDM2"_fcc, 13}, {"QDMC"_fcc, 13}, {"ac-3"_fcc, 14},
    {"samr"_fcc, 15}, {"ilbc"_fcc, 16},        {"drms"_fcc, 17}, {"soun"_fcc, 18}, {"qtim"_fcc, 18}, {"gnrc"_fcc, 18},
    {"midi"_fcc, 19}, {microsoftImaAdpcm, 20},
};

struct NameRow {
    std::int32_t number;
    const char* name;
};

constexpr NameRow videoNames[] = {
    {1, "H.264"},   {2, "MPEG-4"},        {3, "Motion JPEG (OpenDML)"}, {4, "Motion JPEG"},  {6, "Animation"},
    {7, "raw RGB"}, {8, "Cinepak"},       {9, "Graphics or FMP4"},      {10, "Apple Video"}, {11, "raw YUV"},
    {12, "JPEG"},   {13, "JPEG 2000"},    {14, "Windows run length"},   {15, "H.261"},       {16, "H.263"},
    {17, "DV"},     {18, "Intermediate"}, {19, "protected video"},      {20, "PNG"},         {22, "Windows raw"},
};

constexpr NameRow audioNames[] = {
    {1, "AAC"},          {2, "MP3"},      {3, "Apple Lossless"},
    {6, "PCM"},          {7, "mu-law"},   {8, "A-law"},
    {9, "Audible"},      {10, "MACE"},    {11, "IMA 4:1"},
    {12, "PureVoice"},   {13, "QDesign"}, {14, "AC-3"},
    {15, "AMR"},         {16, "iLBC"},    {17, "protected AAC"},
    {18, "unspecified"}, {19, "MIDI"},    {20, "Microsoft IMA ADPCM"},
};

template <typename Rows> const char* nameIn(const Rows& rows, std::int32_t number) {
    const auto row =
        std::find_if(std::begin(rows), std::end(rows), [number](const NameRow& each) { return each.number == number; });
    return row == std::end(rows) ? nullptr : row->name;
}

template <typename Rows> std::int32_t numberIn(const Rows& rows, FourCharCode code) {
    const auto row =
        std::find_if(std::begin(rows), std::end(rows), [code](const CodeRow& each) { return each.code == code; });
    return row == std::end(rows) ? codecnumbers::unknown : row->number;
}

} // namespace

std::int32_t videoCodecNumber(FourCharCode code) {
    return numberIn(videoCodes, code);
}

std::int32_t audioCodecNumber(FourCharCode code) {
    return numberIn(audioCodes, code);
}

const char* videoCodecName(std::int32_t number) {
    return nameIn(videoNames, number);
}

const char* audioCodecName(std::int32_t number) {
    return nameIn(audioNames, number);
}

} // namespace vt

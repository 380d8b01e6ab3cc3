// The codec rules' findings in words.
#include "base/Text.h"
#include "mediafilter/CodecNumbers.h"
#include "mediafilter/CodecValidators.h"
#include "mediafilter/FilterWords.h"

#include <vector>

namespace vt {

namespace {

std::string videoName(std::int32_t codec) {
    const char* name = videoCodecName(codec);
    return name != nullptr ? name : "of an unknown codec";
}

// "AAC, AMR or PCM". Numbers that no format code has are left out.
std::string soundNames(const CodecSet& codecs) {
    std::vector<std::string> names;
    for (std::int32_t codec = 0; codec < 32; ++codec)
        if (const char* name = audioCodecName(codec); name != nullptr && codecs.holds(codec)) names.emplace_back(name);
    std::string text;
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (i > 0) text += i + 1 == names.size() ? " or " : ", ";
        text += names[i];
    }
    return text;
}

std::string noSoundFits(const MediaFileCharacterization& record, const std::string& wanted) {
    if (record.audioTrackCount == 0) return "its sound tracks are all switched off";
    return "none of its sound tracks is " + wanted;
}

std::string soundWanted(const VideoRule& rule) {
    std::string wanted = soundNames(rule.audioCodecs);
    if (rule.maximumSampleRate != anyRate)
        wanted += formatText(" up to %@ Hz", {filterwords::number(rule.maximumSampleRate)});
    if (rule.channelsBelow != anySize) wanted += formatText(" with at most %ld channels", {rule.channelsBelow - 1});
    return wanted;
}

} // namespace

std::string reasonOf(const VideoRule& rule, const MediaFileCharacterization& record) {
    switch (findingOf(rule, record)) {
    case RuleFinding::notValid:
        return "it is no movie that can be read";
    case RuleFinding::wrongVideo:
        return "it has no video track that is switched on";
    case RuleFinding::otherCodec:
        return "its video is " + videoName(record.videoCodec) + ", not " + videoName(rule.videoCodec);
    case RuleFinding::tooLarge:
        return formatText("%ld x %ld pixels are more than %ld x %ld",
                          {record.width, record.height, rule.maximumWidth, rule.maximumHeight});
    case RuleFinding::tooFast:
        return formatText("%@ frames per second are more than %@",
                          {filterwords::number(record.frameRate), filterwords::number(rule.maximumFrameRate)});
    case RuleFinding::silent:
        return "its video fits and it has no sound";
    case RuleFinding::soundFits:
        return "its video and its sound fit";
    case RuleFinding::noSoundFits:
        return noSoundFits(record, soundWanted(rule));
    }
    return {};
}

std::string reasonOf(const AudioRule& rule, const MediaFileCharacterization& record) {
    switch (findingOf(rule, record)) {
    case RuleFinding::notValid:
        return "it is no movie that can be read";
    case RuleFinding::wrongVideo:
        return rule.pngCoverAllowed ? "it has video that is no PNG cover" : "it has video";
    case RuleFinding::silent:
        return "it has no sound track";
    case RuleFinding::noSoundFits:
        return noSoundFits(record, soundNames(rule.audioCodecs));
    case RuleFinding::soundFits:
    case RuleFinding::otherCodec:
    case RuleFinding::tooLarge:
    case RuleFinding::tooFast:
        break; // the last three are no findings of such a rule
    }
    return "its sound fits";
}

} // namespace vt

#include "mediafilter/CodecValidators.h"

#include "mediafilter/CodecNumbers.h"

#include <algorithm>
#include <cstddef>

namespace vt {

namespace {

template <typename Fits> bool anyAudioTrack(const MediaFileCharacterization& record, Fits fits) {
    const std::size_t count = std::min(record.audioTrackCount, MediaFileCharacterization::maximumAudioTracks);
    return std::any_of(record.audioTracks.begin(), record.audioTracks.begin() + static_cast<std::ptrdiff_t>(count),
                       fits);
}

} // namespace

RuleFinding findingOf(const VideoRule& rule, const MediaFileCharacterization& record) {
    if (!record.valid) return RuleFinding::notValid;
    if (!record.hasVideo) return RuleFinding::wrongVideo;
    if (record.videoCodec != rule.videoCodec) return RuleFinding::otherCodec;
    if (record.width > rule.maximumWidth || record.height > rule.maximumHeight) return RuleFinding::tooLarge;
    if (record.frameRate > rule.maximumFrameRate) return RuleFinding::tooFast;
    if (!record.hasAudio) return RuleFinding::silent;
    // Sound tracks that are all disabled count as sound without a track that fits.
    const bool fits = anyAudioTrack(record, [&rule](const AudioTrackCharacterization& track) {
        return rule.audioCodecs.holds(track.codec) && track.sampleRate <= rule.maximumSampleRate &&
               track.channels < rule.channelsBelow;
    });
    return fits ? RuleFinding::soundFits : RuleFinding::noSoundFits;
}

RuleFinding findingOf(const AudioRule& rule, const MediaFileCharacterization& record) {
    if (!record.valid) return RuleFinding::notValid;
    const bool onlyCover = rule.pngCoverAllowed && record.videoCodec == codecnumbers::pngVideo;
    if (record.hasVideo && !onlyCover) return RuleFinding::wrongVideo;
    if (!record.hasAudio) return RuleFinding::silent;
    const bool fits = anyAudioTrack(
        record, [&rule](const AudioTrackCharacterization& track) { return rule.audioCodecs.holds(track.codec); });
    return fits ? RuleFinding::soundFits : RuleFinding::noSoundFits;
}

bool decides(RuleFinding finding, bool& shouldCopy) {
    if (finding <= RuleFinding::otherCodec) return false;
    shouldCopy = finding == RuleFinding::silent || finding == RuleFinding::soundFits;
    return true;
}

} // namespace vt

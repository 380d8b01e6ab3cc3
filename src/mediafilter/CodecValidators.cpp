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

bool matchVideoRule(const VideoRule& rule, const MediaFileCharacterization& record, bool& shouldCopy) {
    if (!record.valid || !record.hasVideo || record.videoCodec != rule.videoCodec) return false;
    shouldCopy = false;
    if (record.width > rule.maximumWidth || record.height > rule.maximumHeight) return true;
    if (record.frameRate > rule.maximumFrameRate) return true;
    // Sound tracks that are all disabled count as sound without a track that fits.
    shouldCopy = !record.hasAudio || anyAudioTrack(record, [&rule](const AudioTrackCharacterization& track) {
        return rule.audioCodecs.holds(track.codec) && track.sampleRate <= rule.maximumSampleRate &&
               track.channels < rule.channelsBelow;
    });
    return true;
}

bool matchAudioRule(const AudioRule& rule, const MediaFileCharacterization& record, bool& shouldCopy) {
    if (!record.valid) return false;
    const bool onlyCover = rule.pngCoverAllowed && record.videoCodec == codecnumbers::pngVideo;
    if (record.hasVideo && !onlyCover) return false;
    shouldCopy = !record.hasAudio || anyAudioTrack(record, [&rule](const AudioTrackCharacterization& track) {
        return rule.audioCodecs.holds(track.codec);
    });
    return true;
}

} // namespace vt

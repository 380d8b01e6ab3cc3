// Records of made-up films, for tests that ask the codec validators.
#pragma once

#include "mediafilter/CodecValidators.h"

#include <cstdint>

namespace vt {

// A record of a film without sound; `codec` as in CodecNumbers.h, sizes in pixels, `rate` in frames per second.
inline MediaFileCharacterization video(std::int32_t codec, std::int64_t width, std::int64_t height, float rate) {
    MediaFileCharacterization record;
    record.valid = true;
    record.hasVideo = true;
    record.videoCodec = codec;
    record.width = width;
    record.height = height;
    record.frameRate = rate;
    return record;
}

// The record with one sound track more; `rate` in hertz.
inline MediaFileCharacterization withSound(MediaFileCharacterization record, std::int32_t codec, float rate,
                                           std::int64_t channels) {
    record.hasAudio = true;
    record.audioTracks.at(record.audioTrackCount++) = {codec, rate, channels};
    return record;
}

} // namespace vt

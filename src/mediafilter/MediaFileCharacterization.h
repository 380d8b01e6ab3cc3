// What one media file holds, reduced to the small integers and limits that codec validators ask for.
// Thread: a plain value; each worker has its own.
// Units: seconds, hertz, pixels; codec numbers are those of CodecNumbers.h, 0 is unknown or none.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace vt {

struct AudioTrackCharacterization {
    std::int32_t codec = 0;
    float sampleRate = 0;
    std::int64_t channels = 0;
    bool operator==(const AudioTrackCharacterization&) const = default;
};

struct MediaFileCharacterization {
    static constexpr std::size_t maximumAudioTracks = 16;

    std::int32_t containerType = 0; // of the container validator that asked first
    bool valid = false;             // the file opened as a movie
    bool hasVideo = false;          // at least one enabled video track
    bool hasAudio = false;          // at least one sound track, enabled or not
    float duration = 0;
    std::int64_t reserved = 0;   // always zero
    std::int32_t videoCodec = 0; // with width, height and rate: of the last enabled video track with a description
    std::int64_t width = 0;
    std::int64_t height = 0;
    float frameRate = 0;
    std::size_t audioTrackCount = 0; // filled entries: one per enabled sound track with a description
    std::array<AudioTrackCharacterization, maximumAudioTracks> audioTracks{};
    bool operator==(const MediaFileCharacterization&) const = default;
};

} // namespace vt

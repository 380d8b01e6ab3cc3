#include "mediafilter/Characterization.h"

#include "base/LogSink.h"
#include "base/Text.h"
#include "mediafilter/CodecNumbers.h"

#include <cmath>

namespace vt {

namespace {

std::int32_t numberOrLog(std::int32_t number, FourCharCode code, const char* logText) {
    if (number == codecnumbers::unknown) systemLog(formatText(logText, {code.value()}));
    return number;
}

double secondsOf(double units, double unitsPerSecond) {
    return unitsPerSecond > 0 ? units / unitsPerSecond : 0;
}

float frameRateOf(const MediaTrack& track) {
    if (track.displayDuration <= 0) return 0;
    const double samples = static_cast<double>(track.sampleCount);
    return static_cast<float>(track.timeScale * samples / static_cast<double>(track.displayDuration));
}

// A later track overwrites what an earlier one told.
void addVideo(const MediaTrack& track, MediaFileCharacterization& record) {
    if (!track.enabled) return;
    record.hasVideo = true;
    if (!track.hasMedia || !track.hasDescription || !track.format) return;
    record.width = track.width;
    record.height = track.height;
    record.videoCodec = numberOrLog(videoCodecNumber(*track.format), *track.format, "unknown video codec %lx");
    record.frameRate = frameRateOf(track);
}

void addSound(const MediaTrack& track, MediaFileCharacterization& record) {
    record.hasAudio = true;
    if (!track.enabled || !track.hasMedia || !track.hasDescription) return;
    if (record.audioTrackCount == MediaFileCharacterization::maximumAudioTracks) return;
    AudioTrackCharacterization& entry = record.audioTracks.at(record.audioTrackCount++);
    if (!track.format) return; // an empty description still takes its entry
    entry.codec = numberOrLog(audioCodecNumber(*track.format), *track.format, "unknown audio codec %lx");
    entry.sampleRate = static_cast<float>(std::floor(track.sampleRate));
    entry.channels = track.channels;
}

} // namespace

MediaFileCharacterization characterizationOf(const MediaDescription& movie, std::int32_t containerType) {
    MediaFileCharacterization record;
    record.containerType = containerType;
    record.valid = true;
    record.duration = static_cast<float>(secondsOf(static_cast<double>(movie.duration), movie.timeScale));
    for (const MediaTrack& track : movie.tracks) {
        if (track.kind == MediaTrack::Kind::video) addVideo(track, record);
        if (track.kind == MediaTrack::Kind::sound) addSound(track, record);
    }
    return record;
}

} // namespace vt

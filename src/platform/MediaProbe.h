// What a media file holds, as its container tells it: tracks with their format codes, sizes and rates.
// Thread: open() and readMore() on the worker, which waits for the disk; describe() on the main thread, which never
// does. Errors: EAGAIN from describe(): bytes are missing, call readMore() and ask again; ETIMEDOUT: the file took too
// long and may be asked about again later; EINVAL: no movie, or no regular file; EFBIG: the header is larger than what
// is read.
#pragma once

#include "base/FourCharCode.h"
#include "base/Result.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vt {

struct MediaTrack {
    enum class Kind : std::uint8_t { video, sound, other };
    Kind kind = Kind::other;
    bool enabled = true;
    bool hasMedia = true;
    bool hasDescription = true;         // at least one sample description
    std::optional<FourCharCode> format; // of the first sample description; null when that is empty
    std::int64_t width = 0;             // pixels
    std::int64_t height = 0;
    std::uint64_t sampleCount = 0;
    double timeScale = 0;             // units per second
    std::int64_t displayDuration = 0; // units
    double sampleRate = 0;            // hertz
    std::int64_t channels = 0;
};

struct MediaDescription {
    std::int64_t duration = 0;      // units
    double timeScale = 0;           // units per second
    std::vector<MediaTrack> tracks; // in the file's order; attached pictures are no tracks
};

// An open file with the bytes that were read so far. Owned by one worker.
class MediaFile {
  public:
    virtual ~MediaFile() = default;
    // Reads what the last describe() missed.
    [[nodiscard]] virtual Result<void> readMore() = 0;
};

class MediaProbe {
  public:
    virtual ~MediaProbe() = default;
    // Follows links; never opens what is no regular file.
    [[nodiscard]] virtual Result<std::unique_ptr<MediaFile>> open(const std::string& path) = 0;
    // `file` is one of this probe's.
    [[nodiscard]] virtual Result<MediaDescription> describe(MediaFile& file) = 0;
};

} // namespace vt

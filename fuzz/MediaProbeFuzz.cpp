// Fuzzes the road from a media file's bytes to the validators' answers: whatever a file holds, looking at it ends
// within the budget, with a description or an error, and nothing in the description breaks what comes after.
#include "mediafilter/Characterization.h"
#include "mediafilter/CodecValidators.h"
#include "platform/linux/media/LinuxMediaProbe.h"

#include <cerrno>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <sys/mman.h>
#include <unistd.h>

namespace {

void require(bool condition) {
    if (!condition) std::abort();
}

// One file in memory, with new content for every input.
class MemoryFile {
  public:
    MemoryFile() : _descriptor(memfd_create("input", MFD_CLOEXEC)) { require(_descriptor >= 0); }
    void fill(const std::uint8_t* data, std::size_t size) const {
        require(ftruncate(_descriptor, 0) == 0);
        require(pwrite(_descriptor, data, size, 0) == static_cast<ssize_t>(size));
    }
    [[nodiscard]] std::string path() const { return "/proc/self/fd/" + std::to_string(_descriptor); }

  private:
    int _descriptor;
};

vt::Result<vt::MediaDescription> describe(vt::MediaProbe& probe, const std::string& path) {
    auto file = probe.open(path);
    require(file.ok());
    while (true) {
        auto movie = probe.describe(**file);
        if (movie.ok() || movie.code() != EAGAIN) return movie;
        if (const auto read = (*file)->readMore(); !read.ok()) return read.error();
    }
}

template <typename Validator> void ask(const vt::MediaFileCharacterization& record) {
    const Validator validator;
    bool shouldCopy = false;
    const bool decided = validator.matchCharacterization(record, shouldCopy);
    require(decided || !shouldCopy);
    require(!validator.reason(record).empty());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const MemoryFile file;
    static vt::LinuxMediaProbe probe;
    file.fill(data, size);
    const auto movie = describe(probe, file.path());
    if (!movie) {
        require(movie.code() == EINVAL || movie.code() == EFBIG || movie.code() == ETIMEDOUT);
        return 0;
    }
    for (const vt::MediaTrack& track : movie->tracks) {
        require(std::isfinite(track.timeScale) && track.timeScale >= 0);
        require(std::isfinite(track.sampleRate));
    }
    const vt::MediaFileCharacterization record = vt::characterizationOf(*movie, 2);
    require(record.valid && record.containerType == 2);
    require(record.audioTrackCount <= vt::MediaFileCharacterization::maximumAudioTracks);
    require(std::isfinite(record.frameRate) && std::isfinite(record.duration) && record.duration >= 0);
    ask<vt::VTH264LowCodecValidator>(record);
    ask<vt::VTWindowsMJPEGCodecValidator>(record);
    ask<vt::VTUnlimitedPJPEGCodecValidator>(record);
    ask<vt::VTUnlimitedAudioBookCodecValidator>(record);
    return 0;
}

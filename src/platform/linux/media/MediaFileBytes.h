// The parts of a file that a demuxer wants to see, read by one thread and looked at by another: a read outside them is
// noted as missed, and the next readMore() fetches what was missed.
// Thread: one at a time. Owns: the descriptor and the bytes.
// Errors: EFBIG past the byte budget or after too many rounds, ETIMEDOUT past the time budget, errno of a failed read.
// Units: offsets and sizes in bytes.
#pragma once

#include "platform/MediaProbe.h"
#include "platform/linux/UniqueFd.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace vt {

struct MediaBudget {
    std::uint64_t bytes = 64ULL << 20U;     // of one file; the index of a film of many hours fits
    std::chrono::milliseconds time{20'000}; // of one file, reading and looking together, not waiting for a thread
    std::chrono::milliseconds look{2'000};  // of one look on the main thread
    int rounds = 64;
};

class MediaFileBytes final : public MediaFile {
  public:
    // EINVAL for what is no regular file, which is then never opened.
    [[nodiscard]] static Result<std::unique_ptr<MediaFile>> open(const std::string& path, const MediaBudget& budget);
    MediaFileBytes(UniqueFd file, std::string path, std::uint64_t size, const MediaBudget& budget);

    [[nodiscard]] Result<void> readMore() override;

    [[nodiscard]] std::uint64_t size() const { return _size; }
    [[nodiscard]] const std::string& path() const { return _path; }
    [[nodiscard]] const MediaBudget& budget() const { return _budget; }
    // Copies what is there, at most `length`; 0 at the file's end; null when the byte at `offset` is missed.
    [[nodiscard]] std::optional<std::size_t> copy(std::uint64_t offset, std::uint8_t* to, std::size_t length);
    [[nodiscard]] bool hasMissed() const { return _missed.has_value(); }
    [[nodiscard]] std::chrono::nanoseconds timeLeft() const { return _timeLeft; }
    void spend(std::chrono::nanoseconds time) { _timeLeft -= time; }

  private:
    [[nodiscard]] Result<void> readFrom(std::uint64_t offset);

    UniqueFd _file;
    const std::string _path;
    std::uint64_t _size;
    const MediaBudget _budget;
    std::chrono::nanoseconds _timeLeft;
    std::map<std::uint64_t, std::vector<std::uint8_t>> _ranges; // by offset; they may overlap, none is empty
    std::optional<std::uint64_t> _missed;
    std::uint64_t _bytesRead = 0;
    std::size_t _nextChunk;
    int _rounds = 0;
};

} // namespace vt

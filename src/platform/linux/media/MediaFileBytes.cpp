#include "platform/linux/media/MediaFileBytes.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

namespace vt {

namespace {

constexpr std::size_t firstChunk = 256U << 10U;
constexpr std::size_t largestChunk = 8U << 20U;

} // namespace

Result<std::unique_ptr<MediaFile>> MediaFileBytes::open(const std::string& path, const MediaBudget& budget) {
    // A handle that opens nothing tells what the path leads to: opening a pipe or a device may block or act.
    const UniqueFd handle(::open(path.c_str(), O_PATH | O_CLOEXEC));
    if (!handle.isOpen()) return Error::fromErrno(errno, path);
    struct stat status {};
    if (fstat(handle.get(), &status) != 0) return Error::fromErrno(errno, path);
    if (!S_ISREG(status.st_mode)) return Error{EINVAL, Disposition::skipItem, path, "not a regular file"};

    const std::string reopened = "/proc/self/fd/" + std::to_string(handle.get());
    UniqueFd file(::open(reopened.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY));
    if (!file.isOpen()) return Error::fromErrno(errno, path);
    return std::unique_ptr<MediaFile>(
        std::make_unique<MediaFileBytes>(std::move(file), path, static_cast<std::uint64_t>(status.st_size), budget));
}

MediaFileBytes::MediaFileBytes(UniqueFd file, std::string path, std::uint64_t size, const MediaBudget& budget)
    : _file(std::move(file)), _path(std::move(path)), _size(size), _budget(budget), _timeLeft(budget.time),
      _nextChunk(firstChunk) {}

std::optional<std::size_t> MediaFileBytes::copy(std::uint64_t offset, std::uint8_t* to, std::size_t length) {
    if (offset >= _size || length == 0) return 0;
    auto range = _ranges.upper_bound(offset);
    while (range != _ranges.begin()) {
        --range;
        const std::uint64_t within = offset - range->first;
        if (within >= range->second.size()) continue;
        const std::size_t count = std::min<std::size_t>(length, range->second.size() - within);
        std::memcpy(to, range->second.data() + within, count);
        return count;
    }
    if (!_missed) _missed = offset;
    return std::nullopt;
}

Result<void> MediaFileBytes::readMore() {
    const std::uint64_t from = _missed.value_or(0);
    _missed.reset();
    if (_timeLeft <= std::chrono::nanoseconds(0)) return Error::fromErrno(ETIMEDOUT, _path);
    const auto start = std::chrono::steady_clock::now();
    auto result = readFrom(from);
    spend(std::chrono::steady_clock::now() - start);
    return result;
}

Result<void> MediaFileBytes::readFrom(std::uint64_t offset) {
    // A reader that goes on where the last bytes ended gets twice as many: a large index takes few rounds.
    const bool goesOn = std::any_of(_ranges.begin(), _ranges.end(), [offset](const auto& range) {
        return range.first + range.second.size() == offset;
    });
    _nextChunk = goesOn ? std::min(_nextChunk * 2, largestChunk) : firstChunk;
    if (++_rounds > _budget.rounds || _bytesRead + _nextChunk > _budget.bytes)
        return Error{EFBIG, Disposition::skipItem, _path, "the media header is larger than what is read of a file"};

    std::vector<std::uint8_t> bytes(static_cast<std::size_t>(std::min<std::uint64_t>(_nextChunk, _size - offset)));
    std::size_t filled = 0;
    while (filled < bytes.size()) {
        const ssize_t count =
            pread(_file.get(), bytes.data() + filled, bytes.size() - filled, static_cast<off_t>(offset + filled));
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return Error::fromErrno(errno, _path);
        if (count == 0) break;
        filled += static_cast<std::size_t>(count);
    }
    if (filled < bytes.size()) _size = offset + filled; // the file has become shorter
    bytes.resize(filled);
    _bytesRead += filled;
    if (filled > 0) _ranges.insert_or_assign(offset, std::move(bytes));
    return {};
}

} // namespace vt

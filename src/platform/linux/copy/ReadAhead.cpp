#include "platform/linux/copy/ReadAhead.h"

#include "platform/linux/OpenBeneath.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <sys/uio.h>

namespace vt {

namespace {

constexpr std::size_t furthest = 64;               // files
constexpr std::size_t closest = 32;                // the next ones are asked for before the last have all been used
constexpr std::uint64_t largestSmall = 256 * 1024; // the system itself reads ahead in a larger file

UniqueFd opened(int folder, const DirectoryEntry& entry) {
    UniqueFd file;
    (void)beneath::openAt(folder, entry.name.c_str(), O_RDONLY | O_NONBLOCK | O_NOFOLLOW, 0, file);
    return file;
}

bool isInMemory(int folder, const DirectoryEntry& entry) {
    const UniqueFd file = opened(folder, entry);
    char byte = 0;
    const iovec place{&byte, 1};
    return ::preadv2(file.get(), &place, 1, 0, RWF_NOWAIT) >= 0 || errno != EAGAIN;
}

} // namespace

void ReadAhead::reached(std::size_t position, int folder) {
    if (position + closest < _done) return;
    const std::size_t last = std::min(position + furthest, _entries.size());
    std::vector<const DirectoryEntry*> files = smallFiles(std::max(position, _done), last);
    _done = last;
    // One look speaks for all: they were used together, or not at all.
    if (files.size() < 2 || isInMemory(folder, *files.front())) return;
    std::sort(files.begin(), files.end(),
              [](const auto* one, const auto* other) { return one->attributes.inode < other->attributes.inode; });
    for (const DirectoryEntry* entry : files) {
        const UniqueFd file = opened(folder, *entry);
        (void)::posix_fadvise(file.get(), 0, static_cast<off_t>(entry->attributes.size), POSIX_FADV_WILLNEED);
    }
}

std::vector<const DirectoryEntry*> ReadAhead::smallFiles(std::size_t first, std::size_t last) const {
    std::vector<const DirectoryEntry*> files;
    for (std::size_t i = first; i < last; ++i) {
        const FileAttributes& attributes = _entries[i].attributes;
        if (attributes.isRegular() && attributes.size > 0 && attributes.size <= largestSmall)
            files.push_back(&_entries[i]);
    }
    return files;
}

} // namespace vt

#include "platform/linux/copy/ReadAhead.h"

#include "platform/linux/OpenBeneath.h"
#include "platform/linux/copy/PagesInMemory.h"
#include "platform/linux/copy/ReadBehind.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <sys/uio.h>

namespace vt {

namespace {

constexpr std::uint64_t mebibyte = 1024 * 1024;
constexpr std::size_t furthest = 64; // files
constexpr std::size_t closest = 32;  // the next ones are asked for before the last have all been used
constexpr std::uint64_t mostBytes = 16 * mebibyte;
constexpr std::uint64_t fewBytes = 8 * mebibyte;
constexpr std::uint64_t largest = 4 * mebibyte; // of a larger file the system itself reads ahead well enough

bool isWorthIt(const FileAttributes& attributes) {
    return attributes.isRegular() && attributes.size > 0 && attributes.size <= largest;
}

UniqueFd opened(int folder, const DirectoryEntry& entry) {
    UniqueFd file;
    (void)beneath::openAt(folder, entry.name.c_str(), O_RDONLY | O_NONBLOCK | O_NOFOLLOW, 0, file);
    return file;
}

bool isNoneInMemory(const UniqueFd& file, std::uint64_t size) {
    const auto end = static_cast<off_t>(size);
    return file.isOpen() && !PagesInMemory(file.get(), end).any(0, end);
}

// True of a file that the system tells this user nothing about, too; asking brings some of it there.
bool startsInMemory(const UniqueFd& file) {
    char byte = 0;
    const iovec place{&byte, 1};
    return ::preadv2(file.get(), &place, 1, 0, RWF_NOWAIT) >= 0 || errno != EAGAIN;
}

} // namespace

bool ReadAhead::reached(std::size_t position, int folder) {
    for (; _reached < position; ++_reached)
        if (_reached < _done && isWorthIt(_entries[_reached].attributes)) _ahead -= sizeOf(_reached);
    if (position + closest >= _done && _ahead <= fewBytes) {
        Positions files = nextFiles(position);
        if (files.size() > 1) ask(files, folder);
    }
    return _ours[position];
}

ReadAhead::Positions ReadAhead::nextFiles(std::size_t position) {
    Positions files;
    const std::size_t last = std::min(position + furthest, _entries.size());
    for (_done = std::max(_done, position); _done < last && _ahead < mostBytes; ++_done) {
        if (!isWorthIt(_entries[_done].attributes)) continue;
        files.push_back(_done);
        _ahead += sizeOf(_done);
    }
    return files;
}

void ReadAhead::ask(Positions& files, int folder) {
    {
        // One look speaks for all: they were used together, or not at all.
        const UniqueFd first = opened(folder, _entries[files.front()]);
        if (!isNoneInMemory(first, sizeOf(files.front())) && startsInMemory(first)) return;
    }
    std::sort(files.begin(), files.end(), [this](std::size_t one, std::size_t other) {
        return _entries[one].attributes.inode < _entries[other].attributes.inode;
    });
    for (const std::size_t position : files) {
        const UniqueFd file = opened(folder, _entries[position]);
        const std::uint64_t size = sizeOf(position);
        _ours[position] = ReadBehind::isWorthIt(size) && isNoneInMemory(file, size);
        (void)::posix_fadvise(file.get(), 0, static_cast<off_t>(size), POSIX_FADV_WILLNEED);
    }
}

} // namespace vt

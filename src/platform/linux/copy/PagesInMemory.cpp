#include "platform/linux/copy/PagesInMemory.h"

#include <algorithm>
#include <sys/mman.h>
#include <unistd.h>

namespace vt {

namespace {
// One page speaks for this much, the one in its middle: programs that only recognise a file look at its ends.
constexpr off_t sample = 1024 * 1024;
} // namespace

PagesInMemory::PagesInMemory(int file, off_t size)
    : _size(size), _start(::mmap(nullptr, static_cast<std::size_t>(size), PROT_NONE, MAP_SHARED, file, 0)) {}

PagesInMemory::~PagesInMemory() {
    if (_start != MAP_FAILED) ::munmap(_start, static_cast<std::size_t>(_size));
}

bool PagesInMemory::any(off_t from, off_t end) const {
    static const off_t page = ::sysconf(_SC_PAGESIZE);
    if (_start == MAP_FAILED) return true;
    for (off_t at = from; at < end; at += sample) {
        const off_t middle = at + (std::min(at + sample, end) - at) / 2;
        unsigned char there = 0;
        const int code = ::mincore(static_cast<char*>(_start) + middle / page * page, 1, &there);
        if (code != 0 || (there & 1U) != 0) return true;
    }
    return false;
}

} // namespace vt

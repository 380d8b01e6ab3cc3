#include "platform/linux/copy/ReadBehind.h"

#include "platform/linux/copy/PagesInMemory.h"

#include <algorithm>
#include <fcntl.h>

namespace vt {

namespace {
constexpr off_t stretch = 8 * 1024 * 1024;
} // namespace

void ReadBehind::begin(int file, off_t size, bool ours) {
    _file = file;
    _size = size;
    _done = 0;
    _wasThere.clear();
    if (!isWorthIt(static_cast<std::uint64_t>(size))) return;
    if (ours) {
        _wasThere.resize(static_cast<std::size_t>((size + stretch - 1) / stretch));
        return;
    }
    const PagesInMemory pages(file, size);
    for (off_t at = 0; at < size; at += stretch) _wasThere.push_back(pages.any(at, std::min(at + stretch, size)));
}

void ReadBehind::read(off_t end) {
    if (_wasThere.empty()) return;
    while (_done < end && (_done + stretch <= end || end == _size)) {
        const auto number = static_cast<std::size_t>(_done / stretch);
        if (!_wasThere[number]) (void)::posix_fadvise(_file, _done, stretch, POSIX_FADV_DONTNEED);
        _done += stretch;
    }
}

} // namespace vt

#include "platform/linux/copy/WriteBehind.h"

#include <cerrno>
#include <fcntl.h>

namespace vt {

namespace {
// Large enough for any disk's full speed; two of them are the most that a cancel has to wait for.
constexpr off_t stretch = 8 * 1024 * 1024;
} // namespace

int WriteBehind::wrote(off_t end) {
    if (end - _sent < stretch) return 0;
    // The stretch before this one had the time that this one took.
    if (const int code = ask(_written, _sent, SYNC_FILE_RANGE_WAIT_BEFORE); code != 0) return code;
    // Nobody reads it here; only what is on the disk leaves the memory.
    if (_written != _sent) (void)::posix_fadvise(_file, _written, _sent - _written, POSIX_FADV_DONTNEED);
    _written = _sent;
    if (const int code = ask(_sent, end, SYNC_FILE_RANGE_WRITE); code != 0) return code;
    _sent = end;
    return 0;
}

int WriteBehind::ask(off_t from, off_t to, unsigned flags) {
    if (from == to || ::sync_file_range(_file, from, to - from, flags) == 0) return 0;
    return errno == EIO || errno == ENOSPC || errno == EDQUOT ? errno : 0;
}

} // namespace vt

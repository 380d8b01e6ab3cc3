#include "platform/linux/watch/InotifyQueue.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <string>
#include <sys/inotify.h>
#include <unistd.h>

namespace vt {

InotifyQueue::InotifyQueue() : _queue(::inotify_init1(IN_CLOEXEC | IN_NONBLOCK)) {}

int InotifyQueue::add(int folder, std::uint32_t mask) {
    if (!isOpen()) return -ENOSPC;
    // Through the handle: what was opened is what is watched, whatever its path leads to by now.
    const std::string path = "/proc/self/fd/" + std::to_string(folder);
    const int watch = ::inotify_add_watch(_queue.get(), path.c_str(), mask | IN_MASK_ADD | IN_ONLYDIR | IN_EXCL_UNLINK);
    return watch < 0 ? -errno : watch;
}

void InotifyQueue::remove(int watch) {
    ::inotify_rm_watch(_queue.get(), watch);
}

bool InotifyQueue::read(const std::function<void(const Event&)>& event) {
    if (!isOpen()) return false;
    alignas(inotify_event) std::array<char, 64UL * 1024> buffer; // not initialised: the kernel fills it
    const ssize_t got = ::read(_queue.get(), buffer.data(), buffer.size());
    if (got <= 0) return false;
    for (std::size_t at = 0; at + sizeof(inotify_event) <= static_cast<std::size_t>(got);) {
        inotify_event header{};
        std::memcpy(&header, buffer.data() + at, sizeof header);
        const char* const name = buffer.data() + at + sizeof header;
        event({header.wd, header.mask, std::string_view(name, ::strnlen(name, header.len))});
        at += sizeof header + header.len;
    }
    return true;
}

} // namespace vt

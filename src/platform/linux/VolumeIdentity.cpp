#include "platform/linux/VolumeIdentity.h"

#include "platform/linux/FileStatus.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <sstream>
#include <sys/statfs.h>
#include <sys/vfs.h>

namespace vt {

namespace {

void appendHex(std::string& text, const void* bytes, std::size_t length) {
    constexpr std::string_view digits = "0123456789abcdef";
    const auto* byte = static_cast<const unsigned char*>(bytes);
    for (std::size_t i = 0; i < length; ++i) {
        text += digits[byte[i] >> 4U];
        text += digits[byte[i] & 15U];
    }
}

// The source column of the mount's line, as the kernel escapes it; "" when there is no such line any more.
std::string mountedFrom(std::uint64_t mountId) {
    std::ifstream table("/proc/self/mountinfo");
    const std::string start = std::to_string(mountId) + " ";
    for (std::string line; std::getline(table, line);) {
        if (!line.starts_with(start)) continue;
        const std::size_t separator = line.find(" - ");
        if (separator == std::string::npos) return {};
        std::istringstream rest(line.substr(separator + 3));
        std::string type, source;
        rest >> type >> source;
        return source;
    }
    return {};
}

std::string ownHandle(int folder, const struct statx& status) {
    alignas(file_handle) std::array<unsigned char, sizeof(file_handle) + MAX_HANDLE_SZ> room{};
    auto* handle = reinterpret_cast<file_handle*>(room.data()); // the system's own shape: a head, then its bytes
    handle->handle_bytes = MAX_HANDLE_SZ;
    int mount = 0;
    if (::name_to_handle_at(folder, "", handle, &mount, AT_EMPTY_PATH) == 0) {
        std::string text = "h" + std::to_string(handle->handle_type) + ":";
        appendHex(text, room.data() + sizeof(file_handle), std::min<std::size_t>(handle->handle_bytes, MAX_HANDLE_SZ));
        return text;
    }
    if ((status.stx_mask & STATX_BTIME) != 0)
        return "b" + std::to_string(status.stx_btime.tv_sec) + "." + std::to_string(status.stx_btime.tv_nsec);
    return "i" + std::to_string(status.stx_ino);
}

} // namespace

Result<std::string> volumeIdentity(int folder, const std::string& path) {
    struct statx status {};
    const unsigned mask = STATX_BASIC_STATS | STATX_BTIME | STATX_MNT_ID;
    if (::statx(folder, "", AT_EMPTY_PATH | AT_NO_AUTOMOUNT, mask, &status) != 0) return Error::fromErrno(errno, path);
    struct statfs volume {};
    if (::fstatfs(folder, &volume) != 0) return Error::fromErrno(errno, path);
    std::string text = std::to_string(status.stx_dev_major) + ":" + std::to_string(status.stx_dev_minor) + "|" +
                       mountedFrom(status.stx_mnt_id) + "|";
    appendHex(text, &volume.f_fsid, sizeof volume.f_fsid);
    return text + "|" + ownHandle(folder, status);
}

} // namespace vt

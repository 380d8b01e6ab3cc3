#include "platform/linux/DirectoryReader.h"

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <dirent.h>
#include <memory>

namespace vt {

namespace {

constexpr std::size_t bufferSize = 32 * 1024;

NameKind kindOf(unsigned char type) {
    switch (type) {
    case DT_UNKNOWN:
        return NameKind::unknown;
    case DT_REG:
        return NameKind::file;
    case DT_DIR:
        return NameKind::folder;
    case DT_LNK:
        return NameKind::link;
    default:
        return NameKind::other;
    }
}

} // namespace

int readNames(int folder, std::vector<FolderName>& names) {
    alignas(dirent64) std::array<char, bufferSize> buffer; // filled by the kernel
    for (;;) {
        const ssize_t filled = ::getdents64(folder, buffer.data(), buffer.size());
        if (filled == 0) return 0;
        if (filled < 0) return errno;
        for (std::size_t at = 0; at < static_cast<std::size_t>(filled);) {
            const char* record = buffer.data() + at;
            std::uint16_t length = 0;
            std::memcpy(&length, record + offsetof(dirent64, d_reclen), sizeof length);
            std::uint64_t inode = 0;
            std::memcpy(&inode, record + offsetof(dirent64, d_ino), sizeof inode);
            const char* name = record + offsetof(dirent64, d_name);
            // A broken file system may hand out a name with a slash; such an item cannot be named by a path.
            if (std::strcmp(name, ".") != 0 && std::strcmp(name, "..") != 0 && std::strchr(name, '/') == nullptr)
                names.push_back({name, kindOf(static_cast<unsigned char>(record[offsetof(dirent64, d_type)])), inode});
            at += length;
        }
    }
}

} // namespace vt

#include "platform/linux/StagedFile.h"

#include "platform/linux/AbandonedFiles.h"
#include "platform/linux/OpenBeneath.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vt {

StagedFile::~StagedFile() {
    if (!_name.empty()) (void)::unlinkat(_folder, _name.c_str(), 0);
}

int StagedFile::create(int folder) {
    _folder = folder;
    for (int attempt = 0; attempt < 16; ++attempt) {
        const std::string name = temporaryName();
        if (name.empty()) return errno;
        const int code = beneath::openAt(folder, name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW, 0600, _file);
        if (code == EEXIST) continue;
        if (code != 0) return code;
        _name = name;
        markInUse(_file.get());
        return 0;
    }
    return EEXIST;
}

int StagedFile::write(std::string_view bytes, std::uint32_t mode) {
    if (const int code = writeAll(_file.get(), bytes); code != 0) return code;
    if (const int code = setNewMode(_file.get(), mode); code != 0) return code;
    if (const int code = flushItem(_file.get()); code != 0) return code;
    return _file.close();
}

int StagedFile::publish() {
    if (::renameat(_folder, _name.c_str(), _target.directory(), _target.name()) != 0) return errno;
    _name.clear();
    return 0;
}

int writeAll(int file, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t written = ::write(file, bytes.data(), bytes.size());
        if (written < 0 && errno == EINTR) continue;
        if (written < 0) return errno;
        if (written == 0) return ENOSPC;
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
    return 0;
}

int flushItem(int file) {
    if (::fsync(file) == 0 || errno == EINVAL || errno == ENOSYS || errno == EOPNOTSUPP) return 0;
    return errno;
}

int setNewMode(int file, std::uint32_t mode) {
    if (::fchmod(file, mode & 07777U) == 0) return 0;
    return errno == EPERM || errno == EOPNOTSUPP || errno == ENOSYS || errno == EINVAL ? 0 : errno;
}

} // namespace vt

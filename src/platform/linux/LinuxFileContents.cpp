// The whole-file half of LinuxFiles.
#include "platform/linux/FileStatus.h"
#include "platform/linux/LinuxFiles.h"
#include "platform/linux/OpenBeneath.h"
#include "platform/linux/StagedFile.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <fcntl.h>
#include <sys/file.h>
#include <thread>
#include <unistd.h>

namespace vt {

namespace {

class FileLock final : public FileContents::Lock {
  public:
    explicit FileLock(UniqueFd file) : _file(std::move(file)) {}

  private:
    UniqueFd _file; // closing it ends the lock
};

class OpenFile final : public FileContents::Appender {
  public:
    OpenFile(UniqueFd file, std::string path) : _file(std::move(file)), _path(std::move(path)) {}
    Result<void> append(std::string_view bytes) override {
        if (const int code = writeAll(_file.get(), bytes); code != 0) return Error::fromErrno(code, _path);
        return {};
    }

  private:
    UniqueFd _file;
    std::string _path;
};

int refusalOf(const struct statx& status) {
    if (S_ISREG(status.stx_mode)) return 0;
    return S_ISDIR(status.stx_mode) ? EISDIR : EINVAL;
}

} // namespace

Result<UniqueFd> LinuxFiles::openRegular(const std::string& path, int flags) {
    struct statx status {};
    {
        Result<Place> place = _locator.place(path);
        if (!place) return place.error();
        if (const int code = readStatus(place->directory(), place->name(), status); code != 0)
            return _locator.error(code, path);
        if (const int code = refusalOf(status); code != 0) return _locator.error(code, path);
    }
    // Not waiting and not following, should the item have been exchanged for a pipe or a link meanwhile.
    Result<UniqueFd> file = _locator.open(path, flags | O_NONBLOCK | O_NOFOLLOW);
    if (!file) return file;
    int code = readStatus(file->get(), "", status);
    if (code == 0) code = refusalOf(status);
    if (code != 0) return _locator.error(code, path);
    return file;
}

Result<std::string> LinuxFiles::read(const std::string& path, std::uint64_t limit) {
    // A look leaves no trace on a volume that nobody chose; only an owner may ask for that.
    Result<UniqueFd> file = openRegular(path, O_RDONLY | O_NOATIME);
    if (!file && file.error().code == EPERM) file = openRegular(path, O_RDONLY);
    if (!file) return file.error();
    std::string bytes;
    constexpr std::size_t step = 64 * 1024;
    for (;;) {
        const std::size_t had = bytes.size();
        bytes.resize(had + step);
        const ssize_t got = ::read(file->get(), bytes.data() + had, step);
        if (got < 0 && errno != EINTR) return _locator.error(errno, path);
        bytes.resize(had + static_cast<std::size_t>(std::max<ssize_t>(got, 0)));
        if (bytes.size() > limit) return _locator.error(EFBIG, path);
        if (got == 0) return bytes;
    }
}

Result<void> LinuxFiles::writeAtomically(const std::string& path, std::string_view bytes, std::uint32_t mode) {
    Result<Place> target = _locator.placeInFolder(path);
    if (!target) return target.error();
    struct statx status {};
    int code = readStatus(target->directory(), target->name(), status);
    if (code == 0 && S_ISDIR(status.stx_mode)) return _locator.error(EISDIR, path);
    if (code != 0 && code != ENOENT) return _locator.error(code, path);
    _abandoned.sweep(target->directory());
    StagedFile staged(*target);
    code = staged.create(target->directory());
    if (code == 0) code = staged.write(bytes, mode);
    if (code == 0) code = staged.publish();
    if (code != 0) return _locator.error(code, path);
    // The new content stands; a folder that may not be read cannot be flushed by itself.
    UniqueFd folder;
    if (beneath::openAt(target->directory(), ".", O_RDONLY | O_DIRECTORY, 0, folder) != 0) return {};
    code = flushItem(folder.get());
    if (code != 0) return _locator.error(code, path);
    return {};
}

Result<void> LinuxFiles::append(const std::string& path, std::string_view bytes) {
    Result<UniqueFd> file = openRegular(path, O_WRONLY | O_APPEND);
    if (!file) return file.error();
    int code = writeAll(file->get(), bytes);
    if (code == 0) code = file->close();
    if (code != 0) return _locator.error(code, path);
    return {};
}

Result<std::unique_ptr<FileContents::Appender>> LinuxFiles::appender(const std::string& path) {
    Result<UniqueFd> file = openRegular(path, O_WRONLY | O_APPEND);
    if (!file) return file.error();
    std::unique_ptr<Appender> open = std::make_unique<OpenFile>(std::move(file).value(), path);
    return open;
}

Result<void> LinuxFiles::create(const std::string& path, std::string_view bytes, std::uint32_t mode) {
    Result<UniqueFd> file = _locator.open(path, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW, mode & 0777U);
    if (!file) return file.error();
    int code = writeAll(file->get(), bytes);
    if (code == 0) code = setNewMode(file->get(), mode);
    if (code == 0) code = file->close();
    if (code == 0) return {};
    // Half a file is none.
    if (Result<Place> place = _locator.place(path); place.ok()) (void)::unlinkat(place->directory(), place->name(), 0);
    return _locator.error(code, path);
}

Result<void> LinuxFiles::flushVolume(const std::string& path) {
    Result<UniqueFd> folder = _locator.open(path, O_RDONLY | O_DIRECTORY | O_NOFOLLOW);
    if (!folder && (folder.error().code == ENOTDIR || folder.error().code == ELOOP)) {
        Result<Place> place = _locator.placeInFolder(path);
        if (!place) return place.error();
        UniqueFd parent;
        const int code = beneath::openAt(place->directory(), ".", O_RDONLY | O_DIRECTORY, 0, parent);
        if (code != 0) return _locator.error(code, path);
        folder = Result<UniqueFd>(std::move(parent));
    }
    if (!folder) return folder.error();
    if (::syncfs(folder->get()) != 0) return _locator.error(errno, path);
    return {};
}

Result<std::unique_ptr<FileContents::Lock>> LinuxFiles::lock(const std::string& path, int milliseconds) {
    Result<UniqueFd> item = _locator.open(path, O_RDONLY | O_DIRECTORY | O_NOFOLLOW);
    if (!item && item.error().code == ENOTDIR) item = openRegular(path, O_RDONLY);
    if (!item) return item.error();
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
    // The kernel's own waiting has no end, so this asks again until the time is over.
    while (::flock(item->get(), LOCK_EX | LOCK_NB) != 0) {
        if (errno != EWOULDBLOCK && errno != EINTR) return _locator.error(errno, path);
        if (std::chrono::steady_clock::now() >= end) return _locator.error(EWOULDBLOCK, path);
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    std::unique_ptr<Lock> held = std::make_unique<FileLock>(std::move(item).value());
    return held;
}

} // namespace vt

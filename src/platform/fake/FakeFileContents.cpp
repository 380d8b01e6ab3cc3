// The whole-file half of FakeFiles.
#include "platform/fake/FakeFiles.h"

#include <cerrno>
#include <chrono>
#include <sstream>
#include <thread>

namespace vt {

namespace {

std::string thisThread() {
    std::ostringstream text;
    text << std::this_thread::get_id();
    return text.str();
}

// Holds its file by a mark that dies with it; the mark names the thread.
class FakeLock final : public FileContents::Lock {
  public:
    FakeLock(FakeDisk& disk, std::shared_ptr<FakeNode> node) : _disk(disk), _node(std::move(node)) {
        _node->extended["lock"] = thisThread();
    }
    ~FakeLock() override {
        const auto held = _disk.lock();
        _node->extended.erase("lock");
    }

  private:
    FakeDisk& _disk;
    std::shared_ptr<FakeNode> _node;
};

class OpenFile final : public FileContents::Appender {
  public:
    OpenFile(FakeFiles& files, std::string path) : _files(files), _path(std::move(path)) {}
    Result<void> append(std::string_view bytes) override { return _files.append(_path, bytes); }

  private:
    FakeFiles& _files;
    std::string _path;
};

} // namespace

Result<FakeSpot> FakeFiles::beginRegular(const char* operation, const std::string& path) {
    Result<FakeSpot> spot = begin(operation, path, Missing::refused);
    if (!spot || spot->node->attributes.isRegular()) return spot;
    return Error::fromErrno(spot->node->attributes.isDirectory() ? EISDIR : EINVAL, path);
}

Result<std::string> FakeFiles::read(const std::string& path, std::uint64_t limit) {
    const auto held = _disk.lock();
    const Result<FakeSpot> spot = beginRegular("read", path);
    if (!spot) return spot.error();
    if (spot->node->content.size() > limit) return Error::fromErrno(EFBIG, path);
    return spot->node->content;
}

Result<void> FakeFiles::writeAtomically(const std::string& path, std::string_view bytes, std::uint32_t mode) {
    const auto held = _disk.lock();
    const Result<FakeSpot> spot = begin("writeAtomically", path, Missing::allowed);
    if (!spot) return spot.error();
    if (spot->node && spot->node->attributes.isDirectory()) return Error::fromErrno(EISDIR, path);
    if (const int code = _disk.refusalOfNew(*spot, bytes.size()); code != 0) return Error::fromErrno(code, path);
    const std::shared_ptr<FakeNode> node = _disk.newNode(*spot->volume, FileKind::regular, mode);
    node->content = bytes;
    _disk.insert(*spot, node);
    return {};
}

Result<void> FakeFiles::append(const std::string& path, std::string_view bytes) {
    const auto held = _disk.lock();
    const Result<FakeSpot> spot = beginRegular("append", path);
    if (!spot) return spot.error();
    int code = spot->volume->readOnly ? EROFS : 0;
    if (code == 0 && spot->node->attributes.immutable) code = EPERM;
    if (code == 0 && bytes.size() > _disk.freeBytes(*spot->volume)) code = ENOSPC;
    if (code != 0) return Error::fromErrno(code, path);
    spot->node->content += bytes;
    _disk.touch(*spot->volume, *spot->node);
    return {};
}

Result<std::unique_ptr<FileContents::Appender>> FakeFiles::appender(const std::string& path) {
    const auto held = _disk.lock();
    const Result<FakeSpot> spot = beginRegular("appender", path);
    if (!spot) return spot.error();
    std::unique_ptr<Appender> open = std::make_unique<OpenFile>(*this, path);
    return open;
}

Result<void> FakeFiles::create(const std::string& path, std::string_view bytes, std::uint32_t mode) {
    const auto held = _disk.lock();
    const Result<FakeSpot> spot = begin("create", path, Missing::allowed);
    if (!spot) return spot.error();
    if (spot->node) return Error::fromErrno(EEXIST, path);
    if (const int code = _disk.refusalOfNew(*spot, bytes.size()); code != 0) return Error::fromErrno(code, path);
    const std::shared_ptr<FakeNode> node = _disk.newNode(*spot->volume, FileKind::regular, mode);
    node->content = bytes;
    _disk.insert(*spot, node);
    return {};
}

Result<void> FakeFiles::flushVolume(const std::string& path) {
    const auto held = _disk.lock();
    const Result<FakeSpot> spot = begin("flushVolume", path, Missing::refused);
    if (!spot) return spot.error();
    return {};
}

Result<std::unique_ptr<FileContents::Lock>> FakeFiles::lock(const std::string& path, int milliseconds) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
    while (true) {
        {
            const auto held = _disk.lock();
            const Result<FakeSpot> spot = begin("lock", path, Missing::refused);
            if (!spot) return spot.error();
            const auto mark = spot->node->extended.find("lock");
            if (mark == spot->node->extended.end()) {
                std::unique_ptr<Lock> taken = std::make_unique<FakeLock>(_disk, spot->node);
                return taken;
            }
            // For a lock of its own a thread would wait in vain.
            if (mark->second == thisThread() || std::chrono::steady_clock::now() >= deadline)
                return Error::fromErrno(EWOULDBLOCK, path);
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

} // namespace vt

// Files and folders by path: attributes, listing, making, moving, removing. Links are never followed unless a name says
// so. Thread: any; an instance that is bound to a DriveRoot belongs to that drive's worker and to main-thread writes of
// its configuration. Errors: errno values; ENODEV when the path lies on a bound drive that is gone or another one.
// Units: absolute paths as raw bytes, of any length; sizes in bytes; modes are permission bits.
#pragma once

#include "base/Date.h"
#include "base/Result.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace vt {

enum class FileKind : std::uint8_t { regular, directory, link, other };

struct FileAttributes {
    FileKind kind = FileKind::other;
    bool immutable = false;  // locked: the inode's immutable flag
    std::uint32_t mode = 0;  // permission bits, 07777
    std::uint32_t owner = 0; // user id
    std::uint32_t group = 0;
    std::uint64_t size = 0;
    std::uint64_t device = 0;
    std::uint64_t inode = 0;
    Date modified;
    Date statusChanged;
    Date born; // Date::missing() where the file system keeps none

    [[nodiscard]] bool isDirectory() const { return kind == FileKind::directory; }
    [[nodiscard]] bool isLink() const { return kind == FileKind::link; }
    [[nodiscard]] bool isRegular() const { return kind == FileKind::regular; }
};

struct DirectoryEntry {
    std::string name; // raw bytes
    FileAttributes attributes;
};

enum class Replace : std::uint8_t { never, always, exchange };

// Asked before a removal gives up on an item; true goes on with the next one.
using RemovalQuestion = std::function<bool(const Error&)>;

class FileService {
  public:
    virtual ~FileService() = default;

    [[nodiscard]] virtual Result<FileAttributes> attributes(const std::string& path) = 0;
    // The same for what a link at `path` leads to.
    [[nodiscard]] virtual Result<FileAttributes> attributesFollowing(const std::string& path) = 0;
    // Direct entries without "." and "..", in the file system's order; an entry that vanishes meanwhile is left out.
    [[nodiscard]] virtual Result<std::vector<DirectoryEntry>> list(const std::string& path) = 0;
    // The same without attributes: cheaper where only names count.
    [[nodiscard]] virtual Result<std::vector<std::string>> listNames(const std::string& path) = 0;
    // One level. The mode is set as given, whatever the process's mask.
    [[nodiscard]] virtual Result<void> makeDirectory(const std::string& path, std::uint32_t mode) = 0;
    // One rename on one volume. EXDEV across volumes; EEXIST with Replace::never and something there.
    [[nodiscard]] virtual Result<void> move(const std::string& from, const std::string& to, Replace replace) = 0;
    // A file, link or whole tree, children first, leaving no volume (a mount inside the tree is an error, EXDEV).
    // `question` may be empty: the first error ends it. ENOENT when nothing is there.
    [[nodiscard]] virtual Result<void> remove(const std::string& path, const RemovalQuestion& question) = 0;
    // This user may make entries in the folder, or in the one that a link leads to. EACCES, EROFS, ENOTDIR.
    [[nodiscard]] virtual Result<void> checkWritable(const std::string& folder) = 0;
    [[nodiscard]] virtual Result<std::string> readLink(const std::string& path) = 0;
    [[nodiscard]] virtual Result<void> makeLink(const std::string& path, const std::string& target) = 0;
    [[nodiscard]] virtual Result<void> setImmutable(const std::string& path, bool immutable) = 0;
    [[nodiscard]] virtual Result<void> setMode(const std::string& path, std::uint32_t mode) = 0;
    [[nodiscard]] virtual Result<void> setModified(const std::string& path, Date modified) = 0;
};

// Whole small files: configuration, preferences, log, markers.
class FileContents {
  public:
    virtual ~FileContents() = default;
    // EFBIG above `limit` bytes; EISDIR, EINVAL for what is no regular file (never opened, so never hangs).
    [[nodiscard]] virtual Result<std::string> read(const std::string& path, std::uint64_t limit) = 0;
    // Temporary file beside the target, content flushed, renamed over it, folder flushed. Old or new content, never
    // less.
    [[nodiscard]] virtual Result<void> writeAtomically(const std::string& path, std::string_view bytes,
                                                       std::uint32_t mode) = 0;
    // Appends to an existing file; not atomic. ENOENT when it is not there.
    [[nodiscard]] virtual Result<void> append(const std::string& path, std::string_view bytes) = 0;
    // The same for many pieces: the file stays open until the handle dies.
    class Appender {
      public:
        virtual ~Appender() = default;
        [[nodiscard]] virtual Result<void> append(std::string_view bytes) = 0;
    };
    [[nodiscard]] virtual Result<std::unique_ptr<Appender>> appender(const std::string& path) = 0;
    // EEXIST when something is there.
    [[nodiscard]] virtual Result<void> create(const std::string& path, std::string_view bytes, std::uint32_t mode) = 0;
    // Flushes the whole file system that holds `path`.
    [[nodiscard]] virtual Result<void> flushVolume(const std::string& path) = 0;
    // An advisory lock on a folder or file; released when the handle dies. EWOULDBLOCK after `milliseconds`.
    class Lock {
      public:
        virtual ~Lock() = default;
    };
    [[nodiscard]] virtual Result<std::unique_ptr<Lock>> lock(const std::string& path, int milliseconds) = 0;
};

} // namespace vt

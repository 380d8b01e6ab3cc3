#include "sync/tree/OwnRemoval.h"

#include "config/utilities/TreeWalk.h"

#include <cerrno>

namespace vt {
namespace {

constexpr std::uint32_t ownerMayAll = 0700;

void open(FileService& files, const std::string& path, const FileAttributes& attributes) {
    if (attributes.immutable) files.setImmutable(path, false).ignore();
    const bool closed = attributes.isDirectory() && (attributes.mode & ownerMayAll) != ownerMayAll;
    if (closed) files.setMode(path, attributes.mode | ownerMayAll).ignore();
}

void openAll(FileService& files, const std::string& path) {
    const auto top = files.attributes(path);
    if (!top) return;
    open(files, path, *top);
    if (!top->isDirectory()) return;
    visitTree(files, path, [&](const std::string& folder, const DirectoryEntry& entry) {
        open(files, paths::join(folder, entry.name), entry.attributes);
    });
}

} // namespace

Result<void> removeOwn(FileService& files, const std::string& path, const RemovalQuestion& question) {
    bool closed = false;
    auto removed = files.remove(path, [&](const Error& error) {
        closed = error.code == EACCES || error.code == EPERM;
        return !closed && question && question(error);
    });
    if (!closed) return removed;
    openAll(files, path);
    return files.remove(path, question);
}

} // namespace vt

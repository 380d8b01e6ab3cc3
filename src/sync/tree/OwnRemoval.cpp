#include "sync/tree/OwnRemoval.h"

#include "base/Paths.h"

#include <cerrno>
#include <vector>

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
    std::vector<std::string> folders;
    if (top->isDirectory()) folders.push_back(path);
    while (!folders.empty()) {
        const std::string folder = std::move(folders.back());
        folders.pop_back();
        const auto entries = files.list(folder);
        if (!entries) continue;
        for (const auto& entry : *entries) {
            std::string below = paths::join(folder, entry.name);
            open(files, below, entry.attributes);
            if (entry.attributes.isDirectory()) folders.push_back(std::move(below));
        }
    }
}

} // namespace

Result<void> removeOwn(FileService& files, const std::string& path, const RemovalQuestion& question) {
    bool closed = false;
    const auto removed = files.remove(path, [&](const Error& error) {
        closed = error.code == EACCES || error.code == EPERM;
        return !closed && question && question(error);
    });
    if (!closed) return removed;
    openAll(files, path);
    return files.remove(path, question);
}

} // namespace vt

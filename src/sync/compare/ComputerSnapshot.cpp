#include "sync/compare/ComputerSnapshot.h"

#include "base/Paths.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace vt {

namespace {

// A name's place is its block's number times 64 KiB plus its place in the block; no name is longer than a block.
constexpr std::uint32_t blockSize = 1U << 16U;

} // namespace

ComputerSnapshot::ComputerSnapshot(FileService& files, ClosedFolder closed, std::function<bool()> cancelled)
    : _files(files), _closed(std::move(closed)), _cancelled(std::move(cancelled)) {}

ComputerSnapshot::Index ComputerSnapshot::append(std::string_view name, const FileAttributes& attributes) {
    const std::string_view kept = name.substr(0, std::min<std::size_t>(name.size(), blockSize - 1));
    const auto length = static_cast<std::uint32_t>(kept.size());
    if (_arena.empty() || _arenaUsed + length > blockSize) {
        _arena.push_back(std::make_unique_for_overwrite<char[]>(blockSize));
        _arenaUsed = 0;
    }
    std::memcpy(_arena.back().get() + _arenaUsed, kept.data(), length);
    Entry entry;
    entry.nameStart = static_cast<std::uint32_t>(_arena.size() - 1) * blockSize + _arenaUsed;
    entry.nameLength = static_cast<std::uint16_t>(length);
    entry.kind = attributes.kind;
    entry.modified = attributes.modified.nanoseconds();
    entry.changed = attributes.statusChanged.nanoseconds();
    entry.size = attributes.isDirectory() ? 0 : attributes.size;
    _arenaUsed += length;
    _entries.push_back(entry);
    return static_cast<Index>(_entries.size() - 1);
}

std::string_view ComputerSnapshot::name(Index index) const {
    const Entry& entry = _entries[index];
    return {_arena[entry.nameStart / blockSize].get() + entry.nameStart % blockSize, entry.nameLength};
}

FileAttributes ComputerSnapshot::attributes(Index index) const {
    FileAttributes attributes;
    attributes.kind = kind(index);
    attributes.size = isDirectory(index) ? 0 : size(index);
    attributes.modified = modified(index);
    attributes.statusChanged = statusChanged(index);
    return attributes;
}

ComputerSnapshot::Index ComputerSnapshot::add(const std::string& path) {
    const auto attributes = _files.attributes(path);
    if (!attributes) return none;
    const Index root = append(paths::lastComponent(path), *attributes);
    if (!attributes->isDirectory()) return root;

    // Folders are listed one after the other, never nested, so that no depth of a tree needs a deep stack. Each keeps
    // its children side by side.
    std::vector<std::pair<Index, std::string>> open;
    if (_closed && _closed(*attributes))
        _entries[root].flags |= flagLeftOut;
    else
        open.emplace_back(root, path);
    while (!open.empty() && !(_cancelled && _cancelled())) {
        const auto [folder, folderPath] = std::move(open.back());
        open.pop_back();
        listFolder(folder, folderPath);
        const Index first = firstChild(folder);
        for (Index child = first; child < first + childCount(folder); ++child)
            if (isDirectory(child) && !leftOut(child)) open.emplace_back(child, paths::join(folderPath, name(child)));
    }
    _truncated = _truncated || !open.empty();
    sumUp(root, static_cast<Index>(_entries.size()));
    return root;
}

void ComputerSnapshot::listFolder(Index folder, const std::string& path) {
    const auto listing = _files.list(path);
    _entries[folder].firstChild = static_cast<Index>(_entries.size());
    if (!listing) {
        _entries[folder].flags |= flagUnlistable;
        return;
    }
    for (const DirectoryEntry& entry : *listing) {
        const Index child = append(entry.name, entry.attributes);
        if (entry.attributes.isDirectory() && _closed && _closed(entry.attributes))
            _entries[child].flags |= flagLeftOut;
    }
    _entries[folder].childCount = static_cast<Index>(listing->size());
}

// Children always stand behind their folder: one walk from the end adds every folder up after all below it.
void ComputerSnapshot::sumUp(Index root, Index end) {
    for (Index index = end; index-- > root;) {
        if (!isDirectory(index)) continue;
        std::uint64_t sum = 0;
        const Index first = firstChild(index);
        for (Index child = first; child < first + childCount(index); ++child) sum += estimate(child);
        _entries[index].size = sum;
    }
}

std::uint64_t ComputerSnapshot::estimate(Index index) const {
    switch (kind(index)) {
    case FileKind::directory:
        return size(index);
    case FileKind::regular:
        return roundedUpTo512(size(index));
    case FileKind::link:
    case FileKind::other:
        break;
    }
    return 0;
}

Date ComputerSnapshot::newestFileDate(Index index) const {
    if (!isDirectory(index)) return modified(index);
    Date newest = Date::missing();
    bool found = false;
    std::vector<Index> open{index};
    while (!open.empty()) {
        const Index folder = open.back();
        open.pop_back();
        const Index first = firstChild(folder);
        for (Index child = first; child < first + childCount(folder); ++child) {
            if (isDirectory(child)) {
                open.push_back(child);
            } else if (kind(child) == FileKind::regular) {
                newest = std::max(newest, modified(child));
                found = true;
            }
        }
    }
    return found ? newest : modified(index);
}

} // namespace vt

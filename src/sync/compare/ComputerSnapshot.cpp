#include "sync/compare/ComputerSnapshot.h"

#include "base/Paths.h"

#include <algorithm>
#include <utility>

namespace vt {

ComputerSnapshot::ComputerSnapshot(FileService& files, ClosedFolder closed, std::function<bool()> cancelled)
    : _files(files), _closed(std::move(closed)), _cancelled(std::move(cancelled)) {}

ComputerSnapshot::Index ComputerSnapshot::append(std::string_view name, const FileAttributes& attributes) {
    Entry entry;
    entry.nameStart = _names.add(name);
    entry.nameLength = NameArena::lengthOf(name);
    entry.kind = attributes.kind;
    entry.modified = attributes.modified.nanoseconds();
    entry.changed = attributes.statusChanged.nanoseconds();
    entry.size = attributes.isDirectory() ? 0 : attributes.size;
    _entries.push_back(entry);
    return static_cast<Index>(_entries.size() - 1);
}

std::string_view ComputerSnapshot::name(Index index) const {
    return _names.at(_entries[index].nameStart, _entries[index].nameLength);
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

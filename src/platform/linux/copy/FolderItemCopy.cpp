#include "platform/linux/copy/FolderItemCopy.h"

#include "platform/linux/copy/FileCopier.h"

#include <fcntl.h>
#include <utility>

namespace vt {

namespace {

bool isIn(const std::string& folder, const std::string& path, const std::string& name) {
    return path.size() == folder.size() + name.size() && path.starts_with(folder) && path.ends_with(name);
}

} // namespace

FolderItemCopy::FolderItemCopy(ItemCopyService& general, Means means, std::string source, std::string destination,
                               std::span<const DirectoryEntry> entries)
    : _general(general), _means(means), _source(std::move(source)), _destination(std::move(destination)),
      _entries(entries), _readAhead(entries) {
    _source += '/';
    _destination += '/';
}

CopyOutcome FolderItemCopy::copyItem(const std::string& source, const std::string& destination,
                                     CopyObserver& observer) {
    const std::size_t position = positionOf(source, destination);
    // What goes wrong with a folder, or with the drive, is told by the general copier.
    if (position == _entries.size() || _means.locator.driveIsGone() || !openFolders())
        return _general.copyItem(source, destination, observer);
    const bool readAhead = _readAhead.reached(position, _from.get());
    CopyEvents events(observer);
    FileCopier files(_means.experience, _means.capabilities, events);
    const ItemSpot from(_means.locator, _from.get(), source.c_str() + _source.size(), source);
    const ItemSpot to(_means.locator, _to.get(), destination.c_str() + _destination.size(), destination);
    const CopyEnding ending = files.copyFile(from, to, readAhead);
    return outcomeOf(ending, 0, false, files.bytes());
}

std::size_t FolderItemCopy::positionOf(const std::string& source, const std::string& destination) {
    for (std::size_t i = _next; i < _entries.size(); ++i) {
        const DirectoryEntry& entry = _entries[i];
        if (!isIn(_source, source, entry.name)) continue;
        _next = i + 1;
        return entry.attributes.isRegular() && isIn(_destination, destination, entry.name) ? i : _entries.size();
    }
    return _entries.size();
}

bool FolderItemCopy::openFolders() {
    if (_to.isOpen()) return true;
    Result<UniqueFd> from = _means.locator.open(_source, O_PATH | O_DIRECTORY);
    Result<UniqueFd> to = _means.locator.open(_destination, O_PATH | O_DIRECTORY);
    if (!from || !to) return false;
    _from = std::move(from).value();
    _to = std::move(to).value();
    return true;
}

} // namespace vt

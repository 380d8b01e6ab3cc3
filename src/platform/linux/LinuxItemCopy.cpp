#include "platform/linux/LinuxItemCopy.h"

#include "platform/linux/copy/FolderItemCopy.h"
#include "platform/linux/copy/TreeCopier.h"

#include <cerrno>

namespace vt {

LinuxItemCopy::LinuxItemCopy(const DriveRoot* drive, DestinationCapabilities capabilities)
    : _locator(drive), _capabilities(std::move(capabilities)) {}

CopyOutcome LinuxItemCopy::copyItem(const std::string& source, const std::string& destination, CopyObserver& observer) {
    CopyEvents events(observer);
    events.setItem(source, destination);
    const ItemSpot from(_locator, source);
    const ItemSpot to(_locator, destination);
    const Result<struct stat> status = from.status();
    if (!status) return outcomeOf(events.failed(CopyWhat::file, status.error()), 0, false, 0);

    FileCopier files(_experience, _capabilities, events);
    if (S_ISREG(status->st_mode)) {
        const CopyEnding ending = files.copyFile(from, to);
        return outcomeOf(ending, 0, false, files.bytes());
    }
    if (S_ISLNK(status->st_mode)) return outcomeOf(files.copyLink(from, to), 0, false, 0);
    if (!S_ISDIR(status->st_mode)) {
        const CopyEnding ending = events.failed(CopyWhat::file, from.error(EOPNOTSUPP));
        return outcomeOf(ending, 0, false, 0);
    }
    MetadataCopy metadata(_experience, _capabilities);
    TreeCopier tree(_locator, files, metadata, events);
    const CopyEnding ending = tree.copy(source, destination);
    if (tree.madeTop() && (ending == CopyEnding::quit || ending == CopyEnding::leftOut)) to.removeTree();
    return outcomeOf(ending, tree.leftOut(), tree.anyFailed(), files.bytes());
}

std::unique_ptr<ItemCopyService> LinuxItemCopy::forFolder(const std::string& source, const std::string& destination,
                                                          std::span<const DirectoryEntry> entries) {
    return std::make_unique<FolderItemCopy>(*this, FolderItemCopy::Means{_locator, _capabilities, _experience}, source,
                                            destination, entries);
}

} // namespace vt

// Copies the files of one folder into another, both of which it keeps open: no path is looked up for a file, and what
// comes next is read ahead. Whatever else an entry is, it goes to the general copier. Thread: one.
// Owns: the two handles, from the first file on. Errors: as ItemCopyService says.
#pragma once

#include "platform/ItemCopyService.h"
#include "platform/VolumeService.h"
#include "platform/linux/PathLocator.h"
#include "platform/linux/copy/CopyExperience.h"
#include "platform/linux/copy/ReadAhead.h"

namespace vt {

class FolderItemCopy final : public ItemCopyService {
  public:
    struct Means { // the general copier's own
        const PathLocator& locator;
        const DestinationCapabilities& capabilities;
        CopyExperience& experience;
    };
    FolderItemCopy(ItemCopyService& general, Means means, std::string source, std::string destination,
                   std::span<const DirectoryEntry> entries);

    CopyOutcome copyItem(const std::string& source, const std::string& destination, CopyObserver& observer) override;

  private:
    // The place of `source` among the entries, or their number when it is no file of this folder.
    [[nodiscard]] std::size_t positionOf(const std::string& source, const std::string& destination);
    [[nodiscard]] bool openFolders();

    ItemCopyService& _general;
    Means _means;
    std::string _source; // both end with a slash
    std::string _destination;
    std::span<const DirectoryEntry> _entries;
    std::size_t _next = 0;
    ReadAhead _readAhead;
    UniqueFd _from;
    UniqueFd _to;
};

} // namespace vt

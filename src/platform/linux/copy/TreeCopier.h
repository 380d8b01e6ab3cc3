// Copies a whole tree by directory handles: folders are made first, filled, and given their rights and dates last.
// Thread: one. Errors: each is raised once as an event; a left-out item leaves nothing, the rest goes on.
#pragma once

#include "platform/linux/DirectoryReader.h"
#include "platform/linux/FolderStack.h"
#include "platform/linux/copy/FileCopier.h"

#include <string>
#include <vector>

namespace vt {

class TreeCopier {
  public:
    TreeCopier(const PathLocator& locator, FileCopier& files, MetadataCopy& metadata, CopyEvents& events);

    [[nodiscard]] CopyEnding copy(const std::string& source, const std::string& destination);
    [[nodiscard]] std::uint64_t leftOut() const { return _leftOut; } // items below the top
    [[nodiscard]] bool madeTop() const { return _madeTop; }
    [[nodiscard]] bool anyFailed() const { return _anyFailed; }

  private:
    struct Level {
        std::vector<FolderName> names; // still to be copied, last one first
        struct stat status {};         // of the source folder
        std::size_t sourceLength = 0;  // of the parent's paths
        std::size_t destinationLength = 0;
    };
    [[nodiscard]] CopyEnding copyEntries();
    [[nodiscard]] CopyEnding copyEntry(const FolderName& entry);
    [[nodiscard]] CopyEnding startFolder(const char* name);
    [[nodiscard]] CopyEnding makeFolder(const char* name, Level& level);
    [[nodiscard]] CopyEnding finishFolder();
    [[nodiscard]] int giveRights();
    void note(CopyEnding ending);

    const PathLocator& _locator;
    FileCopier& _files;
    MetadataCopy& _metadata;
    CopyEvents& _events;
    std::vector<FolderStack> _stacks; // source and destination while a copy runs
    std::vector<Level> _levels;
    std::string _source;
    std::string _destination;
    dev_t _madeDevice = 0; // the top folder that was made, never copied into itself
    ino_t _madeInode = 0;
    std::uint64_t _leftOut = 0;
    bool _anyFailed = false;
    bool _madeTop = false;
};

} // namespace vt

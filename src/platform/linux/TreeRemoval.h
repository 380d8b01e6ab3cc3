// Removes one item or a whole tree, children first, by directory handles: no link is followed, no mount entered, no
// depth too great. Thread: one. Errors: the first one, when something stays.
#pragma once

#include "platform/FileService.h"
#include "platform/linux/FolderStack.h"
#include "platform/linux/PathLocator.h"

#include <optional>
#include <string>
#include <vector>

namespace vt {

class TreeRemoval {
  public:
    TreeRemoval(const PathLocator& locator, const RemovalQuestion& question);

    [[nodiscard]] Result<void> remove(const std::string& path);
    // The item `name` of an open folder; `path` is its whole path, for errors.
    [[nodiscard]] Result<void> remove(int folder, const char* name, const std::string& path);

  private:
    struct Level {
        std::vector<std::string> names; // still to be removed, last one first
        std::size_t pathLength = 0;     // of the folder's own path
        bool left = false;              // something below stays
    };
    [[nodiscard]] Result<void> removeTree(int folder, const char* name);
    void removeEntry(FolderStack& folders);
    void enter(FolderStack& folders, const std::string& name);
    [[nodiscard]] static int readInto(Level& level, int folder);
    void finishFolder(FolderStack& folders);
    void failed(int code, const std::string& path);

    const PathLocator& _locator;
    const RemovalQuestion& _question;
    std::string _path;
    std::vector<Level> _levels;
    std::optional<Error> _first;
    bool _stopped = false;
};

} // namespace vt

#include "platform/linux/LinuxWorkspace.h"

#include "platform/linux/Spawn.h"
#include "platform/linux/TrashFolder.h"

#include <utility>

namespace vt {

LinuxWorkspace::LinuxWorkspace(const SystemIdentity& system, std::string opener)
    : _system(system), _opener(std::move(opener)) {}

bool LinuxWorkspace::open(const std::string& pathOrUrl) {
    // A leading hyphen would be read as an option.
    if (pathOrUrl.empty() || pathOrUrl.front() == '-') return false;
    return startDetached({_opener, pathOrUrl}).ok();
}

Result<void> LinuxWorkspace::recycle(const std::string& path) {
    const auto trash = trashFolderFor(path, _system.dataHome(), _system.userId());
    if (!trash) return trash.error();
    return moveToTrash(path, *trash);
}

} // namespace vt

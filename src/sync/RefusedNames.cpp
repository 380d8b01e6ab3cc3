#include "sync/RefusedNames.h"

#include "base/Paths.h"
#include "base/Text.h"

#include <algorithm>

namespace vt {

bool RefusedNames::refuses(std::string_view names) const {
    while (!names.empty()) {
        const std::string_view name = names.substr(0, names.find('/'));
        if (!_drive.holdsName(name)) return true;
        names.remove_prefix(std::min(names.size(), name.size() + 1));
    }
    return false;
}

void RefusedNames::leaveOut(const std::string& path, std::uint64_t bytes) {
    _count(bytes);
    if (_said.insert(std::hash<std::string>()(path)).second)
        _log.logMessage(
            localisedText("\"%@\" is left out: the drive cannot hold its name.", {paths::displayText(path)}));
}

} // namespace vt

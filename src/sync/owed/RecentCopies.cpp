#include "sync/owed/RecentCopies.h"

namespace vt {

void RecentCopies::wasCopied(const std::string& path, const FileAttributes& source) {
    const bool recent = source.isRegular() && source.modified > _since;
    if (recent && _copies.size() < most)
        _copies.insert_or_assign(path, Copied{source.size, source.modified, source.statusChanged});
    else
        _copies.erase(path);
}

bool RecentCopies::isCopyOf(const std::string& path, const FileAttributes& local) const {
    const auto found = _copies.find(path);
    return found != _copies.end() && found->second.size == local.size && found->second.modified == local.modified &&
           found->second.statusChanged == local.statusChanged;
}

} // namespace vt

#include "sync/owed/CopyDoubts.h"

#include "base/Paths.h"

#include <algorithm>

namespace vt {

namespace {

// When the drive's entry changed, as far as the drive keeps that; null where it keeps nothing.
std::optional<Date> changeTime(const FileAttributes& present) {
    const Date epoch = Date::fromNanoseconds(0);
    if (present.statusChanged > epoch) return present.statusChanged;
    if (present.born > epoch) return present.born;
    return std::nullopt;
}

} // namespace

CopyDoubts::CopyDoubts(const CopyJournal::Leftovers& leftovers) : _leftovers(leftovers) {
    for (const auto& [items, start] : leftovers.groups)
        for (const std::string& item : items) {
            const auto known = _since.emplace(paths::join(item, ""), start).first; // without a slash at its end
            known->second = std::min(known->second, start);
        }
}

bool CopyDoubts::mayBeShort(const std::string& path, const FileAttributes& present) const {
    if (_leftovers.files.contains(path)) return true;
    if (_since.empty()) return false;
    const auto changed = changeTime(present);
    // As many look-ups as the path has components: the items may be many.
    for (std::string above = paths::join(path, ""); above.size() > 1; above = paths::parent(above)) {
        const auto group = _since.find(above);
        if (group != _since.end() && (!changed || *changed >= group->second)) return true;
    }
    return false;
}

} // namespace vt

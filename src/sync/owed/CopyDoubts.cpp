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

bool CopyDoubts::mayBeShort(const std::string& path, const FileAttributes& present) const {
    if (_leftovers.files.contains(path)) return true;
    return std::any_of(_leftovers.groups.begin(), _leftovers.groups.end(), [&](const auto& group) {
        const auto changed = changeTime(present);
        if (changed && *changed < group.start) return false;
        return std::any_of(group.items.begin(), group.items.end(),
                           [&](const std::string& item) { return paths::isAtOrBelow(path, item); });
    });
}

} // namespace vt

#include "app/ApplicationIdentity.h"

#include "base/Text.h"

namespace vt {

std::string ApplicationIdentity::uniqueHostUserId() const {
    const std::lock_guard lock(_mutex);
    if (_identity.empty())
        _identity = formatText("%@-%d", {_system.ethernetAddress().value_or("000000000000"), _system.userId()});
    return _identity;
}

void ApplicationIdentity::forget() {
    const std::lock_guard lock(_mutex);
    _identity.clear();
}

} // namespace vt

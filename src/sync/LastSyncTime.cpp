#include "sync/LastSyncTime.h"

namespace vt {

std::optional<Date> LastSyncTime::get() {
    {
        const std::scoped_lock lock(_mutex);
        if (_time) return _time;
    }
    const auto stored = _configuration->lastSyncDateForUser();
    const std::scoped_lock lock(_mutex);
    if (!_time) _time = stored;
    return _time;
}

void LastSyncTime::update(Date date) {
    const Date whole = date.roundedDownToSecond();
    {
        const std::scoped_lock lock(_mutex);
        _time = whole;
    }
    _configuration->setLastSyncDateForUser(whole);
}

void LastSyncTime::restore(std::optional<Date> previous) {
    {
        const std::scoped_lock lock(_mutex);
        _time = previous;
    }
    if (previous)
        _configuration->setLastSyncDateForUser(*previous);
    else
        _configuration->removeLastSyncDateForUser();
}

} // namespace vt

#include "platform/linux/volumes/CurrentMounts.h"

#include <fcntl.h>
#include <poll.h>
#include <utility>

namespace vt {

namespace {

constexpr const char* tableFile = "/proc/self/mountinfo";
constexpr int mostReadings = 8;

Result<CurrentMounts::Table> shared(Result<MountTable> table) {
    if (!table) return table.error();
    return std::make_shared<const MountTable>(std::move(*table));
}

} // namespace

// The kernel remembers for each open descriptor of the table what it has told.
bool CurrentMounts::changedSinceLastQuestion() const {
    pollfd question{_changes.get(), POLLPRI, 0};
    return ::poll(&question, 1, 0) != 0; // a failure counts as a change
}

Result<CurrentMounts::Table> CurrentMounts::get() {
    const std::lock_guard guard(_lock);
    if (!_changes.isOpen()) {
        _table = nullptr;
        _changes = UniqueFd(::open(tableFile, O_RDONLY | O_CLOEXEC));
        if (!_changes.isOpen()) return shared(readSettledMountTable());
    }
    bool current = !changedSinceLastQuestion() && _table != nullptr;
    for (int reading = 0; !current && reading < mostReadings; ++reading) {
        auto table = shared(readMountTable());
        _table = table ? *table : nullptr;
        if (!table) return table;
        current = !changedSinceLastQuestion();
    }
    // A table that does not rest is read again with the next question.
    return current ? _table : std::exchange(_table, nullptr);
}

void CurrentMounts::forget() {
    const std::lock_guard guard(_lock);
    _table = nullptr;
}

} // namespace vt

#include "sync/DriveGuard.h"

#include <cerrno>
#include <utility>

namespace vt {

DriveGuard::DriveGuard(std::string mountPoint, DriveFilesFactory& factory)
    : _mountPoint(std::move(mountPoint)), _factory(factory) {}

Error DriveGuard::deviceGone() const {
    return Error::fromErrno(ENODEV, _mountPoint);
}

void DriveGuard::recordIdentity() {
    auto directory = _factory.open(_mountPoint);
    if (!directory) return;
    auto identity = (*directory)->identity();
    if (!identity) return;
    const std::scoped_lock lock(_mutex);
    _identity = std::move(*identity);
}

Result<int> DriveGuard::handle() const {
    const std::scoped_lock lock(_mutex);
    if (_gone.load() || !_directory) return deviceGone();
    return _directory->descriptor();
}

Result<void> DriveGuard::beginSession() {
    if (_gone.load()) return deviceGone();
    {
        const std::scoped_lock lock(_mutex);
        if (_directory) {
            ++_sessions;
            return {};
        }
    }
    // Opened without the lock: a drive that hangs must not hold up a departure.
    auto directory = _factory.open(_mountPoint);
    if (!directory) return deviceGone();
    auto identity = (*directory)->identity();
    if (!identity) return deviceGone();
    const std::scoped_lock lock(_mutex);
    if (_identity.empty() || *identity != _identity) return deviceGone();
    if (!_directory) _directory = std::move(*directory);
    ++_sessions;
    return {};
}

void DriveGuard::endSession() {
    std::unique_ptr<DirectoryHandle> last; // closed after the lock is released
    const std::scoped_lock lock(_mutex);
    if (_sessions > 0 && --_sessions == 0) last = std::move(_directory);
}

} // namespace vt

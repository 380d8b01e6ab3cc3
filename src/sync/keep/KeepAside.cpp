#include "sync/keep/KeepAside.h"

#include "base/Paths.h"
#include "base/Text.h"
#include "config/KeepAside.h"

#include <cerrno>

namespace vt {

std::optional<std::string> KeepAside::setAsideFrom(const std::string& from, const std::string& path) {
    if (!_services.enabled()) return std::nullopt;
    const auto item = _services.files.attributes(from);
    if (!item && item.code() == ENOENT) return std::nullopt;
    // A locked item cannot be renamed; what is kept is locked again.
    const bool locked = item && item->immutable && setLock(from, false);
    Result<std::string> kept = Error::fromErrno(EXDEV, path);
    if (paths::isAtOrBelow(path, _mountPoint)) {
        const std::string onDrive = path.substr(std::min(path.size(), _mountPoint.size() + 1));
        kept = keepAsideFrom(_services.files, _mountPoint, from, onDrive, _services.clock.now());
    }
    if (locked) (void)setLock(kept ? *kept : from, true);
    if (!kept) {
        _services.logLine(
            localisedText("\"%1$@\" could not be kept aside - %2$@.", {paths::displayText(path), kept.error().text}));
        return std::nullopt;
    }
    _services.logLine(
        localisedText("Kept the drive's \"%1$@\" as \"%2$@\".", {paths::displayText(path), paths::displayText(*kept)}));
    return *kept;
}

bool KeepAside::putBack(const std::string& kept, const std::string& path) {
    const auto item = _services.files.attributes(kept);
    const bool locked = item && item->immutable && setLock(kept, false);
    const auto moved = _services.files.move(kept, path, Replace::never);
    if (locked) (void)setLock(moved ? path : kept, true);
    if (!moved)
        _services.logLine(localisedText("\"%1$@\" stays kept as \"%2$@\" - %3$@.",
                                        {paths::displayText(path), paths::displayText(kept), moved.error().text}));
    return moved.ok();
}

bool KeepAside::setLock(const std::string& path, bool locked) const {
    return _services.files.setImmutable(path, locked).ok();
}

} // namespace vt

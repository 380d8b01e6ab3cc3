#include "sync/workfolders/CommitGuard.h"

#include "base/Paths.h"
#include "base/Text.h"

#include <algorithm>

namespace vt {

CommitGuard::CommitGuard(std::string target, std::string driveWork, Services services)
    : _target(std::move(target)), _driveWork(std::move(driveWork)), _services(std::move(services)) {}

void CommitGuard::clear() {
    _incomplete.clear();
}

std::string CommitGuard::finalPath(const std::string& staged) const {
    if (!staged.starts_with(_driveWork)) return staged;
    return _target + staged.substr(_driveWork.size());
}

bool CommitGuard::isStagedWhole(const std::string& staged) const {
    return !_services.isOfAnItem || _services.isOfAnItem(finalPath(staged));
}

bool CommitGuard::aboutToReplace(const std::string& staged, const FileAttributes& stagedAttributes,
                                 const std::string& destination, const FileAttributes& present) {
    // Content that a power cut could still take must not be all that is left of an item.
    const bool durable = _services.journal == nullptr || _services.journal->flushBeforeReplacing().ok();
    if (!_services.keepAside.enabled()) return false;
    const bool equal = stagedAttributes.isRegular() && present.isRegular() && stagedAttributes.size == present.size &&
                       stagedAttributes.modified == present.modified;
    if (equal) return false;
    return !durable || _incomplete.contains(staged) || !isAsSeen(stagedAttributes, destination, present);
}

bool CommitGuard::isAsSeen(const FileAttributes& staged, const std::string& destination,
                           const FileAttributes& present) const {
    const auto seen = _services.seen ? _services.seen(destination) : std::nullopt;
    if (const auto written = _services.journal != nullptr ? _services.journal->dateGiven(destination) : std::nullopt) {
        // A copy of ours that a crash may have left short is worth nothing, unless the computer has no more than an
        // older file to put in its place; so is the older copy that it did not come to replace. One that changed since
        // is the person's.
        if (isLater(present, staged)) return false;
        // A package's own date does not tell an edit inside it.
        if (isDateGiven(present.modified, *written))
            return !present.isDirectory() || !seen || !seen->changedOnBothSides;
        if (!seen || !seen->compared || _services.journal->dateReplaced(destination) != seen->compared) return false;
    }
    if (!seen) {
        _services.logLine(localisedText("\"%@\" appeared on the drive while it was synchronized.",
                                        {paths::displayText(destination)}));
        return false;
    }
    if (seen->changedOnBothSides) return false;
    const bool same = seen->modified.value_or(present.modified) == present.modified &&
                      seen->size.value_or(present.size) == present.size;
    if (!same)
        _services.logLine(
            localisedText("\"%@\" changed on the drive while it was synchronized.", {paths::displayText(destination)}));
    return same;
}

std::optional<Date> CommitGuard::olderCopyAt(const std::string& path) const {
    const auto seen = _services.seen ? _services.seen(path) : std::nullopt;
    if (!seen || seen->changedOnBothSides || !seen->compared) return std::nullopt;
    const auto written = _services.journal->dateGiven(path);
    const bool ours =
        !written || isDateGiven(*seen->compared, *written) || _services.journal->dateReplaced(path) == seen->compared;
    return ours ? seen->compared : std::nullopt;
}

std::int64_t CommitGuard::granularity() const {
    return std::max<std::int64_t>(_services.destination != nullptr ? _services.destination->dateGranularity : 1, 1);
}

// The drive may have kept the date that a copy was given less exactly, never later.
bool CommitGuard::isDateGiven(Date present, Date given) const {
    const std::int64_t lost = given.nanoseconds() - present.nanoseconds();
    return lost >= 0 && lost < granularity();
}

// By more than the drive may have added to the date of either.
bool CommitGuard::isLater(const FileAttributes& present, const FileAttributes& staged) const {
    return present.isRegular() && staged.isRegular() &&
           present.modified.nanoseconds() - staged.modified.nanoseconds() >= granularity();
}

std::optional<std::string> CommitGuard::keep(const std::string& from, const std::string& destination) {
    return _services.keepAside.setAsideFrom(from, destination);
}

void CommitGuard::putBack(const std::string& kept, const std::string& destination) {
    _services.keepAside.putBack(kept, destination);
}

Result<std::string> CommitGuard::standBeside(const std::string& destination) {
    return _services.besides.stand(destination);
}

bool CommitGuard::settleBeside(const std::string& beside, const std::string& destination, bool replaced) {
    return _services.besides.settle(beside, destination, replaced);
}

void CommitGuard::itemWillBeCopied(const std::string&) {
    if (_services.journal != nullptr) _services.journal->beforeCopy();
}

void CommitGuard::itemWasCopied(const std::string& staged, const FileAttributes& source, std::uint64_t bytes,
                                bool incomplete) {
    if (incomplete) _incomplete.insert(staged);
    if (!incomplete && _services.wasCopied) _services.wasCopied(finalPath(staged), source);
    if (_services.journal == nullptr) return;
    const std::string path = finalPath(staged);
    _services.journal->afterCopy(path, source.modified, bytes, olderCopyAt(path));
}

} // namespace vt

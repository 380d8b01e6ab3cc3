#include "sync/tree/Replacement.h"

#include "sync/tree/OwnRemoval.h"

#include <cerrno>

namespace vt {
namespace {

bool cannotExchange(int code) {
    return code == EINVAL || code == ENOSYS || code == EOPNOTSUPP || code == ENOTSUP;
}

} // namespace

Replacement::Outcome Replacement::replace(const std::string& staged, const FileAttributes& stagedAttributes,
                                          const std::string& destination, const FileAttributes& present) {
    const bool keepOld =
        _services.guard != nullptr && _services.guard->aboutToReplace(staged, stagedAttributes, destination, present);
    const bool plainFiles = !stagedAttributes.isDirectory() && !present.isDirectory();
    if (plainFiles && !keepOld) return renameOver(staged, destination);
    return exchange(staged, destination, keepOld, plainFiles);
}

Replacement::Outcome Replacement::place(const std::string& staged, const std::string& destination) {
    const auto moved = _services.files.move(staged, destination, Replace::never);
    if (moved) return {true, true};
    return {false, _calls.proceedsAfterMoving(moved.error(), staged, destination)};
}

Replacement::Outcome Replacement::renameOver(const std::string& staged, const std::string& destination) {
    const auto moved = _services.files.move(staged, destination, Replace::always);
    if (moved) return {true, true};
    return {false, _calls.proceedsAfterMoving(moved.error(), staged, destination)};
}

Replacement::Outcome Replacement::exchange(const std::string& staged, const std::string& destination, bool keepOld,
                                           bool plainFiles) {
    const auto moved = _services.files.move(staged, destination, Replace::exchange);
    if (!moved && cannotExchange(moved.code())) return withoutExchange(staged, destination, keepOld, plainFiles);
    if (!moved) return {false, _calls.proceedsAfterMoving(moved.error(), staged, destination)};
    // The old content now lies where the new one was staged.
    if (keepOld && _services.guard->keep(staged, destination)) return {true, true};
    return {true, removeOld(staged)};
}

Replacement::Outcome Replacement::withoutExchange(const std::string& staged, const std::string& destination,
                                                  bool keepOld, bool plainFiles) {
    if (keepOld) {
        if (const auto kept = _services.guard->keep(destination, destination)) {
            const Outcome outcome = place(staged, destination);
            if (!outcome.moved) _services.guard->putBack(*kept, destination);
            return outcome;
        }
    }
    if (plainFiles) return renameOver(staged, destination);
    return besideOld(staged, destination);
}

Replacement::Outcome Replacement::besideOld(const std::string& staged, const std::string& destination) {
    if (_services.guard == nullptr) return removeFirst(staged, destination);
    const auto beside = _services.guard->standBeside(destination);
    // Removed first, the old content would be all that a kill leaves of the item: nothing.
    if (!beside) return {false, _calls.proceedsAfterMoving(beside.error(), staged, destination)};
    Outcome outcome = place(staged, destination);
    const bool settled = _services.guard->settleBeside(*beside, destination, outcome.moved);
    if (outcome.moved && !settled) outcome.result = false;
    return outcome;
}

Replacement::Outcome Replacement::removeFirst(const std::string& staged, const std::string& destination) {
    if (!removeOld(destination)) return {false, false};
    return place(staged, destination);
}

bool Replacement::removeOld(const std::string& path) {
    return removeOwn(_services.files, path, [&](const Error& error) { return _calls.proceedsAfterRemoving(error); })
        .ok();
}

} // namespace vt

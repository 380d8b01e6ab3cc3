#include "sync/tree/MergingMove.h"

#include "base/Paths.h"
#include "config/utilities/DateConversions.h"
#include "config/utilities/FileCreation.h"

#include <cerrno>

namespace vt {

MergingMove::MergingMove(const TreeOperations::Services& services, MRLErrorReporter* handler, bool toPushkey)
    : _services(services), _calls(handler), _questions(services), _replacement(services, _calls),
      _toPushkey(toPushkey) {}

bool MergingMove::move(const std::string& source, const std::string& destination, const FileAttributes* known) {
    _source = source;
    _destination = destination;
    std::optional<bool> answer = enter(known, false);
    while (!_levels.empty()) {
        if (answer) takeAnswer(*answer);
        Level& level = _levels.back();
        if (level.next < level.entries.size())
            answer = nextEntry(level);
        else
            answer = endLevel();
    }
    return answer.value_or(false);
}

std::optional<bool> MergingMove::enter(const FileAttributes* known, bool parentExists) {
    const auto source = known != nullptr ? std::optional(*known) : _questions.look(_source);
    if (!source) return false;
    if (source->immutable && !setLock(_source, false)) {
        _services.log.logMessage("unlocking source failed");
        return false;
    }
    const auto present = _questions.look(_destination);
    if (!present) return moveToFreePlace(source->immutable, parentExists);
    const bool plain = mergesAsFolder(*source);
    const bool ontoPlain = ItemQuestions::isPlainFolder(_destination, *present) || (plain && present->isDirectory());
    if (plain != ontoPlain)
        return _calls.proceedsAfter({_source, _destination, Error::fromErrno(EISDIR, _source).text, EISDIR});
    if (plain) return mergeFolder();
    return replace(*source, *present);
}

bool MergingMove::mergesAsFolder(const FileAttributes& source) const {
    if (!source.isDirectory()) return false;
    return ItemQuestions::isPlainFolder(_source, source) ||
           (_services.guard != nullptr && !_services.guard->isStagedWhole(_source));
}

bool MergingMove::moveToFreePlace(bool locked, bool parentExists) {
    const std::string parent = parentExists ? std::string() : paths::parent(_destination);
    // When this fails the move fails too, and is asked about then.
    if (!parent.empty()) createDirectoryAtPath(_services.files, parent, nullptr, true, _toPushkey);
    const auto outcome = _replacement.place(_source, _destination);
    bool result = outcome.result;
    if (outcome.moved && locked) result = setLock(_destination, true);
    if (result && _toPushkey) setSyncBackupDateTo(Date::missing(), _destination);
    return result;
}

bool MergingMove::replace(const FileAttributes& source, const FileAttributes& present) {
    if (present.immutable && !setLock(_destination, false)) return false;
    const auto outcome = _replacement.replace(_source, source, _destination, present);
    // Locking again does not decide the result here, other than at a free place.
    if (outcome.moved && source.immutable) (void)setLock(_destination, true);
    // What stays keeps its lock.
    if (!outcome.moved && present.immutable) (void)setLock(_destination, true);
    if (outcome.moved && _toPushkey) setSyncBackupDateTo(Date::missing(), _destination);
    return outcome.result;
}

std::optional<bool> MergingMove::mergeFolder() {
    auto entries = _services.files.list(_source);
    if (!entries || entries->empty()) return true;
    Level level;
    level.entries = std::move(*entries);
    level.sourceLength = _source.size();
    level.destinationLength = _destination.size();
    _levels.push_back(std::move(level));
    return std::nullopt;
}

std::optional<bool> MergingMove::nextEntry(Level& level) {
    const DirectoryEntry& entry = level.entries[level.next++];
    _source.append("/").append(entry.name);
    _destination.append("/").append(entry.name);
    return enter(&entry.attributes, true);
}

void MergingMove::takeAnswer(bool answer) {
    Level& level = _levels.back();
    level.result = answer;
    if (!answer) level.next = level.entries.size();
    _source.resize(level.sourceLength);
    _destination.resize(level.destinationLength);
}

bool MergingMove::endLevel() {
    const Level level = std::move(_levels.back());
    _levels.pop_back();
    return level.result;
}

bool MergingMove::setLock(const std::string& path, bool locked) {
    return _services.files.setImmutable(path, locked).ok();
}

} // namespace vt

#include "platform/linux/copy/TreeCopier.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace vt {

namespace {

enum Side : std::size_t { from, to };

NameKind kindOf(const struct stat& status) {
    if (S_ISREG(status.st_mode)) return NameKind::file;
    if (S_ISDIR(status.st_mode)) return NameKind::folder;
    return S_ISLNK(status.st_mode) ? NameKind::link : NameKind::other;
}

Result<FolderStack> stackAbove(const PathLocator& locator, const Place& place, const std::string& path,
                               beneath::Mounts mounts) {
    UniqueFd folder;
    const int code = beneath::openAt(place.directory(), ".", O_PATH | O_DIRECTORY, 0, folder);
    if (code != 0) return locator.error(code, path);
    return FolderStack(std::move(folder), mounts);
}

} // namespace

TreeCopier::TreeCopier(const PathLocator& locator, FileCopier& files, MetadataCopy& metadata, CopyEvents& events)
    : _locator(locator), _files(files), _metadata(metadata), _events(events) {}

CopyEnding TreeCopier::copy(const std::string& source, const std::string& destination) {
    _events.setItem(source, destination);
    Result<Place> sourcePlace = _locator.placeInFolder(source);
    if (!sourcePlace) return _events.failed(CopyWhat::folder, sourcePlace.error());
    Result<Place> place = _locator.placeInFolder(destination);
    if (!place) return _events.failed(CopyWhat::folder, place.error());
    Result<FolderStack> sources = stackAbove(_locator, *sourcePlace, source, beneath::Mounts::cross);
    if (!sources) return _events.failed(CopyWhat::folder, sources.error());
    Result<FolderStack> destinations = stackAbove(_locator, *place, destination, beneath::Mounts::stay);
    if (!destinations) return _events.failed(CopyWhat::folder, destinations.error());
    _stacks.push_back(std::move(sources).value());
    _stacks.push_back(std::move(destinations).value());

    _source = source;
    _destination = destination;
    Level level;
    level.sourceLength = source.size();
    level.destinationLength = destination.size();
    int code = _stacks[from].enter(sourcePlace->name());
    if (code == 0 && ::fstat(_stacks[from].current(), &level.status) != 0) code = errno;
    if (code != 0) return _events.failed(CopyWhat::folder, _locator.error(code, source));
    const CopyEnding ending = makeFolder(place->name(), level);
    if (ending != CopyEnding::made) return ending;
    struct stat made {};
    if (::fstat(_stacks[to].current(), &made) == 0) {
        _madeDevice = made.st_dev;
        _madeInode = made.st_ino;
    }
    return copyEntries();
}

CopyEnding TreeCopier::copyEntries() {
    for (;;) {
        CopyEnding ending = CopyEnding::made;
        if (_levels.back().names.empty()) {
            const bool top = _levels.size() == 1;
            ending = finishFolder();
            if (top) return ending;
        } else {
            const FolderName entry = std::move(_levels.back().names.back());
            _levels.back().names.pop_back();
            ending = copyEntry(entry);
        }
        if (ending == CopyEnding::quit) return ending;
        note(ending);
    }
}

CopyEnding TreeCopier::copyEntry(const FolderName& entry) {
    const std::size_t sourceLength = _source.size();
    const std::size_t destinationLength = _destination.size();
    _source.append("/").append(entry.name);
    _destination.append("/").append(entry.name);
    const char* name = entry.name.c_str();
    const ItemSpot source(_locator, _stacks[from].current(), name, _source);
    const ItemSpot destination(_locator, _stacks[to].current(), name, _destination);
    NameKind kind = entry.kind;
    CopyEnding ending = CopyEnding::made;
    _events.setItem(_source, _destination);
    if (kind == NameKind::unknown) {
        const Result<struct stat> status = source.status();
        if (status) kind = kindOf(*status);
        // A vanished entry was never there; anything else that cannot be asked about fails.
        else if (status.error().code != ENOENT)
            ending = _events.failed(CopyWhat::file, status.error());
    }
    if (kind == NameKind::file) ending = _files.copyFile(source, destination);
    if (kind == NameKind::link) ending = _files.copyLink(source, destination);
    if (kind == NameKind::other) ending = _events.failed(CopyWhat::file, source.error(EOPNOTSUPP));
    if (kind == NameKind::folder) {
        ending = startFolder(name);
        if (ending == CopyEnding::made) {
            _levels.back().sourceLength = sourceLength;
            _levels.back().destinationLength = destinationLength;
            return ending;
        }
    }
    _source.resize(sourceLength);
    _destination.resize(destinationLength);
    return ending;
}

CopyEnding TreeCopier::startFolder(const char* name) {
    Level level;
    const int code = _stacks[from].enter(name);
    if (code != 0) return _events.failed(CopyWhat::folder, _locator.error(code, _source));
    CopyEnding ending = CopyEnding::made;
    if (::fstat(_stacks[from].current(), &level.status) != 0)
        ending = _events.failed(CopyWhat::folder, _locator.error(errno, _source));
    else if (level.status.st_dev == _madeDevice && level.status.st_ino == _madeInode)
        ending = _events.failed(CopyWhat::folder, _locator.error(ELOOP, _source));
    if (ending == CopyEnding::made) ending = makeFolder(name, level);
    if (ending != CopyEnding::made && _stacks[from].leave() != 0) return CopyEnding::quit;
    return ending;
}

CopyEnding TreeCopier::makeFolder(const char* name, Level& level) {
    const CopyAnswer answer = _events.raise(CopyWhat::folder, CopyStage::start, 0, 0);
    if (answer != CopyAnswer::goOn) return CopyEvents::endingOf(answer);
    int code = readNames(_stacks[from].current(), level.names);
    if (code != 0) return _events.failed(CopyWhat::folder, _locator.error(code, _source));
    // Taken from the back, so that the order stays the file system's own.
    std::vector<FolderName>(level.names.rbegin(), level.names.rend()).swap(level.names);
    // Nobody else looks in before the folder has its owner and rights.
    if (::mkdirat(_stacks[to].current(), name, 0700) != 0)
        return _events.failed(CopyWhat::folder, _locator.error(errno, _destination));
    if (_levels.empty()) _madeTop = true;
    code = _stacks[to].enter(name);
    if (code != 0) {
        const CopyEnding ending = _events.failed(CopyWhat::folder, _locator.error(code, _destination));
        (void)::unlinkat(_stacks[to].current(), name, AT_REMOVEDIR);
        return ending;
    }
    _levels.push_back(std::move(level));
    return _events.raise(CopyWhat::folder, CopyStage::finish, 0, 0) == CopyAnswer::quit ? CopyEnding::quit
                                                                                        : CopyEnding::made;
}

CopyEnding TreeCopier::finishFolder() {
    _events.setItem(_source, _destination);
    CopyEnding ending = CopyEnding::made;
    const CopyAnswer answer = _events.raise(CopyWhat::folderCleanup, CopyStage::start, 0, 0);
    if (answer != CopyAnswer::goOn) ending = CopyEvents::endingOf(answer);
    if (ending == CopyEnding::made)
        if (const int code = giveRights(); code != 0)
            ending = _events.failed(CopyWhat::folderCleanup, _locator.error(code, _destination));
    if (ending == CopyEnding::made &&
        _events.raise(CopyWhat::folderCleanup, CopyStage::finish, 0, 0) == CopyAnswer::quit)
        ending = CopyEnding::quit;
    const Level level = std::move(_levels.back());
    _levels.pop_back();
    // The caller removes a top folder that does not stay.
    if (_levels.empty() || ending == CopyEnding::quit) return ending;
    const std::string name = _destination.substr(level.destinationLength + 1);
    if (const int code = std::max(_stacks[from].leave(), _stacks[to].leave()); code != 0) {
        (void)_events.failed(CopyWhat::folder, _locator.error(code, _source));
        return CopyEnding::quit;
    }
    if (ending == CopyEnding::leftOut)
        ItemSpot(_locator, _stacks[to].current(), name.c_str(), _destination).removeTree();
    _source.resize(level.sourceLength);
    _destination.resize(level.destinationLength);
    return ending;
}

int TreeCopier::giveRights() {
    struct stat made {};
    if (::fstat(_stacks[to].current(), &made) != 0) return errno;
    _metadata.copyRights(_stacks[from].current(), _levels.back().status, _stacks[to].current(), made);
    return _metadata.setDates(_stacks[to].current(), _levels.back().status);
}

void TreeCopier::note(CopyEnding ending) {
    if (ending == CopyEnding::leftOut) ++_leftOut;
    if (ending == CopyEnding::failed) _anyFailed = true;
}

} // namespace vt

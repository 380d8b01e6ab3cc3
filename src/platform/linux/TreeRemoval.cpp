#include "platform/linux/TreeRemoval.h"

#include "platform/linux/DirectoryReader.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace vt {

namespace {

int unlinkAt(int folder, const char* name, int flags) {
    return ::unlinkat(folder, name, flags) == 0 ? 0 : errno;
}

// What a system answers when the item that should be unlinked is a folder; EPERM also means "not allowed".
bool mayBeFolder(int code) {
    return code == EISDIR || code == EPERM;
}

} // namespace

TreeRemoval::TreeRemoval(const PathLocator& locator, const RemovalQuestion& question)
    : _locator(locator), _question(question) {}

Result<void> TreeRemoval::remove(const std::string& path) {
    {
        Result<Place> place = _locator.place(path);
        if (!place) return place.error();
        if (std::strcmp(place->name(), ".") == 0) return _locator.error(EBUSY, path);
        const int code = unlinkAt(place->directory(), place->name(), 0);
        if (code == 0) return {};
        if (!mayBeFolder(code)) {
            failed(code, path);
            return *_first;
        }
    }
    Result<Place> place = _locator.placeInFolder(path);
    if (!place) return place.error();
    return remove(place->directory(), place->name(), path);
}

Result<void> TreeRemoval::remove(int folder, const char* name, const std::string& path) {
    _path = path;
    const int code = unlinkAt(folder, name, 0);
    if (code == 0) return {};
    if (mayBeFolder(code)) return removeTree(folder, name);
    failed(code, path);
    return *_first;
}

Result<void> TreeRemoval::removeTree(int folder, const char* name) {
    UniqueFd above;
    int code = beneath::openAt(folder, ".", O_RDONLY | O_DIRECTORY, 0, above);
    // The parent may be searchable but not readable; a handle without reading serves as well.
    if (code == EACCES) code = beneath::openAt(folder, ".", O_PATH | O_DIRECTORY, 0, above);
    if (code != 0) {
        failed(code, _path);
        return *_first;
    }
    FolderStack folders(std::move(above), beneath::Mounts::stay);
    _levels.push_back({{}, _path.size() - std::strlen(name), false});
    while (!_path.empty() && _path.back() == '/') _path.pop_back();
    _path.resize(_levels.back().pathLength);
    enter(folders, name);
    while (!_stopped && _levels.size() > 1) {
        if (_levels.back().names.empty())
            finishFolder(folders);
        else
            removeEntry(folders);
    }
    if (_first) return *_first;
    return {};
}

void TreeRemoval::removeEntry(FolderStack& folders) {
    const std::string name = std::move(_levels.back().names.back());
    _levels.back().names.pop_back();
    const int code = unlinkAt(folders.current(), name.c_str(), 0);
    if (code == 0 || code == ENOENT) return;
    if (mayBeFolder(code)) {
        enter(folders, name);
        return;
    }
    failed(code, _path + "/" + name);
}

void TreeRemoval::enter(FolderStack& folders, const std::string& name) {
    Level level;
    level.pathLength = _path.size();
    if (_path.empty() || _path.back() != '/') _path += '/';
    _path += name;
    int code = folders.enter(name.c_str());
    if (code == 0) {
        code = readInto(level, folders.current());
        if (code == 0) {
            _levels.push_back(std::move(level));
            return;
        }
        if (const int back = folders.leave(); back != 0) _stopped = true;
    } else if (code == EACCES) {
        // A folder that may not be read goes all the same when it is empty.
        if (unlinkAt(folders.current(), name.c_str(), AT_REMOVEDIR) == 0) code = ENOENT;
    } else if (code == ENOTDIR || code == ELOOP) {
        code = EPERM; // no folder after all: it may not be unlinked
    }
    if (code != ENOENT) failed(code, _path);
    _path.resize(level.pathLength);
}

int TreeRemoval::readInto(Level& level, int folder) {
    std::vector<FolderName> found;
    if (const int code = readNames(folder, found); code != 0) return code;
    level.names.reserve(found.size());
    // Taken from the back, so the order is the file system's own.
    for (auto entry = found.rbegin(); entry != found.rend(); ++entry) level.names.push_back(std::move(entry->name));
    return 0;
}

void TreeRemoval::finishFolder(FolderStack& folders) {
    const Level done = std::move(_levels.back());
    _levels.pop_back();
    const std::string name = _path.substr(_path.find_last_of('/') + 1);
    int code = folders.leave();
    // A folder that keeps something was asked about already.
    if (code == 0 && !done.left) code = unlinkAt(folders.current(), name.c_str(), AT_REMOVEDIR);
    if (done.left) _levels.back().left = true;
    if (code != 0 && code != ENOENT) failed(code, _path);
    if (code == ESTALE) _stopped = true;
    _path.resize(done.pathLength);
}

void TreeRemoval::failed(int code, const std::string& path) {
    const Error error = _locator.error(code, path);
    if (!_first) _first = error;
    if (!_levels.empty()) _levels.back().left = true;
    if (!_question || !_question(error)) _stopped = true;
}

} // namespace vt

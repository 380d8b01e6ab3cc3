#include "platform/fake/FakeFiles.h"

#include "base/Paths.h"

#include <cerrno>

namespace vt {

Result<FakeSpot> FakeFiles::locate(const std::string& path, bool follow) {
    std::string fence;
    if (_drive != nullptr && paths::isAtOrBelow(path, _drive->mountPoint())) {
        if (const Result<int> handle = _drive->handle(); !handle || _drive->isGone()) {
            Error gone = Error::fromErrno(ENODEV, path);
            return gone;
        }
        fence = _drive->mountPoint();
        for (const std::string& component : paths::components(path))
            if (component == "..") return Error::fromErrno(EINVAL, path);
    }
    return _disk.find(path, follow, fence);
}

Result<FakeSpot> FakeFiles::begin(const char* operation, const std::string& path, Missing missing, bool follow) {
    if (const int code = _disk.faults().begin(operation, path); code != 0) return Error::fromErrno(code, path);
    Result<FakeSpot> spot = locate(path, follow);
    if (spot && !spot->node && missing == Missing::refused) return Error::fromErrno(ENOENT, path);
    return spot;
}

Result<FileAttributes> FakeFiles::attributes(const std::string& path) {
    const auto held = _disk.lock();
    const Result<FakeSpot> spot = begin("attributes", path, Missing::refused);
    if (!spot) return spot.error();
    return FakeDisk::attributesOf(*spot->volume, *spot->node);
}

Result<FileAttributes> FakeFiles::attributesFollowing(const std::string& path) {
    const auto held = _disk.lock();
    const Result<FakeSpot> spot = begin("attributesFollowing", path, Missing::refused, true);
    if (!spot) return spot.error();
    return FakeDisk::attributesOf(*spot->volume, *spot->node);
}

Result<std::vector<DirectoryEntry>> FakeFiles::list(const std::string& path) {
    const auto held = _disk.lock();
    const Result<FakeSpot> spot = begin("list", path, Missing::refused);
    if (!spot) return spot.error();
    if (!spot->node->attributes.isDirectory()) return Error::fromErrno(ENOTDIR, path);
    std::vector<DirectoryEntry> entries;
    for (const auto& [name, node] : spot->node->entries) {
        const Result<FakeSpot> entry = _disk.find(paths::join(path, name), false);
        if (entry && entry->node) entries.push_back({name, FakeDisk::attributesOf(*entry->volume, *entry->node)});
    }
    return entries;
}

Result<std::vector<std::string>> FakeFiles::listNames(const std::string& path) {
    const auto held = _disk.lock();
    const Result<FakeSpot> spot = begin("listNames", path, Missing::refused);
    if (!spot) return spot.error();
    if (!spot->node->attributes.isDirectory()) return Error::fromErrno(ENOTDIR, path);
    std::vector<std::string> names;
    for (const auto& [name, node] : spot->node->entries) names.push_back(name);
    return names;
}

Result<void> FakeFiles::makeDirectory(const std::string& path, std::uint32_t mode) {
    const auto held = _disk.lock();
    const Result<FakeSpot> spot = begin("makeDirectory", path, Missing::allowed);
    if (!spot) return spot.error();
    if (spot->node) return Error::fromErrno(EEXIST, path);
    if (const int code = _disk.refusalOfNew(*spot, 0); code != 0) return Error::fromErrno(code, path);
    _disk.insert(*spot, _disk.newNode(*spot->volume, FileKind::directory, mode));
    return {};
}

Result<void> FakeFiles::move(const std::string& from, const std::string& to, Replace replace) {
    const auto held = _disk.lock();
    if (const int code = _disk.faults().begin("move", from, to); code != 0) return Error::fromErrno(code, from);
    const Result<FakeSpot> source = locate(from, false);
    if (!source) return source.error();
    if (!source->node) return Error::fromErrno(ENOENT, from);
    const Result<FakeSpot> target = locate(to, false);
    if (!target) return target.error();
    int code = source->volume != target->volume ? EXDEV : _disk.refusalOfChange(*source);
    if (code == 0) code = _disk.refusalOfNew(*target, 0);
    if (code == 0 && paths::isAtOrBelow(to, from) && to != from) code = EINVAL;
    if (code == 0 && target->node && replace == Replace::never) code = EEXIST;
    if (code == 0 && !target->node && replace == Replace::exchange) code = ENOENT;
    if (code == 0 && target->node && target->node != source->node && replace == Replace::always) {
        const bool sourceFolder = source->node->attributes.isDirectory();
        const bool targetFolder = target->node->attributes.isDirectory();
        if (sourceFolder && !targetFolder) code = ENOTDIR;
        if (!sourceFolder && targetFolder) code = EISDIR;
        if (sourceFolder && targetFolder && !target->node->entries.empty()) code = ENOTEMPTY;
    }
    if (code != 0) return Error::fromErrno(code, from);
    _disk.erase(*source);
    FakeSpot named = *target;
    // A name that differs in case only is taken over as it was given.
    if (target->node == source->node) named.name = paths::lastComponent(to);
    _disk.insert(named, source->node);
    if (replace == Replace::exchange) _disk.insert(*source, target->node);
    _disk.noteChange(*source->node);
    return {};
}

bool FakeFiles::Removal::failed(int code, const std::string& path) {
    const Error error = Error::fromErrno(code, path);
    if (!first) first = error;
    stopped = !question || !question(error);
    return false;
}

bool FakeFiles::removeBelow(const FakeSpot& spot, const std::string& path, Removal& removal) {
    bool left = false;
    const std::map<std::string, std::shared_ptr<FakeNode>> entries = spot.node->entries;
    for (const auto& [name, node] : entries) {
        const std::string below = paths::join(path, name);
        const Result<FakeSpot> entry = _disk.find(below, false);
        if (!entry || !entry->node) continue;
        int code = _disk.faults().begin("remove", below);
        if (entry->volume != spot.volume) code = EXDEV;
        const bool gone = code == 0 ? removeBelow(*entry, below, removal) : removal.failed(code, below);
        if (removal.stopped) return false;
        if (!gone) left = true;
    }
    if (left) return false;
    if (const int code = _disk.refusalOfChange(spot); code != 0) return removal.failed(code, path);
    _disk.erase(spot);
    return true;
}

Result<void> FakeFiles::remove(const std::string& path, const RemovalQuestion& question) {
    const auto held = _disk.lock();
    const Result<FakeSpot> spot = begin("remove", path, Missing::refused);
    if (!spot) {
        if (question) (void)question(spot.error());
        return spot.error();
    }
    if (!spot->folder) return Error::fromErrno(EBUSY, path);
    Removal removal{question, {}, false};
    if (removeBelow(*spot, path, removal)) return {};
    return *removal.first;
}

Result<void> FakeFiles::checkWritable(const std::string& folder) {
    const auto held = _disk.lock();
    const Result<FakeSpot> spot = begin("checkWritable", folder, Missing::refused, true);
    if (!spot) return spot.error();
    if (!spot->node->attributes.isDirectory()) return Error::fromErrno(ENOTDIR, folder);
    if (spot->volume->readOnly) return Error::fromErrno(EROFS, folder);
    return {};
}

Result<std::string> FakeFiles::readLink(const std::string& path) {
    const auto held = _disk.lock();
    const Result<FakeSpot> spot = begin("readLink", path, Missing::refused);
    if (!spot) return spot.error();
    if (!spot->node->attributes.isLink()) return Error::fromErrno(EINVAL, path);
    return spot->node->content;
}

Result<void> FakeFiles::makeLink(const std::string& path, const std::string& target) {
    const auto held = _disk.lock();
    const Result<FakeSpot> spot = begin("makeLink", path, Missing::allowed);
    if (!spot) return spot.error();
    if (spot->node) return Error::fromErrno(EEXIST, path);
    if (target.empty()) return Error::fromErrno(ENOENT, path);
    if (target.find('\0') != std::string::npos) return Error::fromErrno(EINVAL, path);
    int code = _disk.refusalOfNew(*spot, target.size());
    if (code == 0 && !spot->volume->capabilities.holdsLinks) code = EPERM;
    if (code != 0) return Error::fromErrno(code, path);
    const std::shared_ptr<FakeNode> node = _disk.newNode(*spot->volume, FileKind::link, 0777);
    node->content = target;
    _disk.insert(*spot, node);
    return {};
}

Result<void> FakeFiles::setImmutable(const std::string& path, bool immutable) {
    const auto held = _disk.lock();
    const Result<FakeSpot> spot = begin("setImmutable", path, Missing::refused);
    if (!spot) return spot.error();
    if (spot->volume->readOnly) return Error::fromErrno(EROFS, path);
    FileAttributes& attributes = spot->node->attributes;
    if (immutable && !attributes.isRegular() && !attributes.isDirectory()) return Error::fromErrno(EOPNOTSUPP, path);
    attributes.immutable = immutable;
    _disk.noteChange(*spot->node);
    return {};
}

Result<void> FakeFiles::setMode(const std::string& path, std::uint32_t mode) {
    const auto held = _disk.lock();
    const Result<FakeSpot> spot = begin("setMode", path, Missing::refused);
    if (!spot) return spot.error();
    int code = spot->volume->readOnly ? EROFS : 0;
    if (code == 0 && spot->node->attributes.immutable) code = EPERM;
    if (code == 0 && spot->node->attributes.isLink()) code = EOPNOTSUPP;
    if (code != 0) return Error::fromErrno(code, path);
    spot->node->attributes.mode = mode & 07777U;
    _disk.noteChange(*spot->node);
    return {};
}

Result<void> FakeFiles::setModified(const std::string& path, Date modified) {
    const auto held = _disk.lock();
    const Result<FakeSpot> spot = begin("setModified", path, Missing::refused);
    if (!spot) return spot.error();
    if (spot->volume->readOnly) return Error::fromErrno(EROFS, path);
    if (spot->node->attributes.immutable) return Error::fromErrno(EPERM, path);
    spot->node->attributes.modified = FakeDisk::storedDate(*spot->volume, modified);
    _disk.noteChange(*spot->node);
    return {};
}

} // namespace vt

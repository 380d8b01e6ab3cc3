#include "app/AdoptedDrives.h"

#include "base/Paths.h"
#include "base/Text.h"
#include "config/utilities/FileCreation.h"
#include "config/utilities/TypedGetters.h"

#include <algorithm>
#include <cerrno>

namespace vt {

namespace {

constexpr std::uint64_t sizeLimit = 4ULL << 20U;
constexpr const char* adoptedKey = "adopted-drives";
constexpr const char* forgottenKey = "forgotten-drives";

bool isSame(const AdoptedDrive& a, const AdoptedDrive& b) {
    if (a.folder != b.folder) return false;
    // One that can be told by its number is never mistaken for one that cannot, wherever the two are mounted.
    return a.uuid || b.uuid ? a.uuid == b.uuid : a.path == b.path;
}

bool contains(const std::vector<AdoptedDrive>& list, const AdoptedDrive& drive) {
    return std::any_of(list.begin(), list.end(), [&](const AdoptedDrive& entry) { return isSame(entry, drive); });
}

void remove(std::vector<AdoptedDrive>& list, const AdoptedDrive& drive) {
    std::erase_if(list, [&](const AdoptedDrive& entry) { return isSame(entry, drive); });
}

Value::Array toArray(const std::vector<AdoptedDrive>& list) {
    Value::Array array;
    for (const AdoptedDrive& drive : list) {
        Value::Dictionary entry;
        // As data: a path need not be UTF-8.
        entry.emplace("path", Value::Data{drive.path});
        entry.emplace("folder", drive.folder);
        if (drive.uuid) entry.emplace("uuid", *drive.uuid);
        array.emplace_back(std::move(entry));
    }
    return array;
}

std::vector<AdoptedDrive> fromDictionary(const Value::Dictionary& root, const char* key) {
    std::vector<AdoptedDrive> list;
    const Value::Array* array = arrayForKey(root, key);
    if (array == nullptr) return list;
    for (const Value& value : *array) {
        const Value::Dictionary* entry = value.asDictionary();
        const Value::Data* path = entry == nullptr ? nullptr : dataForKey(*entry, "path");
        if (path == nullptr || !paths::isAbsolute(path->bytes)) continue;
        AdoptedDrive drive{paths::clean(path->bytes), std::nullopt, boolForKey(*entry, "folder")};
        if (const std::string* uuid = stringForKey(*entry, "uuid")) drive.uuid = *uuid;
        list.push_back(std::move(drive));
    }
    return list;
}

} // namespace

AdoptedDrives::AdoptedDrives(ApplicationServices& services, LogSink& log)
    : _services(services), _log(log), _files(services.driveFiles.bind(nullptr)),
      _path(paths::join(paths::join(services.system.configHome(), application::bundleIdentifier),
                        "adopted-drives.plist")) {}

void AdoptedDrives::load() {
    const auto bytes = _files->contents().read(_path, sizeLimit);
    if (!bytes.ok()) {
        if (bytes.code() == ENOENT) return;
        _log.logMessage(formatText("The list of adopted drives cannot be read: %@.", {bytes.error().describe()}));
        _unread = true;
        return;
    }
    const auto root = _services.propertyLists.parse(*bytes);
    const Value::Dictionary* dictionary = root.ok() ? root->asDictionary() : nullptr;
    if (dictionary == nullptr) {
        _log.logMessage(formatText("The list of adopted drives is broken and is kept as \"%@.broken\".",
                                   {paths::displayText(_path)}));
        setAside();
        return;
    }
    _adopted = fromDictionary(*dictionary, adoptedKey);
    _forgotten = fromDictionary(*dictionary, forgottenKey);
}

void AdoptedDrives::setAside() {
    _files->files().move(_path, _path + ".broken", Replace::always).ignore();
    _unread = false;
}

Result<void> AdoptedDrives::save() {
    Value::Dictionary root;
    root.emplace(adoptedKey, toArray(_adopted));
    root.emplace(forgottenKey, toArray(_forgotten));
    const auto bytes = _services.propertyLists.xml(root);
    if (!bytes.ok()) return bytes.error();
    const std::string folder = paths::parent(_path);
    if (!createDirectoryAtPath(_files->files(), folder, nullptr, true, false))
        return Error{ENOENT, Disposition::skipItem, folder, localised("the folder cannot be made")};
    // It may only have been out of reach: it goes when there is something to put in its place, not before.
    if (_unread) setAside();
    return _files->contents().writeAtomically(_path, *bytes, 0600);
}

Result<void> AdoptedDrives::remember(const AdoptedDrive& drive) {
    if (contains(_adopted, drive) && !contains(_forgotten, drive)) return {};
    const auto adopted = _adopted;
    const auto forgotten = _forgotten;
    remove(_forgotten, drive);
    remove(_adopted, drive);
    _adopted.push_back(drive);
    auto saved = save();
    if (!saved.ok()) {
        // What will not be known at the next start is not known now, so that the next try says so too.
        _adopted = adopted;
        _forgotten = forgotten;
    }
    return saved;
}

Result<void> AdoptedDrives::forget(const AdoptedDrive& drive) {
    remove(_adopted, drive);
    // A folder is served only when it was adopted; a volume might be served for what its configuration or vendor says.
    if (!drive.folder && !contains(_forgotten, drive)) _forgotten.push_back(drive);
    return save();
}

bool AdoptedDrives::isAdopted(const AdoptedDrive& drive) const {
    return contains(_adopted, drive);
}
bool AdoptedDrives::isForgotten(const AdoptedDrive& drive) const {
    return contains(_forgotten, drive);
}

std::vector<std::string> AdoptedDrives::folders() const {
    std::vector<std::string> list;
    for (const AdoptedDrive& drive : _adopted) {
        if (drive.folder) list.push_back(drive.path);
    }
    return list;
}

} // namespace vt

#include "app/ServedVolumes.h"

#include "base/Paths.h"
#include "base/Text.h"
#include "config/utilities/TypedGetters.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <sstream>

namespace vt {

namespace {

constexpr std::uint64_t configurationLimit = 64ULL << 20U;
constexpr std::uint64_t familyFileLimit = 1ULL << 20U;

std::string lowerCase(std::string_view text) {
    std::string lower(text);
    for (char& byte : lower) byte = static_cast<char>(std::tolower(static_cast<unsigned char>(byte)));
    return lower;
}

std::string textFor(const Value::Dictionary& description, const char* key) {
    const std::string* found = stringForKey(description, key);
    return found == nullptr ? std::string() : *found;
}

bool isFolderDrive(const Value::Dictionary& description) {
    return textFor(description, diskdescription::mediaBsdName).starts_with("diskf");
}

bool isShare(const Value::Dictionary& description) {
    return boolForKey(description, diskdescription::volumeNetwork);
}

AdoptedDrive driveOf(const Value::Dictionary& description) {
    AdoptedDrive drive{paths::clean(textFor(description, diskdescription::volumePath)), std::nullopt,
                       isFolderDrive(description)};
    if (drive.folder) return drive;
    // A FAT volume has a number of its own where it has no UUID: another stick at the same mount point is another one.
    for (const char* key : {diskdescription::volumeIdentity, diskdescription::volumeUuid}) {
        const std::string* number = stringForKey(description, key);
        if (number == nullptr) continue;
        drive.uuid = *number;
        break;
    }
    return drive;
}

Error refuse(int code, const std::string& path, std::string text) {
    return {code, Disposition::skipItem, path, std::move(text)};
}

} // namespace

ServedVolumes::ServedVolumes(ApplicationServices& services, const HostIdentity& identity, LogFrontEnd& log,
                             VolumeObserver& next, Service service)
    : _services(services), _identity(identity), _log(log), _next(next), _service(std::move(service)),
      _adopted(services, log), _rules(services, _service.syncedFolders), _files(services.driveFiles.bind(nullptr)) {}

void ServedVolumes::start() {
    loadFamily();
    _adopted.load();
    for (const std::string& folder : _adopted.folders()) {
        if (auto added = _services.volumes.addFolderDrive(folder); !added.ok())
            _log.logMessage(formatText("The folder drive \"%@\" is not there: %@.",
                                       {paths::displayText(folder), added.error().text}));
    }
    _services.volumes.startObserving(*this);
}

void ServedVolumes::stop() {
    _services.volumes.stopObserving();
}

void ServedVolumes::loadFamily() {
    _family = {"talmont", "corvane"};
    const auto bytes = _files->contents().read(_services.driveFamilyFile, familyFileLimit);
    if (!bytes.ok()) return;
    std::istringstream lines(*bytes);
    for (std::string line; std::getline(lines, line);) {
        const auto first = line.find_first_not_of(" \t\r");
        if (first == std::string::npos || line[first] == '#') continue;
        const auto last = line.find_last_not_of(" \t\r");
        _family.push_back(lowerCase(line.substr(first, last - first + 1)));
    }
}

bool ServedVolumes::isOfFamily(const Value::Dictionary& description) const {
    for (const char* key : {diskdescription::deviceVendor, diskdescription::deviceModel}) {
        const std::string text = lowerCase(textFor(description, key));
        if (std::any_of(_family.begin(), _family.end(),
                        [&](const std::string& pattern) { return text.find(pattern) != std::string::npos; }))
            return true;
    }
    return false;
}

bool ServedVolumes::namesThisUser(const std::string& mountPoint) {
    const auto bytes = _files->contents().read(paths::join(mountPoint, ".VantaroConfig"), configurationLimit);
    if (!bytes.ok()) return false;
    const auto root = _services.propertyLists.parse(*bytes);
    const Value::Dictionary* dictionary = root.ok() ? root->asDictionary() : nullptr;
    return dictionary != nullptr && dictionaryForKey(*dictionary, _identity.uniqueHostUserId()) != nullptr;
}

std::string ServedVolumes::refusalFor(const Value::Dictionary& description) {
    const AdoptedDrive drive = driveOf(description);
    if (isShare(description)) return "it is a network share";
    if (paths::isAtOrBelow(_services.system.home(), drive.path)) return "the home folder is on it";
    if (const Value* writable = numberForKey(description, diskdescription::mediaWritable);
        writable && !writable->boolValue())
        return "it is read-only";
    if (_adopted.isAdopted(drive)) return {};
    if (_adopted.isForgotten(drive)) return "it was let go by a person";
    const Value* internal = numberForKey(description, diskdescription::deviceInternal);
    if (internal != nullptr && internal->boolValue()) return "it is on an internal disk and was not adopted";
    if (isOfFamily(description) || namesThisUser(drive.path)) return {};
    return "it was not adopted";
}

Value::Dictionary ServedVolumes::asServed(Value::Dictionary description) {
    description.insert_or_assign(diskdescription::deviceInternal, false);
    return description;
}

void ServedVolumes::note(const Value::Dictionary& description) {
    const std::string key = textFor(description, diskdescription::mediaBsdName);
    const std::string mountPoint = textFor(description, diskdescription::volumePath);
    if (key.empty()) return;
    if (mountPoint.empty())
        _known.erase(key);
    else
        _known[key] = paths::clean(mountPoint);
}

void ServedVolumes::diskAppeared(const Value::Dictionary& description) {
    note(description);
    if (textFor(description, diskdescription::volumePath).empty() || !refusalFor(description).empty()) return;
    _next.diskAppeared(asServed(description));
}

void ServedVolumes::diskDisappeared(const Value::Dictionary& description) {
    _known.erase(textFor(description, diskdescription::mediaBsdName));
    _next.diskDisappeared(description);
}

void ServedVolumes::diskDescriptionChanged(const Value::Dictionary& description) {
    const std::string key = textFor(description, diskdescription::mediaBsdName);
    const auto was = _known.find(key);
    const std::string left = was == _known.end() ? "" : was->second;
    note(description);
    const bool known = _service.isRegistered(key);
    const bool mounted = !textFor(description, diskdescription::volumePath).empty();
    if (!known && (!mounted || !refusalFor(description).empty())) return;
    _next.diskDescriptionChanged(asServed(description));
    if (known && !mounted && !left.empty()) detachIfGone(key, left);
}

void ServedVolumes::detachIfGone(const std::string& key, const std::string& mountPoint) {
    _services.volumes.detachGone(key, mountPoint, [alive = std::weak_ptr(_alive), this, mountPoint](const auto& done) {
        if (alive.expired()) return;
        const std::string shown = paths::displayText(mountPoint);
        if (!done.ok())
            _log.debugMessage(
                formatText("The mount that a pulled drive left at \"%@\" stays: %@.", {shown, done.error().text}));
        else if (*done)
            _log.logMessage(
                formatText("The drive at \"%@\" was pulled while it was mounted: its mount was taken off.", {shown}));
        _log.flushLog();
    });
}

Result<std::string> ServedVolumes::adopt(const std::string& path) {
    const std::string asked = paths::clean(path);
    const auto folder = _rules.folderAt(asked);
    if (!folder.ok()) return folder.error();
    const auto served = _service.driveWithRoot(folder->device, folder->inode);
    const std::string place = served ? *served : isListed(folder->realPath) ? folder->realPath : asked;
    auto description = _services.volumes.describe(place);
    if (description && isShare(*description))
        return refuse(EINVAL, place, "a network share is served as one of a wireless drive only");
    // A second mount of a volume, and one in a place of the system's own, raise no events: they are served as folders.
    const bool isVolume = description && isListed(place);
    const AdoptedDrive drive = isVolume ? driveOf(*description) : AdoptedDrive{place, std::nullopt, true};
    // A volume inside a synced folder is left out of its copies, and is a drive all the same.
    if (!served && !isVolume && !_adopted.isAdopted(drive)) {
        if (const auto checked = _rules.checkIsNoSource(place, *folder); !checked.ok()) return checked.error();
    }
    if (auto remembered = _adopted.remember(drive); !remembered.ok()) return remembered.error();
    if (isVolume) {
        const std::string key = textFor(*description, diskdescription::mediaBsdName);
        // Where its mount was not reported yet the drive arrives with that report: to take it in now would turn the
        // report into a departure.
        if (!_service.isRegistered(key) && _known.contains(key)) diskDescriptionChanged(*description);
        return place;
    }
    if (auto added = _services.volumes.addFolderDrive(place); !added.ok()) {
        _adopted.forget(drive).ignore();
        return added.error();
    }
    return place;
}

bool ServedVolumes::isListed(const std::string& mountPoint) {
    const auto mounted = _services.volumes.mountedVolumes();
    return std::find(mounted.begin(), mounted.end(), mountPoint) != mounted.end();
}

Result<void> ServedVolumes::forget(const std::string& path) {
    const std::string clean = paths::clean(path);
    const auto description = _services.volumes.describe(clean);
    const AdoptedDrive drive = description ? driveOf(*description) : AdoptedDrive{clean, std::nullopt, true};
    auto forgotten = _adopted.forget(drive);
    if (drive.folder) {
        _services.volumes.removeFolderDrive(clean);
    } else {
        // For the core this is a departure: a change of a registered volume.
        _next.diskDescriptionChanged(*description);
    }
    return forgotten;
}

std::vector<ServedVolumes::Volume> ServedVolumes::volumes() {
    std::vector<Volume> list;
    for (const std::string& mountPoint : _services.volumes.mountedVolumes()) {
        const auto description = _services.volumes.describe(mountPoint);
        if (!description) continue;
        Volume volume{mountPoint,
                      textFor(*description, diskdescription::volumeName),
                      textFor(*description, diskdescription::volumeKind),
                      {}};
        if (volume.name.empty()) volume.name = paths::lastComponent(mountPoint);
        if (!_service.isRegistered(textFor(*description, diskdescription::mediaBsdName))) {
            volume.reason = refusalFor(*description);
            if (volume.reason.empty()) volume.reason = "it has not arrived yet";
        }
        list.push_back(std::move(volume));
    }
    return list;
}

} // namespace vt

#include "sync/compare/CompactEntries.h"

#include "base/Paths.h"

#include <utility>

namespace vt {

namespace {

constexpr std::uint8_t enabled = 1;
constexpr std::uint8_t package = 2;
constexpr std::uint8_t hasLocalDate = 4;
constexpr std::uint8_t hasLocalSize = 8;
constexpr std::uint8_t hasDriveDate = 16;
constexpr std::uint8_t hasDriveSize = 32;
constexpr std::uint8_t hasBackupDate = 64; // always the same one
constexpr std::uint8_t hasAction = 128;
constexpr unsigned largestByte = 255;

// Only a path that the two parts make again.
bool isJoined(const std::string& path, const std::string& folder, std::string_view name) {
    return !name.empty() && name.size() < NameArena::blockSize && path == paths::join(folder, name);
}

} // namespace

void CompactEntries::setWorkPaths(ScanEntry& entry) const {
    const std::string below = entry.drivePath.substr(std::min(entry.drivePath.size(), _roots.target.size()));
    if (entry.actionToPerform == action::driveIsNewer) {
        entry.localPath = _roots.localWork + below;
        entry.pushkeyPath = entry.drivePath;
    } else {
        entry.localPath = entry.computerPath;
        entry.pushkeyPath = _roots.driveWork + below;
    }
}

std::uint32_t CompactEntries::folderFor(const std::string& computer, const std::string& drive) {
    _beganFolder = false;
    if (!_folders.empty() && _folders[_lastFolder].computer == computer && _folders[_lastFolder].drive == drive)
        return _lastFolder;
    std::string key = computer;
    key.append(1, '\0').append(drive);
    const auto [found, isNew] = _folderNumbers.try_emplace(std::move(key), static_cast<std::uint32_t>(_folders.size()));
    if (isNew) _folders.push_back({computer, drive});
    _beganFolder = isNew;
    _lastFolder = found->second;
    return _lastFolder;
}

bool CompactEntries::packed(const ScanEntry& entry, Record& record) {
    const std::string name = paths::lastComponent(entry.drivePath);
    const std::string computer = paths::parent(entry.computerPath);
    const std::string drive = paths::parent(entry.drivePath);
    const bool plain = !entry.trueDelete && entry.syncEntryType <= largestByte &&
                       entry.actionToPerform.value_or(0) <= largestByte &&
                       entry.pushkeyFileBackupDate.value_or(Date::missing()) == Date::missing() &&
                       !_roots.target.empty() && entry.drivePath.starts_with(_roots.target) &&
                       isJoined(entry.computerPath, computer, name) && isJoined(entry.drivePath, drive, name);
    if (!plain) return false;
    ScanEntry derived;
    derived.actionToPerform = entry.actionToPerform;
    derived.computerPath = entry.computerPath;
    derived.drivePath = entry.drivePath;
    setWorkPaths(derived);
    if (derived.localPath != entry.localPath || derived.pushkeyPath != entry.pushkeyPath) return false;

    const auto flag = [&record](bool set, std::uint8_t bit) {
        if (set) record.flags = static_cast<std::uint8_t>(record.flags | bit);
    };
    flag(entry.syncActionEnabled, enabled);
    flag(entry.package, package);
    flag(entry.localFileModDate.has_value(), hasLocalDate);
    flag(entry.localFileSize.has_value(), hasLocalSize);
    flag(entry.pushkeyFileModDate.has_value(), hasDriveDate);
    flag(entry.pushkeyFileSize.has_value(), hasDriveSize);
    flag(entry.pushkeyFileBackupDate.has_value(), hasBackupDate);
    flag(entry.actionToPerform.has_value(), hasAction);
    record.localModified = entry.localFileModDate.value_or(Date()).nanoseconds();
    record.driveModified = entry.pushkeyFileModDate.value_or(Date()).nanoseconds();
    record.localSize = entry.localFileSize.value_or(0);
    record.driveSize = entry.pushkeyFileSize.value_or(0);
    record.type = static_cast<std::uint8_t>(entry.syncEntryType);
    record.action = static_cast<std::uint8_t>(entry.actionToPerform.value_or(0));
    record.folder = folderFor(computer, drive);
    record.name = _names.add(name);
    record.nameLength = NameArena::lengthOf(name);
    return true;
}

void CompactEntries::add(const ScanEntry& entry) {
    Record record;
    _beganFolder = true;
    if (!packed(entry, record)) {
        record = {};
        record.folder = inFull;
        record.name = static_cast<std::uint32_t>(_full.size());
        _full.push_back(entry);
    }
    _records.push_back(record);
}

void CompactEntries::replace(Index index, const ScanEntry& entry) {
    Record& record = _records[index];
    if (record.folder == inFull) {
        _full[record.name] = entry;
        return;
    }
    record = {};
    record.folder = inFull;
    record.name = static_cast<std::uint32_t>(_full.size());
    _full.push_back(entry);
}

void CompactEntries::disable(Index index) {
    Record& record = _records[index];
    if (record.folder == inFull)
        _full[record.name].syncActionEnabled = false;
    else
        record.flags = static_cast<std::uint8_t>(record.flags & ~enabled);
}

void CompactEntries::clear() {
    _records = {};
    _names.clear();
    _folders = {};
    _folderNumbers = {};
    _lastFolder = 0;
    _full = {};
}

std::string CompactEntries::drivePath(Index index) const {
    const Record& record = _records[index];
    if (record.folder == inFull) return _full[record.name].drivePath;
    return paths::join(_folders[record.folder].drive, _names.at(record.name, record.nameLength));
}

ScanEntry CompactEntries::at(Index index) const {
    const Record& record = _records[index];
    if (record.folder == inFull) return _full[record.name];
    const auto is = [&record](std::uint8_t bit) { return (record.flags & bit) != 0; };
    ScanEntry entry;
    entry.syncActionEnabled = is(enabled);
    entry.package = is(package);
    if (is(hasLocalDate)) entry.localFileModDate = Date::fromNanoseconds(record.localModified);
    if (is(hasLocalSize)) entry.localFileSize = record.localSize;
    if (is(hasDriveDate)) entry.pushkeyFileModDate = Date::fromNanoseconds(record.driveModified);
    if (is(hasDriveSize)) entry.pushkeyFileSize = record.driveSize;
    if (is(hasBackupDate)) entry.pushkeyFileBackupDate = Date::missing();
    if (is(hasAction)) entry.actionToPerform = record.action;
    entry.syncEntryType = record.type;
    const std::string_view name = _names.at(record.name, record.nameLength);
    entry.computerPath = paths::join(_folders[record.folder].computer, name);
    entry.drivePath = paths::join(_folders[record.folder].drive, name);
    setWorkPaths(entry);
    return entry;
}

} // namespace vt

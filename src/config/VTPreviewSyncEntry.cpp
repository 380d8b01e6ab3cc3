#include "config/VTPreviewSyncEntry.h"

#include "base/LocalTime.h"
#include "base/Text.h"
#include "config/utilities/TypedGetters.h"

#include <iomanip>
#include <sstream>
#include <utility>

namespace vt {

namespace {

constexpr const char* syncActionEnabledKey = "syncActionEnabled";
constexpr const char* localPathKey = "localPath";
constexpr const char* pushkeyPathKey = "pushkeyPath";
constexpr const char* syncEntryTypeKey = "syncEntryType";
constexpr const char* actionToPerformKey = "actionToPerform";
constexpr std::uint64_t computerWins = 1;
constexpr std::uint64_t driveWins = 2;

// A thousand kilobytes of 1024 bytes are a megabyte here, and only the low 32 bits of a size count: deliberate.
std::string sizeText(std::uint64_t size) {
    constexpr std::uint32_t kilobyte = 1024;
    constexpr std::uint32_t megabyte = 1'024'000;
    constexpr std::uint32_t gigabyte = 1'024'000'000;
    const auto bytes = static_cast<std::uint32_t>(size);
    if (bytes < kilobyte) return localisedText("%lu bytes", {bytes});
    if (bytes < megabyte) return localisedText("%lu KB", {bytes / kilobyte});
    if (bytes >= gigabyte) return localisedText("%lu GB", {bytes / gigabyte});
    return localisedText("%lu MB", {bytes / megabyte});
}

// In local time, in the form that the catalogue gives dates.
std::string dateText(Date date) {
    const auto local = localTime(date);
    if (!local) return {};
    const std::string format = localised("%c");
    std::ostringstream text;
    text << std::put_time(&*local, format.c_str());
    return text.str();
}

std::optional<std::string> textFor(const Value::Dictionary& row, std::string_view key) {
    const std::string* text = stringForKey(row, key);
    return text != nullptr ? std::optional(*text) : std::nullopt;
}

Value orNull(const std::optional<std::string>& text) {
    return text ? Value(*text) : Value();
}

} // namespace

VTPreviewSyncEntry::VTPreviewSyncEntry(Value::Dictionary row, HomePaths homePaths)
    : m_entryDict(std::move(row)), _homePaths(std::move(homePaths)) {}

std::optional<std::uint64_t> VTPreviewSyncEntry::numberFor(std::string_view key) const {
    const Value* number = numberForKey(m_entryDict, key);
    return number != nullptr ? std::optional(number->unsignedValue()) : std::nullopt;
}

bool VTPreviewSyncEntry::syncActionEnabled() const {
    return boolForKey(m_entryDict, syncActionEnabledKey);
}
void VTPreviewSyncEntry::setSyncActionEnabled(bool enabled) {
    setBoolForKey(m_entryDict, enabled, syncActionEnabledKey);
}
std::optional<std::string> VTPreviewSyncEntry::localPath() const {
    return textFor(m_entryDict, localPathKey);
}
std::optional<std::string> VTPreviewSyncEntry::pushkeyPath() const {
    return textFor(m_entryDict, pushkeyPathKey);
}
std::optional<Date> VTPreviewSyncEntry::localFileModDate() const {
    return dateForKey(m_entryDict, "localFileModDate");
}
std::optional<Date> VTPreviewSyncEntry::pushkeyFileModDate() const {
    return dateForKey(m_entryDict, "pushkeyFileModDate");
}
std::optional<std::uint64_t> VTPreviewSyncEntry::localFileSize() const {
    return numberFor("localFileSize");
}
std::optional<std::uint64_t> VTPreviewSyncEntry::pushkeyFileSize() const {
    return numberFor("pushkeyFileSize");
}
std::optional<std::uint64_t> VTPreviewSyncEntry::syncEntryType() const {
    return numberFor(syncEntryTypeKey);
}
void VTPreviewSyncEntry::setSyncEntryType(std::uint64_t type) {
    m_entryDict.insert_or_assign(syncEntryTypeKey, type);
}
std::optional<std::uint64_t> VTPreviewSyncEntry::actionToPerform() const {
    return numberFor(actionToPerformKey);
}
void VTPreviewSyncEntry::setActionToPerform(std::uint64_t action) {
    m_entryDict.insert_or_assign(actionToPerformKey, action);
}

Value VTPreviewSyncEntry::valueForKey(std::string_view key) const {
    if (key == "fileName") return orNull(fileName());
    if (key == "localDisplayPath") return orNull(localDisplayPath());
    if (key == "localTempPath") return orNull(m_localTempPath);
    if (key == "syncEntryTypeString") return syncEntryTypeString();
    if (key == "localFileInfo") return localFileInfo();
    if (key == "pushkeyFileInfo") return pushkeyFileInfo();
    if (key == "entryDict") return m_entryDict;
    if (key == syncActionEnabledKey) return syncActionEnabled();
    const auto found = m_entryDict.find(key);
    return found == m_entryDict.end() ? Value() : found->second;
}

std::optional<std::string> VTPreviewSyncEntry::fileName() const {
    auto path = localPath();
    if (!path) path = pushkeyPath();
    return path ? std::optional(paths::lastComponent(*path)) : std::nullopt;
}

std::optional<std::string> VTPreviewSyncEntry::localDisplayPath() const {
    auto path = localPath();
    if (!path || !m_localTempPath || m_localTempPath->empty()) return path;
    const std::size_t at = path->find(*m_localTempPath);
    if (at == std::string::npos) return path;
    const std::size_t rest = at + m_localTempPath->size() + 1;
    return rest < path->size() ? _homePaths.expandTilde(path->substr(rest)) : path;
}

std::string VTPreviewSyncEntry::syncEntryTypeString() const {
    const auto type = syncEntryType();
    if (!type) return {};
    switch (*type) {
    case previewtype::isNew:
    case previewtype::alsoNew:
        return localised("New");
    case previewtype::overwrite:
        return localised("Overwrite");
    case previewtype::conflict:
        return localised("Conflict");
    case previewtype::deletedOnComputer:
    case previewtype::deletedOnDrive:
    case previewtype::deleted:
        return localised("Delete");
    default:
        return {};
    }
}

std::string VTPreviewSyncEntry::localFileInfo() const {
    if (syncEntryType() == previewtype::deletedOnComputer) return localised("DELETED");
    return formattedFileInfoFor(localFileSize(), localFileModDate());
}

std::string VTPreviewSyncEntry::pushkeyFileInfo() const {
    if (syncEntryType() == previewtype::deletedOnDrive) return localised("DELETED");
    return formattedFileInfoFor(pushkeyFileSize(), pushkeyFileModDate());
}

std::string VTPreviewSyncEntry::formattedFileInfoFor(std::optional<std::uint64_t> size, std::optional<Date> modified) {
    if (!size) return modified ? dateText(*modified) : std::string();
    if (!modified) return sizeText(*size);
    return formatText("%@ %@", {dateText(*modified), sizeText(*size)});
}

bool VTPreviewSyncEntry::clickedColumnWithIdentifier(std::string_view identifier) {
    if (identifier == syncActionEnabledKey) {
        setSyncActionEnabled(!syncActionEnabled());
        return true;
    }
    const auto type = syncEntryType();
    if (type != previewtype::conflict && type != previewtype::deletedOnComputer) return false;
    if (actionToPerform() == computerWins && identifier == "pushkeyFileInfo") {
        setActionToPerform(driveWins);
        return true;
    }
    if (actionToPerform() == driveWins && identifier == "localFileInfo") {
        setActionToPerform(computerWins);
        return true;
    }
    return false;
}

} // namespace vt

#include "config/VTUserDefaults.h"

#include "base/LogSink.h"
#include "base/Text.h"
#include "config/utilities/SystemStrings.h"
#include "config/utilities/TypedGetters.h"

#include <ctime>
#include <utility>

namespace vt {
namespace {

constexpr const char* versionKey = "user-default-version";
constexpr const char* identifierKey = "unique-host-user-id";
constexpr const char* deviceListKey = "sync-device-list";
constexpr const char* participateKey = "local-participate-in-sync";
constexpr const char* continuousKey = "local-continuous-sync";
constexpr const char* quietKey = "local-quiet-sync";
constexpr const char* lastSyncKey = "local-last-sync-time";
constexpr int layoutVersion = 2;

// The dictionary under `key`; anything else there is replaced by an empty one.
Value::Dictionary& dictionaryIn(Value::Dictionary& parent, const std::string& key) {
    Value& value = parent[key];
    if (value.asDictionary() == nullptr) value = Value::Dictionary();
    return *value.asDictionary();
}

const Value::Dictionary* entryOf(const Value::Dictionary& preferences, const std::string& drive) {
    const auto* list = dictionaryForKey(preferences, deviceListKey);
    return list != nullptr ? dictionaryForKey(*list, drive) : nullptr;
}

// The address, then the present time in hexadecimal fields (the month is one digit, C for December), then the user.
std::string newIdentifier(const SystemIdentity& system, Date now) {
    const std::time_t seconds = now.wholeSeconds();
    std::tm utc{};
    gmtime_r(&seconds, &utc);
    const auto address = stringWithPrimaryMACAddressWithColons(system, false);
    return formatText("%@-%03X%01X%02X%02X%02X%02X-%d",
                      {address ? Value(*address) : Value(), utc.tm_year + 1900, utc.tm_mon + 1, utc.tm_mday,
                       utc.tm_hour, utc.tm_min, utc.tm_sec, system.userId()});
}

// What is wrong with the loaded preferences; empty when nothing is.
std::string faultOf(const Value::Dictionary& preferences) {
    const Value* version = numberForKey(preferences, versionKey);
    if (version == nullptr) return "MRLUserDefaults: user preferences is missing version number.";
    if (version->integerValue() < layoutVersion)
        return formatText("MRLUserDefaults: invalid user preferences version %@", {*version});
    if (stringForKey(preferences, identifierKey) == nullptr)
        return "MRLUserDefaults: user preferences is missing unique Id";
    return {};
}

} // namespace

VTUserDefaults::VTUserDefaults(std::string applicationId, Preferences& preferences, const SystemIdentity& system,
                               const Clock& clock)
    : _appID(std::move(applicationId)), _services(preferences), _system(system), _clock(clock),
      _preferences(preferences.all(_appID, PreferenceHost::current)) {
    verifyPrefences();
}

// A domain of another layout, or without an identifier, loses every key, the drives' settings included.
void VTUserDefaults::verifyPrefences() {
    const std::string fault = faultOf(_preferences);
    if (fault.empty()) return;
    systemLog(fault);
    systemLog("MRLUserDefaults: creating a new user preference file.");
    systemLog(formatText("current prefs = %@", {Value(_preferences)}));
    _preferences.clear();

    Value::Array allKeys;
    for (const auto& entry : _services.all(_appID, PreferenceHost::current)) allKeys.emplace_back(entry.first);
    if (!allKeys.empty()) {
        systemLog(formatText("MRLUserDefaults: allKeys=%@", {Value(std::move(allKeys))}));
        _services.replaceAll(_appID, PreferenceHost::current, {});
        static_cast<void>(_services.synchronise(_appID, PreferenceHost::current));
    }
    _preferences[versionKey] = layoutVersion;
    _preferences[identifierKey] = newIdentifier(_system, _clock.now());
    _preferences[deviceListKey] = Value::Dictionary();
    synchronize();
}

std::optional<std::string> VTUserDefaults::uniqueHostUserId() const {
    const auto* text = stringForKey(_preferences, identifierKey);
    return text != nullptr ? std::optional(*text) : std::nullopt;
}

bool VTUserDefaults::hasUserSeenDevice(const std::string& drive) const {
    const auto* list = dictionaryForKey(_preferences, deviceListKey);
    return list != nullptr && list->contains(drive);
}

// Deliberate: the mark replaces the drive's settings, so its switches read as off until one is set again.
void VTUserDefaults::addSeenDevice(const std::string& drive) {
    const auto* list = dictionaryForKey(_preferences, deviceListKey);
    if (list == nullptr) return;
    Value::Dictionary changed = *list;
    changed[drive] = true;
    _preferences[deviceListKey] = std::move(changed);
    synchronize();
}

bool VTUserDefaults::readBool(const std::string& drive, const char* key) const {
    const auto* entry = entryOf(_preferences, drive);
    return entry != nullptr && boolForKey(*entry, key);
}

void VTUserDefaults::writeBool(const std::string& drive, const char* key, bool enabled) {
    setBoolForKey(syncOptionListForDevice(drive), enabled, key);
    synchronize();
}

bool VTUserDefaults::isDeviceParticipating(const std::string& drive) const {
    return readBool(drive, participateKey);
}

bool VTUserDefaults::isDeviceContinuous(const std::string& drive) const {
    return readBool(drive, continuousKey);
}

bool VTUserDefaults::isDeviceQuiet(const std::string& drive) const {
    return readBool(drive, quietKey);
}

void VTUserDefaults::setParticipating(bool enabled, const std::string& drive) {
    writeBool(drive, participateKey, enabled);
}

void VTUserDefaults::setContinuous(bool enabled, const std::string& drive) {
    writeBool(drive, continuousKey, enabled);
}

void VTUserDefaults::setQuiet(bool enabled, const std::string& drive) {
    writeBool(drive, quietKey, enabled);
}

std::optional<Date> VTUserDefaults::lastSyncDateForDevice(const std::string& drive) const {
    const auto* entry = entryOf(_preferences, drive);
    const auto* text = entry != nullptr ? stringForKey(*entry, lastSyncKey) : nullptr;
    return text != nullptr ? Date::parse(*text) : std::nullopt;
}

void VTUserDefaults::setLastSyncDate(std::optional<Date> date, const std::string& drive) {
    auto& entry = syncOptionListForDevice(drive);
    // Without a date the entry, perhaps a new one, stays in memory only.
    if (!date) return;
    entry[lastSyncKey] = date->standardText();
    synchronize();
}

Value::Dictionary& VTUserDefaults::syncOptionListForDevice(const std::string& drive) {
    return dictionaryIn(dictionaryIn(_preferences, deviceListKey), drive);
}

bool VTUserDefaults::synchronize() {
    VT_ASSERT_THREAD(_thread);
    for (const auto& [key, value] : _preferences) _services.set(_appID, PreferenceHost::current, key, value);
    return _services.synchronise(_appID, PreferenceHost::current);
}

} // namespace vt

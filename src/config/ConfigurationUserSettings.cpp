// One user's settings, each by the same two mechanisms: this part of VTConfigurationFile's operations.
#include "config/ConfigurationStore.h"
#include "config/UserSettings.h"
#include "config/VTConfigurationFile.h"
#include "config/utilities/TypedGetters.h"

namespace vt {
namespace {

// What `read` makes of the user's settings; null stands for a user without any.
template <typename Read> auto settingsOf(const ConfigurationStore& store, const std::string& hostId, Read read) {
    const auto guard = store.lock();
    const auto& root = store.state().syncConfigDictionary;
    return read(root ? userSettings(*root, hostId) : nullptr);
}

bool boolOf(const ConfigurationStore& store, const std::string& hostId, UserSetting setting) {
    return settingsOf(store, hostId, [&](const auto* user) { return readBool(user, setting); });
}

std::int32_t integerOf(const ConfigurationStore& store, const std::string& hostId, UserSetting setting) {
    return settingsOf(store, hostId, [&](const auto* user) { return readInteger(user, setting); });
}

} // namespace

// A user without settings gets none by a writer: nothing is written before the user has joined.
bool VTConfigurationFile::storeSetting(const char* key, const Value& value) {
    const std::string hostId = _store->user();
    std::uint64_t removals = 0;
    {
        const auto guard = _store->lock();
        auto& state = _store->state();
        auto* user = state.syncConfigDictionary ? userSettings(*state.syncConfigDictionary, hostId) : nullptr;
        if (user == nullptr) return false;
        if (value.isNull())
            user->erase(key);
        else
            (*user)[key] = value;
        removals = state.removals;
    }
    return save(removals);
}

// The three operations of a yes/no or integer setting.
#define VT_SETTING(Type, read, reader, writer, setting)                                                                \
    Type VTConfigurationFile::reader##ForUser() const {                                                                \
        return read(*_store, _store->user(), setting);                                                                 \
    }                                                                                                                  \
    Type VTConfigurationFile::reader##ForUniqueHostID(const std::string& hostId) const {                               \
        return read(*_store, hostId, setting);                                                                         \
    }                                                                                                                  \
    bool VTConfigurationFile::writer##ForUser(Type value) {                                                            \
        return storeSetting(settingRow(setting).key, value);                                                           \
    }

VT_SETTING(bool, boolOf, isParticipatingEnabled, setParticipatingEnabled, UserSetting::participate)
VT_SETTING(bool, boolOf, isContinuousEnabled, setContinuousEnabled, UserSetting::continuous)
VT_SETTING(bool, boolOf, isQuietEnabled, setQuietEnabled, UserSetting::quiet)
VT_SETTING(bool, boolOf, isSyncMoviesEnabled, setSyncMoviesEnabled, UserSetting::movies)
VT_SETTING(bool, boolOf, isSyncMusicEnabled, setSyncMusicEnabled, UserSetting::music)
VT_SETTING(bool, boolOf, isSyncPicturesEnabled, setSyncPicturesEnabled, UserSetting::pictures)
VT_SETTING(bool, boolOf, isSyncDocumentsEnabled, setSyncDocumentsEnabled, UserSetting::documents)
VT_SETTING(std::int32_t, integerOf, getSyncDeviceFilter, setSyncDeviceFilter, UserSetting::deviceFilter)
VT_SETTING(std::int32_t, integerOf, getSyncMediaDeviceTarget, setSyncMediaDeviceTarget, UserSetting::mediaDeviceTarget)

#undef VT_SETTING

std::optional<Date> VTConfigurationFile::lastSyncDateForUser() const {
    return lastSyncDateForUniqueHostID(_store->user());
}

std::optional<Date> VTConfigurationFile::lastSyncDateForUniqueHostID(const std::string& hostId) const {
    return settingsOf(*_store, hostId, [](const auto* user) {
        return user != nullptr ? dateForKey(*user, settingRow(UserSetting::lastSyncTime).key) : std::nullopt;
    });
}

bool VTConfigurationFile::setLastSyncDateForUser(Date date) {
    // The file holds whole seconds.
    return storeSetting(settingRow(UserSetting::lastSyncTime).key, date.roundedDownToSecond());
}

bool VTConfigurationFile::removeLastSyncDateForUser() {
    return storeSetting(settingRow(UserSetting::lastSyncTime).key, Value());
}

std::optional<std::string> VTConfigurationFile::computerNameForUniqueHostID(const std::string& hostId) const {
    return settingsOf(*_store, hostId, [](const auto* user) -> std::optional<std::string> {
        const auto* name = user != nullptr ? stringForKey(*user, settingRow(UserSetting::computerName).key) : nullptr;
        return name != nullptr ? std::optional(*name) : std::nullopt;
    });
}

} // namespace vt

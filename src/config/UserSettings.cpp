#include "config/UserSettings.h"

#include "config/utilities/TypedGetters.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <cstddef>
#include <limits>

namespace vt {
namespace {

constexpr int none = UserSettingRow::notWritten;

// Documents are switched on for a user who joins and read as off where the key is missing; the filter is written as 1
// and read as 0. Both are deliberate: files of earlier versions lack the keys and keep their meaning.
constexpr std::array<UserSettingRow, 11> rows{{
    {UserSetting::participate, "local-participate-in-sync", 0, none},
    {UserSetting::continuous, "local-continuous-sync", 0, none},
    {UserSetting::quiet, "local-quiet-sync", 0, none},
    {UserSetting::movies, "local-sync-movies", 1, 1},
    {UserSetting::music, "local-sync-music", 1, 1},
    {UserSetting::pictures, "local-sync-pictures", 1, 1},
    {UserSetting::documents, "local-sync-documents", 0, 1},
    {UserSetting::deviceFilter, "local-sync-devicefilters", 0, 1},
    {UserSetting::mediaDeviceTarget, "local-sync-media-device-target", 0, none},
    {UserSetting::lastSyncTime, "local-last-sync-time", 0, none},
    {UserSetting::computerName, "sync-computer-name", 0, none},
}};

const Value* stored(const Value::Dictionary* user, UserSetting setting) {
    if (user == nullptr) return nullptr;
    const auto found = user->find(settingRow(setting).key);
    return found == user->end() ? nullptr : &found->second;
}

} // namespace

const UserSettingRow& settingRow(UserSetting setting) {
    const auto& row = rows.at(static_cast<std::size_t>(setting));
    assert(row.setting == setting);
    return row;
}

const Value::Dictionary* userSettings(const Value::Dictionary& root, std::string_view hostId) {
    return dictionaryForKey(root, hostId);
}

Value::Dictionary* userSettings(Value::Dictionary& root, std::string_view hostId) {
    const auto found = root.find(hostId);
    return found == root.end() ? nullptr : found->second.asDictionary();
}

bool readBool(const Value::Dictionary* user, UserSetting setting) {
    const Value* value = stored(user, setting);
    return value == nullptr ? settingRow(setting).readDefault != 0 : value->boolValue();
}

std::int32_t readInteger(const Value::Dictionary* user, UserSetting setting) {
    const Value* value = stored(user, setting);
    if (value == nullptr) return settingRow(setting).readDefault;
    using Limits = std::numeric_limits<std::int32_t>;
    return static_cast<std::int32_t>(std::clamp<std::int64_t>(value->integerValue(), Limits::min(), Limits::max()));
}

void addJoiningDefaults(Value::Dictionary& user) {
    for (const auto& row : rows) {
        if (row.atJoining == none) continue;
        const bool yesNo = row.setting != UserSetting::deviceFilter;
        user.try_emplace(row.key, yesNo ? Value(row.atJoining != 0) : Value(row.atJoining));
    }
}

} // namespace vt

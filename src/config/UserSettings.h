// The settings that a configuration file keeps for each user: one row per setting, whatever it is about.
// Thread: any; pure.
#pragma once

#include "base/Value.h"

#include <cstdint>
#include <string_view>

namespace vt {

enum class UserSetting : std::uint8_t {
    participate,
    continuous,
    quiet,
    movies,
    music,
    pictures,
    documents,
    deviceFilter,
    mediaDeviceTarget,
    lastSyncTime,
    computerName,
};

struct UserSettingRow {
    static constexpr int notWritten = -1;
    UserSetting setting;
    const char* key;
    int readDefault; // for yes/no settings 0 or 1
    int atJoining;   // what joining writes when the key is missing
};

[[nodiscard]] const UserSettingRow& settingRow(UserSetting setting);

// The dictionary under a user's identifier; null when there is none.
[[nodiscard]] const Value::Dictionary* userSettings(const Value::Dictionary& root, std::string_view hostId);
[[nodiscard]] Value::Dictionary* userSettings(Value::Dictionary& root, std::string_view hostId);

// The row's default when `user` is null or lacks the key, else the stored value's own truth or number.
[[nodiscard]] bool readBool(const Value::Dictionary* user, UserSetting setting);
[[nodiscard]] std::int32_t readInteger(const Value::Dictionary* user, UserSetting setting);

// What a joining user gets; what is there stays.
void addJoiningDefaults(Value::Dictionary& user);

} // namespace vt

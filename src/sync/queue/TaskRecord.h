// One request to a drive's worker. Thread: any; a value.
#pragma once

#include "base/Paths.h"
#include "base/Value.h"

#include <optional>
#include <string>
#include <vector>

namespace vt {

// The names of the operations, as task records carry them.
namespace operations {
inline constexpr const char* sync = "sync";
inline constexpr const char* continuousSync = "continuous-sync";
inline constexpr const char* activateContinuousSync = "activate-continuous-sync";
inline constexpr const char* deactivateContinuousSync = "deactivate-continuous-sync";
inline constexpr const char* updateSyncList = "updateSyncList";
inline constexpr const char* changeDeviceFilter = "change-sync-devicefilter";
inline constexpr const char* removeSync = "remove-sync";
inline constexpr const char* death = "death";
} // namespace operations

// The activity types of the progress dictionary.
namespace activity {
inline constexpr int idle = 0;
inline constexpr int settingUp = 1;
inline constexpr int syncing = 2;
inline constexpr int finishing = 3;
inline constexpr int configuring = 4;
inline constexpr int endedWithoutSuccess = 5;
inline constexpr int completed = 6;
} // namespace activity

// The failure types of the progress dictionary.
namespace failure {
inline constexpr int unsuccessful = 1;
inline constexpr int driveDisappeared = 3;
inline constexpr int connectionError = 5;
inline constexpr int cancelled = 6;
} // namespace failure

struct TaskRecord {
    std::string operation;
    int syncActivityType = 0;
    std::optional<int> syncActivityFailureType{};
    std::optional<std::vector<std::string>> pathsToSyncTo{};
    std::optional<std::vector<std::string>> syncList{};

    // The record as the log shows it, under its keys.
    [[nodiscard]] Value::Dictionary toValue() const {
        Value::Dictionary record{{"operation", operation}, {"syncActivityType", syncActivityType}};
        if (syncActivityFailureType) record["syncActivityFailureType"] = *syncActivityFailureType;
        if (pathsToSyncTo) record["pathsToSyncTo"] = shown(*pathsToSyncTo);
        if (syncList) record["sync-list"] = shown(*syncList);
        return record;
    }

  private:
    [[nodiscard]] static Value shown(const std::vector<std::string>& bytes) {
        std::vector<std::string> texts;
        for (const std::string& path : bytes) texts.push_back(paths::displayText(path));
        return arrayOfStrings(texts);
    }
};

} // namespace vt

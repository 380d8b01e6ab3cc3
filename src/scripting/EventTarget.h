// What the event commands ask of the application. Drives are named by mount path (absolute, cleaned, no trailing "/").
// Thread: main. Errors: without a controller for the path setters do nothing and getters answer their defaults.
#pragma once

#include "base/LogSink.h"
#include "base/Value.h"
#include "mediafilter/MediaClasses.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace vt {

class EventTarget {
  public:
    virtual ~EventTarget() = default;
    [[nodiscard]] virtual LogSink& eventLog() = 0;
    // "~" for the home folder, where the path lies in it.
    [[nodiscard]] virtual std::string abbreviatedPath(const std::string& path) const = 0;
    // The status as the bytes of a keyed archive (binary property list).
    [[nodiscard]] virtual std::string archivedStatus(const Value::Dictionary& users) = 0;
    [[nodiscard]] virtual bool hasController(const std::string& drive) = 0;
    [[nodiscard]] virtual bool isDriveValidForSync(const std::string& drive, bool suppressAlerts) = 0;
    [[nodiscard]] virtual bool isDriveSetupForSync(const std::string& drive) = 0;

    [[nodiscard]] virtual std::vector<std::string> getSyncListForDrive(const std::string& drive) = 0;
    virtual void setSyncList(const std::vector<std::string>& list, const std::string& drive) = 0;

    [[nodiscard]] virtual bool getContinuousSyncStateForDrive(const std::string& drive) = 0;
    virtual void setContinuousSyncState(bool enabled, const std::string& drive) = 0;
    [[nodiscard]] virtual bool syncMediaStateForDrive(MediaKind kind, const std::string& drive) = 0;
    virtual void setSyncMediaState(MediaKind kind, bool enabled, const std::string& drive) = 0;
    [[nodiscard]] virtual std::int32_t syncDeviceFilterForDrive(const std::string& drive) = 0;
    virtual void setSyncDeviceFilter(std::int32_t filter, const std::string& drive) = 0;
    [[nodiscard]] virtual bool getParticipateSyncStateForDrive(const std::string& drive) = 0;
    virtual void setParticipateSyncState(bool participate, const std::string& drive) = 0;
    [[nodiscard]] virtual bool getQuietSyncStateForDrive(const std::string& drive) = 0;
    virtual void setQuietSyncState(bool quiet, const std::string& drive) = 0;

    virtual void startSyncForDriveAt(const std::string& drive) = 0;
    virtual void cancelSyncForDriveAt(const std::string& drive) = 0;
    virtual bool removeDriveSync(const std::string& drive) = 0;
    // Every user of the drive, keyed by host-user identifier; null without users or controller.
    [[nodiscard]] virtual std::optional<Value::Dictionary> statusForDrive(const std::string& drive) = 0;

    virtual void updateContinuousSyncSettings() = 0;
    // Recomputes the drive's four kind lists and gives the drive a new validator made of them.
    virtual void updateFileValidatorForDrive(const std::string& drive) = 0;
    // Schedules a sync after the usual second when continuous sync and participation are on.
    virtual void syncSoonIfContinuous(const std::string& drive) = 0;
    virtual void sendActivityNotification() = 0; // unforced, with nothing, after the reply
};

} // namespace vt

// The agent's own preferences for this user on this computer: per drive, whether it was seen and its switches.
// Thread: main. Errors: a failed write is the answer of synchronize() and otherwise ignored; values of a wrong kind
// read as absent.
#pragma once

#include "base/ThreadChecker.h"
#include "base/Value.h"
#include "platform/Clock.h"
#include "platform/Preferences.h"
#include "platform/SystemIdentity.h"

#include <optional>
#include <string>

namespace vt {

class VTUserDefaults {
  public:
    // `applicationId` is the domain; the domain is checked and rebuilt here when it is not of the present layout.
    VTUserDefaults(std::string applicationId, Preferences& preferences, const SystemIdentity& system,
                   const Clock& clock);

    [[nodiscard]] std::optional<std::string> uniqueHostUserId() const; // the installation's identifier, not the drive's
    [[nodiscard]] bool hasUserSeenDevice(const std::string& drive) const;
    void addSeenDevice(const std::string& drive);
    [[nodiscard]] bool isDeviceParticipating(const std::string& drive) const;
    [[nodiscard]] bool isDeviceContinuous(const std::string& drive) const;
    [[nodiscard]] bool isDeviceQuiet(const std::string& drive) const;
    void setParticipating(bool enabled, const std::string& drive);
    void setContinuous(bool enabled, const std::string& drive);
    void setQuiet(bool enabled, const std::string& drive);
    [[nodiscard]] std::optional<Date> lastSyncDateForDevice(const std::string& drive) const;
    void setLastSyncDate(std::optional<Date> date, const std::string& drive);
    [[nodiscard]] Value::Dictionary& syncOptionListForDevice(const std::string& drive);
    bool synchronize();

  private:
    void verifyPrefences();
    [[nodiscard]] bool readBool(const std::string& drive, const char* key) const;
    void writeBool(const std::string& drive, const char* key, bool enabled);

    ThreadChecker _thread;
    std::string _appID;
    Preferences& _services;
    const SystemIdentity& _system;
    const Clock& _clock;
    Value::Dictionary _preferences;
};

} // namespace vt

// What the event commands do to a drive: looks the drive's controller up and forwards to it.
// Thread: main. Alerts that a command asks for are shown after its reply was sent.
#pragma once

#include "app/DriveArrival.h"
#include "scripting/EventTarget.h"

namespace vt {

class DriveCommands final : public EventTarget {
  public:
    DriveCommands(DriveArrival::Collaborators collaborators, const ConfigurationServices& configuration);

    [[nodiscard]] LogSink& eventLog() override { return _c.log; }
    [[nodiscard]] std::string abbreviatedPath(const std::string& path) const override;
    [[nodiscard]] std::string archivedStatus(const Value::Dictionary& users) override;
    [[nodiscard]] bool hasController(const std::string& drive) override;
    [[nodiscard]] bool isDriveValidForSync(const std::string& drive, bool suppressAlerts) override;
    [[nodiscard]] bool isDriveSetupForSync(const std::string& drive) override;
    [[nodiscard]] std::vector<std::string> getSyncListForDrive(const std::string& drive) override;
    void setSyncList(const std::vector<std::string>& list, const std::string& drive) override;
    [[nodiscard]] bool getContinuousSyncStateForDrive(const std::string& drive) override;
    void setContinuousSyncState(bool enabled, const std::string& drive) override;
    [[nodiscard]] bool syncMediaStateForDrive(MediaKind kind, const std::string& drive) override;
    void setSyncMediaState(MediaKind kind, bool enabled, const std::string& drive) override;
    [[nodiscard]] std::int32_t syncDeviceFilterForDrive(const std::string& drive) override;
    void setSyncDeviceFilter(std::int32_t filter, const std::string& drive) override;
    [[nodiscard]] bool getParticipateSyncStateForDrive(const std::string& drive) override;
    void setParticipateSyncState(bool participate, const std::string& drive) override;
    [[nodiscard]] bool getQuietSyncStateForDrive(const std::string& drive) override;
    void setQuietSyncState(bool quiet, const std::string& drive) override;
    void startSyncForDriveAt(const std::string& drive) override;
    void cancelSyncForDriveAt(const std::string& drive) override;
    bool removeDriveSync(const std::string& drive) override;
    [[nodiscard]] std::optional<Value::Dictionary> statusForDrive(const std::string& drive) override;
    void updateContinuousSyncSettings() override { _c.updateContinuousSyncSettings(); }
    void updateFileValidatorForDrive(const std::string& drive) override { _c.media.rebuildFor(drive); }
    void syncSoonIfContinuous(const std::string& drive) override;
    void sendActivityNotification() override;

  private:
    [[nodiscard]] std::shared_ptr<VTSyncController> controller(const std::string& drive) const;
    // After the reply: a critical panel that names the drive.
    void alertLater(const std::string& title, const std::string& message, const std::string& drive);

    DriveArrival::Collaborators _c;
    ConfigurationServices _configuration;
};

} // namespace vt

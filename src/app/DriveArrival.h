// Turns news about volumes into sync controllers, and a connected drive into a sync where its settings allow it.
// Thread: main. Errors: a drive that cannot be synced is logged and left alone.
#pragma once

#include "app/ApplicationServices.h"
#include "app/ContinuousSync.h"
#include "app/DelayedCalls.h"
#include "app/LogFrontEnd.h"
#include "app/MediaSettings.h"
#include "app/SyncControllerRegistry.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>

namespace vt {

class DriveArrival final : public VolumeObserver {
  public:
    struct Collaborators {
        ApplicationServices& services;
        LogFrontEnd& log;
        SyncControllerRegistry& registry;
        MediaSettings& media;
        ContinuousSync& continuous;
        DelayedCalls& delayed;
        std::function<void()> updateContinuousSyncSettings;
    };
    explicit DriveArrival(Collaborators collaborators) : _c(std::move(collaborators)) {}

    void diskAppeared(const Value::Dictionary& description) override;
    void diskDisappeared(const Value::Dictionary& description) override;
    void diskDescriptionChanged(const Value::Dictionary& description) override;
    // Why an unmount is refused; null: approved.
    struct Dissenter {
        std::uint32_t status = 0; // a disk-arbitration code
        std::string text;
        bool operator==(const Dissenter&) const = default;
    };
    static constexpr std::uint32_t returnBusy = 0xF8DA'0002;
    static constexpr const char* syncInProgress = "Sync In Progress";
    [[nodiscard]] std::optional<Dissenter> unmountApproval(const Value::Dictionary& description);
    [[nodiscard]] static std::optional<Dissenter> ejectApproval(const Value::Dictionary&) { return std::nullopt; }

    void newDriveAppeared(const std::string& mountPoint, const std::string& vendor,
                          const std::optional<std::string>& uuid, const std::optional<std::string>& bsdNode,
                          const std::shared_ptr<ConnectedDrive>& netService);
    // The steps above are running for this mount; they serve the main loop while the drive's configuration is written.
    [[nodiscard]] bool isArriving(const std::string& mountPoint) const { return _arriving.count(mountPoint) != 0; }
    // Called when those steps are done, for a mount that has a controller.
    std::function<void(const std::string& mountPoint)> arrived;
    // The controller of the key leaves: it is told, then dropped.
    void driveLeaves(const std::string& key);
    // A fresh controller for the same mount, without the steps of an arrival and without a write.
    void replaceController(const std::string& mountPoint);

  private:
    class Arriving;
    void pathChanged(const Value::Dictionary& description, const std::string& bsdName);
    void setUp(const std::shared_ptr<VTSyncController>& controller, const std::string& mountPoint);
    void showBusyAlert(const std::string& mountPoint);

    Collaborators _c;
    std::multiset<std::string> _arriving;
};

} // namespace vt

// One sync controller per drive, by the drive's key: its device node without "/dev/", or the mount path of a share.
// Thread: main. Every walk goes in ascending key order.
#pragma once

#include "sync/VTSyncController.h"

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vt {

class SyncControllerRegistry {
  public:
    using Controllers = std::map<std::string, std::shared_ptr<VTSyncController>>;

    // `services` is completed by the application before the first controller is made.
    SyncControllerRegistry(SyncServices& services, LogSink& log) : _services(services), _log(log) {}

    [[nodiscard]] std::shared_ptr<VTSyncController> syncControllerForMountPoint(const std::string& mountPoint) const;
    [[nodiscard]] std::shared_ptr<VTSyncController> controllerForKey(const std::string& key) const;
    // An existing controller is answered unchanged. Null: no device node and no mapped share, another node than
    // `bsdNode` (the disk has gone), or it could not be made.
    std::shared_ptr<VTSyncController> createSyncControllerForMountPoint(const std::string& mountPoint,
                                                                        const std::string& deviceVendor,
                                                                        const std::optional<std::string>& uuid,
                                                                        const std::optional<std::string>& bsdNode);
    // Takes it out; the answer is what was there.
    std::shared_ptr<VTSyncController> remove(const std::string& key);
    [[nodiscard]] bool holds(const VTSyncController* controller) const;
    [[nodiscard]] std::optional<std::string> keyOf(const VTSyncController* controller) const;
    [[nodiscard]] std::shared_ptr<VTSyncController> isBusyController() const;
    [[nodiscard]] const Controllers& all() const { return _syncControllers; }
    [[nodiscard]] Controllers takeAll() { return std::exchange(_syncControllers, {}); }

    // From here the next controller's progress window is cascaded; each controller answers where it goes on from.
    [[nodiscard]] VTSyncController::Point windowCascadePoint() const { return _windowCascadePoint; }

    // Told after a controller joined or left, with its mount point.
    std::function<void(const std::string& mountPoint)> appeared;
    std::function<void(const std::string& mountPoint)> disappeared;

  private:
    [[nodiscard]] std::string keyForMountPoint(const std::string& mountPoint) const;

    SyncServices& _services;
    LogSink& _log;
    Controllers _syncControllers;
    VTSyncController::Point _windowCascadePoint{80, 0}; // no screen: its top edge is at 0
};

} // namespace vt

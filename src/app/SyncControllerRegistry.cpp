#include "app/SyncControllerRegistry.h"

#include "base/Paths.h"
#include "base/Text.h"
#include "config/utilities/SystemStrings.h"

namespace vt {

std::string SyncControllerRegistry::keyForMountPoint(const std::string& mountPoint) const {
    return stringWithDevNodeFromMountPoint(_services.volumes, mountPoint).value_or(mountPoint);
}

std::shared_ptr<VTSyncController>
SyncControllerRegistry::syncControllerForMountPoint(const std::string& mountPoint) const {
    if (mountPoint.empty()) return nullptr;
    return controllerForKey(keyForMountPoint(mountPoint));
}

std::shared_ptr<VTSyncController> SyncControllerRegistry::controllerForKey(const std::string& key) const {
    const auto found = _syncControllers.find(key);
    return found == _syncControllers.end() ? nullptr : found->second;
}

std::shared_ptr<VTSyncController> SyncControllerRegistry::createSyncControllerForMountPoint(
    const std::string& mountPoint, const std::string& deviceVendor, const std::optional<std::string>& uuid,
    const std::optional<std::string>& bsdNode) {
    if (auto existing = syncControllerForMountPoint(mountPoint)) return existing;
    const auto node = stringWithDevNodeFromMountPoint(_services.volumes, mountPoint);
    if (!node && !_services.host.isMappedShare(mountPoint)) return nullptr;
    // The disk that was reported may have gone since: its mount point is then a folder of whatever lies below.
    if (bsdNode && node != bsdNode) return nullptr;
    auto controller = VTSyncController::controllerForMountPoint(mountPoint, deviceVendor, uuid, bsdNode, _services);
    if (!controller || stringWithDevNodeFromMountPoint(_services.volumes, mountPoint) != node) return nullptr;
    _syncControllers[node.value_or(mountPoint)] = controller;
    _windowCascadePoint = VTSyncController::cascadeWindowFromPoint(_windowCascadePoint);
    // The key reads empty for a share, which has no device node.
    _log.debugMessage(formatText("syncControllerForMountPoint: created %@ key=%@",
                                 {paths::displayText(mountPoint), node.value_or("")}));
    if (appeared) appeared(mountPoint);
    return controller;
}

std::shared_ptr<VTSyncController> SyncControllerRegistry::remove(const std::string& key) {
    const auto found = _syncControllers.find(key);
    if (found == _syncControllers.end()) return nullptr;
    auto controller = found->second;
    _syncControllers.erase(found);
    if (disappeared) disappeared(controller->deviceMountPoint());
    return controller;
}

bool SyncControllerRegistry::holds(const VTSyncController* controller) const {
    return keyOf(controller).has_value();
}

std::optional<std::string> SyncControllerRegistry::keyOf(const VTSyncController* controller) const {
    for (const auto& [key, registered] : _syncControllers) {
        if (registered.get() == controller) return key;
    }
    return std::nullopt;
}

std::shared_ptr<VTSyncController> SyncControllerRegistry::isBusyController() const {
    for (const auto& [key, controller] : _syncControllers) {
        if (controller->busy()) return controller;
    }
    return nullptr;
}

} // namespace vt

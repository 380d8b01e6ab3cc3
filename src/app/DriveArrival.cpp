#include "app/DriveArrival.h"

#include "base/Paths.h"
#include "base/Text.h"
#include "config/utilities/SystemStrings.h"
#include "config/utilities/TypedGetters.h"

namespace vt {

namespace {

std::optional<std::string> text(const Value::Dictionary& description, const char* key) {
    const std::string* found = stringForKey(description, key);
    return found == nullptr ? std::nullopt : std::optional(*found);
}

// The device vendor, or the device model when there is no vendor.
std::string vendorOf(const Value::Dictionary& description) {
    if (const auto vendor = text(description, diskdescription::deviceVendor)) return *vendor;
    return text(description, diskdescription::deviceModel).value_or("");
}

bool isShare(const Value::Dictionary& description) {
    return boolForKey(description, diskdescription::volumeNetwork) &&
           text(description, diskdescription::volumeKind) == "smbfs";
}

std::optional<std::string> mountPointOf(const Value::Dictionary& description) {
    const auto path = text(description, diskdescription::volumePath);
    return path ? std::optional(paths::clean(*path)) : std::nullopt;
}

} // namespace

// Marks a mount while its arrival runs, whatever ends it.
class DriveArrival::Arriving {
  public:
    Arriving(std::multiset<std::string>& all, const std::string& mountPoint)
        : _all(all), _place(all.insert(mountPoint)) {}
    Arriving(const Arriving&) = delete;
    Arriving& operator=(const Arriving&) = delete;
    ~Arriving() { _all.erase(_place); }

  private:
    std::multiset<std::string>& _all;
    std::multiset<std::string>::iterator _place;
};

void DriveArrival::diskAppeared(const Value::Dictionary& description) {
    const auto mountPoint = mountPointOf(description);
    if (!mountPoint) return;
    if (_c.log.debugEnabled())
        _c.log.debugMessage(formatText("DADiskAppeared_Proc: DiskAppeared dictionary=\"%@\"", {Value(description)}));
    const Value* internal = numberForKey(description, diskdescription::deviceInternal);
    if (internal != nullptr && !internal->boolValue())
        newDriveAppeared(*mountPoint, vendorOf(description), text(description, diskdescription::volumeUuid),
                         text(description, diskdescription::mediaBsdName), nullptr);
    _c.log.flushLog();
}

void DriveArrival::diskDisappeared(const Value::Dictionary& description) {
    if (const auto bsdName = text(description, diskdescription::mediaBsdName)) {
        _c.log.debugMessage(formatText("-DADiskDisappeared_Proc: unmounting %@", {*bsdName}));
        driveLeaves(*bsdName);
    }
    if (isShare(description)) {
        if (const auto mountPoint = mountPointOf(description)) driveLeaves(*mountPoint);
    }
    _c.log.flushLog();
}

void DriveArrival::diskDescriptionChanged(const Value::Dictionary& description) {
    if (const auto bsdName = text(description, diskdescription::mediaBsdName)) pathChanged(description, *bsdName);
    _c.log.flushLog();
}

void DriveArrival::pathChanged(const Value::Dictionary& description, const std::string& bsdName) {
    if (_c.registry.controllerForKey(bsdName)) {
        _c.log.debugMessage(formatText("-DADiskDescriptionChanged_Proc: unmounting %@", {bsdName}));
        driveLeaves(bsdName);
        return;
    }
    const auto mountPoint = mountPointOf(description);
    if (!mountPoint) return;
    if (_c.log.debugEnabled())
        _c.log.debugMessage(
            formatText("DADiskDescriptionChanged_Proc: DiskChanged dictionary=\"%@\"", {Value(description)}));
    auto uuid = text(description, diskdescription::volumeUuid);
    const auto content = text(description, diskdescription::mediaContent);
    if (!uuid && (content == "DOS_FAT_32" || content == "Windows_FAT_32")) {
        // A FAT volume has no volume UUID: its size and revision stand in, each empty where the disk does not tell it.
        const Value* size = numberForKey(description, diskdescription::mediaSize);
        uuid = formatText("%@-%@", {size == nullptr ? std::string() : size->description(),
                                    text(description, diskdescription::deviceRevision).value_or("")});
    }
    newDriveAppeared(*mountPoint, vendorOf(description), uuid, bsdName, nullptr);
}

std::optional<DriveArrival::Dissenter> DriveArrival::unmountApproval(const Value::Dictionary& description) {
    const auto bsdName = text(description, diskdescription::mediaBsdName);
    const auto controller = bsdName ? _c.registry.controllerForKey(*bsdName) : nullptr;
    if (!controller) return std::nullopt;
    if (controller->busy()) {
        _c.log.debugMessage(formatText("-DADiskUnmountApproval_Proc: sync in progress: %@", {*bsdName}));
        return Dissenter{returnBusy, syncInProgress};
    }
    _c.log.debugMessage(formatText("-DADiskUnmountApproval_Proc: unmount approved: %@", {*bsdName}));
    return std::nullopt;
}

void DriveArrival::driveLeaves(const std::string& key) {
    const auto controller = _c.registry.controllerForKey(key);
    if (!controller) return;
    controller->driveDisappeared();
    _c.registry.remove(key);
    _c.updateContinuousSyncSettings();
}

void DriveArrival::replaceController(const std::string& mountPoint) {
    const auto old = _c.registry.syncControllerForMountPoint(mountPoint);
    if (!old) return;
    const std::string vendor = old->deviceVendor();
    const auto uuid = old->deviceUUIDString();
    if (const auto key = _c.registry.keyOf(old.get())) driveLeaves(*key);
    _c.registry.createSyncControllerForMountPoint(mountPoint, vendor, uuid, std::nullopt);
    _c.media.rebuildFor(mountPoint);
}

void DriveArrival::showBusyAlert(const std::string& mountPoint) {
    Alert alert;
    alert.title = localised("Cannot Start Sync.");
    alert.message = localisedText("The drive \"%@\" is already involved in a sync operation.",
                                  {displayNameAtPath(_c.services.volumes, mountPoint)});
    alert.buttons = {localised("OK")};
    alert.critical = true;
    _c.services.alerts.run(alert);
}

void DriveArrival::newDriveAppeared(const std::string& mountPoint, const std::string& vendor,
                                    const std::optional<std::string>& uuid, const std::optional<std::string>& bsdNode,
                                    const std::shared_ptr<ConnectedDrive>& netService) {
    const std::string shown = paths::displayText(mountPoint);
    _c.log.debugMessage(
        formatText("-newDriveAppeared: %@ vendor: %@ withUUIDString: %@", {shown, vendor, uuid.value_or("")}));
    std::shared_ptr<VTSyncController> controller;
    {
        const Arriving arriving(_arriving, mountPoint);
        controller = _c.registry.createSyncControllerForMountPoint(mountPoint, vendor, uuid, bsdNode);
        if (controller) {
            controller->setNetService(netService);
            setUp(controller, mountPoint);
        }
    }
    if (controller && arrived) arrived(mountPoint);
}

void DriveArrival::setUp(const std::shared_ptr<VTSyncController>& controller, const std::string& mountPoint) {
    const std::string shown = paths::displayText(mountPoint);
    if (controller->busy()) {
        _c.log.debugMessage(localised("Cannot Start Sync."));
        _c.log.debugMessage(localisedText("The drive \"%@\" is already involved in a sync operation.", {shown}));
        showBusyAlert(mountPoint);
        return;
    }
    if (!controller->isValidDevice()) {
        _c.log.debugMessage(localised("Cannot Start Sync."));
        _c.log.debugMessage(localisedText("The drive \"%@\" is not a valid Talmont Pushkey\\U2122 drive.", {shown}));
        return;
    }
    if (!controller->isValidFileSystem()) return;
    const bool enabled = controller->syncIsEnabledForThisDevice();
    // Without a validator every file is refused, so the drive gets one whatever the answer was.
    _c.media.rebuildFor(mountPoint);
    if (!enabled) {
        _c.log.debugMessage(
            formatText("-newDriveAppeared: user is not participating in sync operations with \"%@\".", {shown}));
        return;
    }
    _c.updateContinuousSyncSettings();
    if (!controller->continuousSyncState()) {
        _c.log.debugMessage(formatText("-newDriveAppeared: continuous sync is OFF for \"%@\".", {shown}));
        return;
    }
    if (!controller->isParticipatingInSync()) {
        _c.log.debugMessage(formatText("-newDriveAppeared: participate sync is OFF for \"%@\".", {shown}));
        return;
    }
    controller->setCancelPending(false, false);
    _c.delayed.sync(controller);
}

} // namespace vt

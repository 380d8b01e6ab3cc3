#include "app/DriveCommands.h"

#include "base/Paths.h"
#include "base/Text.h"
#include "config/SyncItems.h"
#include "config/VTConfigurationFile.h"
#include "config/utilities/SystemStrings.h"
#include "scripting/KeyedArchive.h"

namespace vt {

namespace {
constexpr const char* involvedText = "The drive \"%@\" is already involved in a sync operation.";
}

DriveCommands::DriveCommands(DriveArrival::Collaborators collaborators, const ConfigurationServices& configuration)
    : _c(std::move(collaborators)), _configuration(configuration) {}

std::shared_ptr<VTSyncController> DriveCommands::controller(const std::string& drive) const {
    return _c.registry.syncControllerForMountPoint(drive);
}

void DriveCommands::alertLater(const std::string& title, const std::string& message, const std::string& drive) {
    _c.services.runLoop.performLater([this, title, message, drive] {
        Alert alert;
        alert.title = localised(title);
        alert.message = localisedText(message, {displayNameAtPath(_c.services.volumes, drive)});
        alert.buttons = {localised("OK")};
        alert.critical = true;
        _c.services.alerts.run(alert);
    });
}

std::string DriveCommands::abbreviatedPath(const std::string& path) const {
    return HomePaths(_c.services.system.home()).abbreviate(path);
}

std::string DriveCommands::archivedStatus(const Value::Dictionary& users) {
    return _c.services.propertyLists.binary(keyedArchive(users)).valueOr({});
}

bool DriveCommands::hasController(const std::string& drive) {
    return controller(drive) != nullptr;
}

bool DriveCommands::isDriveValidForSync(const std::string& drive, bool suppressAlerts) {
    const auto found = controller(drive);
    if (!found) return false;
    if (!found->isValidDevice()) {
        if (!suppressAlerts)
            alertLater("Cannot Start Sync.", "The drive \"%@\" is not a valid Talmont Pushkey\\U2122 drive.", drive);
        return false;
    }
    if (found->isValidFileSystem()) return true;
    if (!suppressAlerts)
        alertLater("Cannot Start Sync.", "The drive \"%@\" needs to be formatted with HFS+ or some variant thereof.",
                   drive);
    return false;
}

bool DriveCommands::isDriveSetupForSync(const std::string& drive) {
    const auto found = controller(drive);
    return found && found->hasSyncConfiguration();
}

std::vector<std::string> DriveCommands::getSyncListForDrive(const std::string& drive) {
    std::vector<std::string> list;
    const auto found = controller(drive);
    if (!found) return list;
    const HomePaths homePaths(_c.services.system.home());
    for (const std::string& item : found->shadowedSyncList()) list.push_back(homePaths.standardise(item));
    return list;
}

void DriveCommands::setSyncList(const std::vector<std::string>& list, const std::string& drive) {
    const auto found = controller(drive);
    if (!found) return;
    if (found->busyWithSynclistOnly()) {
        alertLater("Cannot Update Sync List.", involvedText, drive);
        return;
    }
    const SyncItems items = normaliseSyncItems(list, HomePaths(_c.services.system.home()));
    for (const std::string& item : items.refused) _c.log.logMessage(refusedSyncItemText(item));
    found->setCancelPending(false, false);
    _c.delayed.perform(found, [this, list = items.items](VTSyncController& due) {
        due.updateSyncList(list);
        // The streams were rebuilt while the old list still held.
        _c.updateContinuousSyncSettings();
    });
    _c.updateContinuousSyncSettings();
    syncSoonIfContinuous(drive);
}

bool DriveCommands::getContinuousSyncStateForDrive(const std::string& drive) {
    const auto found = controller(drive);
    return found && found->continuousSyncState();
}

void DriveCommands::setContinuousSyncState(bool enabled, const std::string& drive) {
    if (const auto found = controller(drive)) found->setContinuousSyncState(enabled);
}

bool DriveCommands::syncMediaStateForDrive(MediaKind kind, const std::string& drive) {
    return mediaStateOf(controller(drive).get(), kind);
}

void DriveCommands::setSyncMediaState(MediaKind kind, bool enabled, const std::string& drive) {
    const auto found = controller(drive);
    if (!found) return;
    switch (kind) {
    case MediaKind::movies:
        found->setSyncMoviesState(enabled);
        break;
    case MediaKind::music:
        found->setSyncMusicState(enabled);
        break;
    case MediaKind::pictures:
        found->setSyncPicturesState(enabled);
        break;
    case MediaKind::documents:
        found->setSyncDocumentsState(enabled);
        break;
    }
}

std::int32_t DriveCommands::syncDeviceFilterForDrive(const std::string& drive) {
    const auto found = controller(drive);
    return found ? found->syncDeviceFilter() : 0;
}

void DriveCommands::setSyncDeviceFilter(std::int32_t filter, const std::string& drive) {
    if (const auto found = controller(drive)) found->setSyncDeviceFilter(filter);
}

bool DriveCommands::getParticipateSyncStateForDrive(const std::string& drive) {
    const auto found = controller(drive);
    return found && found->participateSyncState();
}

void DriveCommands::setParticipateSyncState(bool participate, const std::string& drive) {
    const auto found = controller(drive);
    if (!found) return;
    found->setParticipateSyncState(participate);
    if (!participate) return;
    // A user who had not joined had no settings to write to: joining made them, so the switch is set again.
    if (!found->isParticipatingInSync()) found->setParticipateSyncState(true);
    // A mark of an earlier cancel must not end the syncs that participation starts.
    found->setCancelPending(false, false);
    _c.media.rebuildFor(drive);
}

bool DriveCommands::getQuietSyncStateForDrive(const std::string& drive) {
    const auto found = controller(drive);
    return found && found->quietSyncState();
}

void DriveCommands::setQuietSyncState(bool quiet, const std::string& drive) {
    if (const auto found = controller(drive)) found->setQuietSyncState(quiet);
}

void DriveCommands::startSyncForDriveAt(const std::string& drive) {
    const auto found = controller(drive);
    if (!found) return;
    found->setParticipateSyncState(true);
    if (!found->isParticipatingInSync()) found->setParticipateSyncState(true);
    _c.media.rebuildFor(drive);
    _c.updateContinuousSyncSettings();
    if (found->busy()) {
        alertLater("Cannot Start Sync.", involvedText, drive);
        return;
    }
    found->initForNewJob();
    found->setProgressActivePath(&drive);
    // The dictionary is one live object: what is broadcast shows the reset counters with the active path.
    Value::Dictionary progress = found->getCurrentProgressDict();
    progress["activePath"] = paths::displayText(drive);
    _c.continuous.sendActivityNotificationForced(true, progress);
    found->setCancelPending(false, false);
    _c.delayed.sync(found);
}

void DriveCommands::cancelSyncForDriveAt(const std::string& drive) {
    if (const auto found = controller(drive)) found->setCancelPending(true, true);
}

bool DriveCommands::removeDriveSync(const std::string& drive) {
    if (const auto found = controller(drive)) {
        found->removeDriveSync();
        _c.updateContinuousSyncSettings();
    }
    return true;
}

std::optional<Value::Dictionary> DriveCommands::statusForDrive(const std::string& drive) {
    const auto found = controller(drive);
    if (!found) return std::nullopt;
    const auto shared = VTConfigurationFile::configWithMountPoint(drive, VTConfigurationFile::ctoc, _configuration);
    const auto users = shared->configSyncUserList();
    if (!users || users->empty()) return std::nullopt;
    Value::Dictionary status;
    for (const std::string& user : *users) {
        Value::Dictionary entry;
        entry.emplace("continuousSyncEnabled", shared->isContinuousEnabledForUniqueHostID(user));
        // The preview is switched off, so its inverse is always on.
        entry.emplace("quietSyncEnabled", true);
        entry.emplace("participateSyncEnabled", shared->isParticipatingEnabledForUniqueHostID(user));
        entry.emplace("computerName", shared->computerNameForUniqueHostID(user).value_or(""));
        if (const auto list = shared->syncItemList()) entry.emplace("syncSet", arrayOfStrings(*list));
        if (const auto time = shared->lastSyncDateForUniqueHostID(user)) entry.emplace("lastSyncTime", *time);
        status.emplace(user, std::move(entry));
    }
    return status;
}

void DriveCommands::syncSoonIfContinuous(const std::string& drive) {
    const auto found = controller(drive);
    if (found && found->continuousSyncState() && found->isParticipatingInSync()) _c.delayed.sync(found);
}

void DriveCommands::sendActivityNotification() {
    // The caller's reply goes first.
    _c.services.runLoop.performLater([this] { _c.continuous.sendActivityNotificationForced(false, std::nullopt); });
}

} // namespace vt

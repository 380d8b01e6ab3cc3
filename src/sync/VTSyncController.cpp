#include "sync/VTSyncController.h"

#include "base/Paths.h"
#include "config/utilities/SystemStrings.h"
#include "sync/ControllerParts.h"
#include "sync/DiskSize.h"
#include "sync/NameClashes.h"

#include <utility>

namespace vt {

namespace {

TaskRecord configurationTask(std::string operation) {
    return {.operation = std::move(operation), .syncActivityType = activity::configuring};
}

std::string switchName(bool enabled, const char* kind) {
    return std::string(enabled ? "activate-sync-" : "deactivate-sync-") + kind;
}

} // namespace

std::shared_ptr<VTSyncController> VTSyncController::controllerForMountPoint(const std::string& mountPoint,
                                                                            const std::string& deviceVendor,
                                                                            const std::optional<std::string>& uuid,
                                                                            const std::optional<std::string>&,
                                                                            SyncServices& services) {
    // The device name that the caller knows is deliberately not used: isValidFileSystem() finds it.
    return std::make_shared<VTSyncController>(std::make_shared<Parts>(mountPoint, deviceVendor, uuid, services));
}

VTSyncController::VTSyncController(std::shared_ptr<Parts> parts) : _parts(std::move(parts)) {}

VTSyncController::~VTSyncController() {
    _parts->log.debugLine("-[MRLSyncController %@ dealloc]", paths::displayText(deviceMountPoint()));
    _parts->window.reset(); // here, on the main thread: the worker may hold the rest a little longer
    _parts->tasks.close();  // a worker without a "death" before it ends now, or with the task that it is at
}

bool VTSyncController::isValidDevice() {
    const auto stat = _parts->services.volumes.statVolume(deviceMountPoint());
    if (!stat) {
        _parts->log.debugLine("-isValidDevice: cannot get statfs information about \"%@\" (%d, %s)",
                              paths::displayText(deviceMountPoint()), stat.code(), stat.error().text);
        return false;
    }
    _parts->log.debugLine("-isValidDevice: f_mntonname=%s f_mntfromname=%s", paths::displayText(stat->mountedOn),
                          paths::displayText(stat->mountedFrom));
    return stat->mountedFrom.starts_with("/dev/disk") || _parts->services.host.isMappedShare(stat->mountedOn);
}

bool VTSyncController::isValidFileSystem() {
    const auto stat = _parts->services.volumes.statVolume(deviceMountPoint());
    if (!stat) {
        _parts->log.debugLine("-isValidFileSystem: cannot get statfs information about \"%@\" (%d, %s)",
                              paths::displayText(deviceMountPoint()), stat.code(), stat.error().text);
        return false;
    }
    constexpr std::string_view devices = "/dev/";
    _parts->facts.setFileSystemType(stat->typeName);
    _parts->facts.setDiskSlice(stat->mountedFrom.starts_with(devices) ? stat->mountedFrom.substr(devices.size())
                                                                      : stat->mountedFrom);
    if (!_parts->facts.fsIsCompatible() || !_parts->facts.fsIsWritable()) return false;
    _parts->log.debugLine("-isValidFileSystem: file system check passed for \"%@\".",
                          paths::displayText(deviceMountPoint()));
    return true;
}

bool VTSyncController::syncIsEnabledForThisDevice() {
    const DriveSession session(*_parts->guard);
    VTConfigurationFile& configuration = *_parts->configuration;
    bool enabled = false;
    if (configuration.hasSyncConfiguration()) {
        enabled = configuration.isParticipatingEnabledForUser();
        if (enabled) configuration.addUserToList();
    } else {
        if (configuration.hasOldSyncFormat()) {
            enabled = configuration.convertOldSync();
            if (enabled) configuration.addUserToList();
        } else {
            std::string uuid;
            {
                const std::scoped_lock lock(_parts->fieldsMutex);
                if (!_parts->deviceUUIDString)
                    _parts->deviceUUIDString = "1-1-1";
                else
                    systemLog(formatText("_deviceUUIDString = %@", {*_parts->deviceUUIDString}));
                uuid = *_parts->deviceUUIDString;
            }
            _parts->services.host.addSeenDevice(uuid);
            configuration.addUserToList();
            configuration.createDefaultSyncSet();
            enabled = true;
        }
        configuration.setParticipatingEnabledForUser(enabled);
        configuration.setContinuousEnabledForUser(true);
        configuration.setQuietEnabledForUser(true);
    }
    if (const auto dictionary = configuration.dictionary())
        for (const std::string& line :
             nameClashes(*dictionary, _parts->hostUserId, _parts->services.system.machineName()))
            _parts->log.logMessage(line);
    return enabled;
}

bool VTSyncController::hasUserSeenThisDevice() const {
    return _parts->configuration->hasUserSeenDevice();
}
int VTSyncController::syncType() const {
    return VTConfigurationFile::ptop;
}
std::int64_t VTSyncController::parseDiskSize(std::string_view text) {
    return vt::parseDiskSize(text);
}

std::string VTSyncController::pathForPushkeyTarget() const {
    return _parts->paths.target();
}
std::string VTSyncController::pathForPushkeyTemp() const {
    return _parts->paths.driveWork();
}
std::string VTSyncController::pathForLocalTemp() const {
    return _parts->paths.localWork();
}
std::string VTSyncController::pathForScanResults() const {
    return _parts->paths.scanResults();
}
std::string VTSyncController::pathSegmentFromSyncItem(const std::string& item) const {
    return _parts->paths.segment(item);
}

void VTSyncController::sync() {
    _parts->log.debugLine("----- sync:");
    _parts->log.debugLine("%@ %@", "<VTSyncController " + paths::displayText(deviceMountPoint()) + ">", "sync:");
    _parts->queue({.operation = operations::sync, .syncActivityType = activity::syncing});
}

void VTSyncController::continuousSyncNow(const std::vector<std::string>& paths) {
    _parts->log.debugLine("----- continuousSyncNow:");
    // What was stopped while nothing ran is not what begins now: its changes would wait for the next ones.
    _parts->tasks.clearCancelIfIdle(_parts->cancel);
    _parts->queue(
        {.operation = operations::continuousSync, .syncActivityType = activity::syncing, .pathsToSyncTo = paths});
}

void VTSyncController::removeDriveSync() {
    _parts->log.debugLine("----- removeDriveSync:");
    _parts->queue(configurationTask(operations::removeSync));
    _parts->closeWindow();
    setContinuousSyncState(false);
}

void VTSyncController::updateSyncList(const std::vector<std::string>& list) {
    setShadowedSyncList(list);
    _parts->log.debugLine("----- updateSyncList:");
    TaskRecord task = configurationTask(operations::updateSyncList);
    task.syncList = list;
    _parts->queue(std::move(task));
}

void VTSyncController::driveDisappeared() {
    // First of all, so that what runs on the drive fails before anything else can be mounted in its place.
    _parts->guard->markGone();
    queueDeath();
    _parts->closeWindow();
}

void VTSyncController::queueDeath() {
    _parts->log.debugLine("----- driveDisappeared:");
    _parts->queue({.operation = operations::death,
                   .syncActivityType = activity::syncing,
                   .syncActivityFailureType = failure::driveDisappeared});
}

void VTSyncController::setContinuousSyncState(bool enabled) {
    if (enabled != continuousSyncState()) setCancelPending(false, false);
    _parts->configuration->setContinuousEnabledForUser(enabled);
    _parts->log.debugLine("----- setContinuousSyncState:");
    _parts->queue(
        configurationTask(enabled ? operations::activateContinuousSync : operations::deactivateContinuousSync));
}

void VTSyncController::setSyncMoviesState(bool enabled) {
    _parts->log.debugLine("----- setSyncMoviesState:");
    _parts->configuration->setSyncMoviesEnabledForUser(enabled);
    _parts->queue(configurationTask(switchName(enabled, "movies")));
}

void VTSyncController::setSyncMusicState(bool enabled) {
    _parts->log.debugLine("----- setSyncMusicState:");
    _parts->configuration->setSyncMusicEnabledForUser(enabled);
    _parts->queue(configurationTask(switchName(enabled, "music")));
}

void VTSyncController::setSyncPicturesState(bool enabled) {
    _parts->log.debugLine("----- setSyncPicturesState:");
    _parts->configuration->setSyncPicturesEnabledForUser(enabled);
    _parts->queue(configurationTask(switchName(enabled, "pictures")));
}

void VTSyncController::setSyncDocumentsState(bool enabled) {
    _parts->log.debugLine("----- setSyncDocumentsState:");
    _parts->configuration->setSyncDocumentsEnabledForUser(enabled);
    _parts->queue(configurationTask(switchName(enabled, "documents")));
}

void VTSyncController::setSyncDeviceFilter(std::int32_t filter) {
    _parts->log.debugLine("----- setSyncDeviceFilter:");
    _parts->configuration->setSyncDeviceFilterForUser(filter);
    _parts->queue(configurationTask(operations::changeDeviceFilter));
}

void VTSyncController::toggleContinuousSync() {
    setContinuousSyncState(!continuousSyncState());
}
void VTSyncController::togglePreviewEnabled() {
    setPreviewEnabledState(!isPreviewEnabled());
}
void VTSyncController::helpClicked() {
    _parts->services.host.doHelp();
}
void VTSyncController::cancelButtonClicked() {
    setCancelPending(true, false);
}
void VTSyncController::modalDialogYesClicked() {
    _parts->services.alerts.stopModal(1);
}
void VTSyncController::modalDialogNoClicked() {
    _parts->services.alerts.stopModal(0);
}
void VTSyncController::modalDialogCustomClicked() {
    _parts->services.alerts.stopModal(-1);
}
bool VTSyncController::busy() const {
    return _parts->busy();
}
bool VTSyncController::busyWithSynclistOnly() const {
    return _parts->tasks.holdsSync();
}
bool VTSyncController::syncInProgress() const {
    return _parts->pass.syncInProgress();
}
bool VTSyncController::continuousSyncInProgress() const {
    return _parts->pass.doingContinuousSync();
}
std::optional<Date> VTSyncController::lastFullPassBegan() const {
    return _parts->pass.lastFullPassBegan();
}
void VTSyncController::syncWasScheduled() {
    _parts->tasks.syncWasScheduled();
}
void VTSyncController::scheduledSyncEnded() {
    _parts->tasks.scheduledSyncEnded();
}

bool VTSyncController::windowShouldClose() const {
    const bool answer = !busy();
    _parts->log.debugLine("-windowShouldClose: returning %s.", answer ? "YES" : "NO");
    return answer;
}

VTSyncController::MenuItem VTSyncController::validateUserInterfaceItem(const std::string& action) const {
    if (action == "toggleContinuousSync:") return {true, continuousSyncState()};
    if (action == "togglePreviewEnabled:") return {true, isPreviewEnabled()};
    if (action == "sync:" || action == "removeDriveSync:") return {!syncInProgress(), false};
    if (action == "continuousSyncNow:") return {!continuousSyncInProgress(), false};
    return {};
}

void VTSyncController::netServiceBecameUnreachable(const std::string& name) {
    std::shared_ptr<ConnectedDrive> service;
    {
        const std::scoped_lock lock(_parts->fieldsMutex);
        service = _parts->netService;
    }
    if (service && service->name() == name && _parts->tasks.busy()) setCancelPending(true, false);
}

void VTSyncController::setCancelPending(bool pending, bool returnValue) {
    _parts->cancel.set(pending, returnValue);
}
bool VTSyncController::cancelPending() const {
    return _parts->cancel.pending();
}
bool VTSyncController::cancelRVal() const {
    return _parts->cancel.returnValue();
}
void VTSyncController::initForNewJob() {
    _parts->progress.initForNewJob();
}
void VTSyncController::setProgressActivePath(const std::string* path) {
    _parts->progress.setProgressActivePath(path);
}
Value::Dictionary VTSyncController::getCurrentProgressDict() {
    return _parts->progress.getCurrentProgressDict();
}
std::shared_ptr<MRLErrorReporter> VTSyncController::errorReporter() {
    return _parts->tools.errorReporter();
}
bool VTSyncController::workerEnded() const {
    return _parts->master.ended();
}
void VTSyncController::playWorkerByHand() {
    _parts->playedByHand = true;
}
bool VTSyncController::playRound() {
    return _parts->runner.runRound() != Round::ended;
}

} // namespace vt

// The accessors of a controller: switches, drive and filter.
#include "sync/ControllerParts.h"
#include "sync/VTSyncController.h"

#include "base/Paths.h"
#include "sync/ItemTree.h"

#include <utility>

namespace vt {

bool VTSyncController::continuousSyncState() const {
    return _parts->configuration->isContinuousEnabledForUser();
}
bool VTSyncController::syncMoviesState() const {
    return _parts->configuration->isSyncMoviesEnabledForUser();
}
bool VTSyncController::syncMusicState() const {
    return _parts->configuration->isSyncMusicEnabledForUser();
}
bool VTSyncController::syncPicturesState() const {
    return _parts->configuration->isSyncPicturesEnabledForUser();
}
bool VTSyncController::syncDocumentsState() const {
    return _parts->configuration->isSyncDocumentsEnabledForUser();
}
std::int32_t VTSyncController::syncDeviceFilter() const {
    return _parts->configuration->getSyncDeviceFilterForUser();
}
bool VTSyncController::participateSyncState() const {
    return _parts->configuration->isParticipatingEnabledForUser();
}

void VTSyncController::setParticipateSyncState(bool participate) {
    _parts->configuration->setParticipatingEnabledForUser(participate);
    if (participate) _parts->configuration->addUserToList();
}

// The controller itself is always quiet; the setter changes only what the drive records.
bool VTSyncController::quietSyncState() const {
    return true;
}
void VTSyncController::setQuietSyncState(bool quiet) {
    _parts->configuration->setQuietEnabledForUser(quiet);
}
bool VTSyncController::isQuietSync() const {
    return true;
}
// The preview is switched off, deliberately; its switch is stored as the opposite of quiet.
bool VTSyncController::isPreviewEnabled() const {
    return false;
}
void VTSyncController::setPreviewEnabledState(bool enabled) {
    _parts->configuration->setQuietEnabledForUser(!enabled);
}

bool VTSyncController::hasSyncConfiguration() const {
    return _parts->configuration->hasSyncConfiguration();
}
bool VTSyncController::isParticipatingInSync() const {
    return participateSyncState();
}

std::vector<std::string> VTSyncController::shadowedSyncList() {
    {
        const std::scoped_lock lock(_parts->fieldsMutex);
        if (_parts->shadowedSyncList && !_parts->shadowedSyncList->empty()) return *_parts->shadowedSyncList;
    }
    // A list that was emptied is not to be filled with what the file still holds.
    if (_parts->tasks.holdsListUpdate()) return {};
    auto stored = _parts->configuration->syncItemList().value_or(std::vector<std::string>());
    const std::scoped_lock lock(_parts->fieldsMutex);
    _parts->shadowedSyncList = stored;
    return stored;
}

void VTSyncController::setShadowedSyncList(const std::vector<std::string>& list) {
    const std::scoped_lock lock(_parts->fieldsMutex);
    _parts->shadowedSyncList = list;
}

std::optional<Date> VTSyncController::lastSyncTime() {
    return _parts->lastSyncTime.get();
}
void VTSyncController::updateLastSyncTime(Date date) {
    _parts->lastSyncTime.update(date);
}
VTConfigurationFile& VTSyncController::deviceConfiguration() const {
    return *_parts->configuration;
}

// Each is the configuration's reader of that user.
#define VT_BY_HOST(Type, operation, reader)                                                                            \
    Type VTSyncController::operation##ForUniqueHostID(const std::string& hostId) const {                               \
        return _parts->configuration->reader##ForUniqueHostID(hostId);                                                 \
    }

VT_BY_HOST(bool, continuousSyncState, isContinuousEnabled)
VT_BY_HOST(bool, syncMoviesState, isSyncMoviesEnabled)
VT_BY_HOST(bool, syncMusicState, isSyncMusicEnabled)
VT_BY_HOST(bool, syncPicturesState, isSyncPicturesEnabled)
VT_BY_HOST(bool, syncDocumentsState, isSyncDocumentsEnabled)
VT_BY_HOST(std::int32_t, syncDeviceFilter, getSyncDeviceFilter)
VT_BY_HOST(bool, participateSyncState, isParticipatingEnabled)
VT_BY_HOST(bool, quietSyncState, isQuietEnabled)
VT_BY_HOST(std::optional<Date>, lastSyncTime, lastSyncDate)
VT_BY_HOST(std::optional<std::string>, computerName, computerName)

#undef VT_BY_HOST

bool VTSyncController::isPreviewEnabledForUniqueHostID(const std::string& /*hostId*/) const {
    return false;
}

std::string VTSyncController::serialNumber() const {
    const std::scoped_lock lock(_parts->fieldsMutex);
    return _parts->serialNumber;
}

void VTSyncController::setSerialNumber(const std::string& serial) {
    const std::scoped_lock lock(_parts->fieldsMutex);
    _parts->serialNumber = serial;
}

void VTSyncController::setNetService(std::shared_ptr<ConnectedDrive> service) {
    const std::scoped_lock lock(_parts->fieldsMutex);
    _parts->netService = std::move(service);
}

const std::string& VTSyncController::deviceMountPoint() const {
    return _parts->guard->mountPoint();
}
const std::string& VTSyncController::deviceVendor() const {
    return _parts->deviceVendor;
}

std::optional<std::string> VTSyncController::deviceUUIDString() const {
    const std::scoped_lock lock(_parts->fieldsMutex);
    return _parts->deviceUUIDString;
}

bool VTSyncController::fsIsWritable() const {
    return _parts->facts.fsIsWritable();
}
bool VTSyncController::fsIsCompatible() {
    return _parts->facts.fsIsCompatible();
}
bool VTSyncController::fsIsNTFS() {
    return _parts->facts.fsIsNTFS();
}
bool VTSyncController::fsLimit4G() {
    return _parts->facts.fsLimit4G();
}
std::string VTSyncController::fsName() {
    return _parts->facts.fsName();
}
std::uint64_t VTSyncController::totalBytes() {
    return _parts->facts.totalBytes().value_or(0);
}
std::uint64_t VTSyncController::freeBytes() {
    return _parts->facts.freeBytes().value_or(0);
}
std::string VTSyncController::diskSlice() const {
    return _parts->facts.diskSlice();
}
std::string VTSyncController::fileSystemType() const {
    return _parts->facts.fileSystemType();
}
std::string VTSyncController::volumeName() const {
    return _parts->facts.volumeName().value_or("");
}

std::optional<std::string> VTSyncController::getVolumeNameForvRefNum(VolumeService& volumes, std::int16_t reference) {
    return FileSystemFacts::nameOfVolume(volumes, reference);
}
std::optional<std::string> VTSyncController::bsdNameForVolumeRefNum(VolumeService& volumes, std::int16_t reference) {
    return FileSystemFacts::deviceOfVolume(volumes, reference);
}

std::optional<std::string> VTSyncController::currentSourcePath() const {
    return _parts->progress.currentSourcePath();
}
void VTSyncController::setCurrentSourcePath(const std::optional<std::string>& path) {
    _parts->progress.setFileCopyPath(path ? &*path : nullptr);
}

void VTSyncController::setErrorReporter(std::shared_ptr<MRLCopyErrorReporter> reporter) {
    _parts->tools.setErrorReporter(std::move(reporter));
}
std::shared_ptr<MRLDeleteErrorReporter> VTSyncController::deleteReporter() const {
    return _parts->tools.deleteReporter();
}
void VTSyncController::setDeleteReporter(std::shared_ptr<MRLDeleteErrorReporter> reporter) {
    _parts->tools.setDeleteReporter(std::move(reporter));
}

VTSyncController::ResolutionActions VTSyncController::defaultResolutionActions() const {
    const std::scoped_lock lock(_parts->fieldsMutex);
    return _parts->resolutionActions;
}
void VTSyncController::setDefaultResolutionActions(ResolutionActions actions) {
    const std::scoped_lock lock(_parts->fieldsMutex);
    _parts->resolutionActions = actions;
}
std::shared_ptr<const ItemTree> VTSyncController::itemInventory() const {
    const std::scoped_lock lock(_parts->fieldsMutex);
    return _parts->itemTree;
}
void VTSyncController::setItemInventory(std::shared_ptr<const ItemTree> items) {
    const std::scoped_lock lock(_parts->fieldsMutex);
    _parts->itemTree = std::move(items);
}

std::shared_ptr<VTFileValidator> VTSyncController::updateFileValidator(const ContainerValidatorList& validators) {
    auto made =
        std::make_shared<VTFileValidator>(_parts->services.exclusions, _parts->paths.home(), _parts->drive->files());
    made->addContainerValidators(validators);
    made->setMediaServices(_parts->services.media);
    made->setOwner(std::weak_ptr<const ValidatorOwner>(weak_from_this().lock()));
    _parts->validator.store(made);
    return made;
}

std::shared_ptr<VTFileValidator> VTSyncController::fileValidator() const {
    return _parts->validator.load();
}

bool VTSyncController::shouldCopyItem(const std::string& path) const {
    const auto validator = fileValidator();
    const std::string standard = _parts->paths.home().standardise(path);
    return validator && validator->shouldCopyItem(standard, paths::lastComponent(standard), _parts->facts.fsLimit4G());
}

} // namespace vt

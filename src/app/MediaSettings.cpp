#include "app/MediaSettings.h"

namespace vt {

bool mediaStateOf(const VTSyncController* controller, MediaKind kind) {
    if (controller == nullptr) return kind != MediaKind::documents;
    switch (kind) {
    case MediaKind::movies:
        return controller->syncMoviesState();
    case MediaKind::music:
        return controller->syncMusicState();
    case MediaKind::pictures:
        return controller->syncPicturesState();
    case MediaKind::documents:
        return controller->syncDocumentsState();
    }
    return false;
}

VTMediaClass MediaSettings::currentVAClassForDrive(const std::string& drive) const {
    const auto controller = _registry.syncControllerForMountPoint(drive);
    return mediaClassForDeviceFilter(controller ? controller->syncDeviceFilter() : 0);
}

ContainerValidatorList MediaSettings::listFor(const std::string& drive, MediaKind kind, bool enabled) const {
    return enabled ? mediaList(currentVAClassForDrive(drive), kind) : ContainerValidatorList{};
}

void MediaSettings::updateSyncMoviesSettingsForDrive(const std::string& drive) {
    const auto controller = _registry.syncControllerForMountPoint(drive);
    movieFileExtensions = listFor(drive, MediaKind::movies, mediaStateOf(controller.get(), MediaKind::movies));
}

void MediaSettings::updateSyncMusicSettingsForDrive(const std::string& drive) {
    const auto controller = _registry.syncControllerForMountPoint(drive);
    musicFileExtensions = listFor(drive, MediaKind::music, mediaStateOf(controller.get(), MediaKind::music));
}

void MediaSettings::updateSyncPicturesSettingsForDrive(const std::string& drive) {
    const auto controller = _registry.syncControllerForMountPoint(drive);
    pictureFileExtensions = listFor(drive, MediaKind::pictures, mediaStateOf(controller.get(), MediaKind::pictures));
}

void MediaSettings::updateSyncDocumentsSettingsForDrive(const std::string& drive) {
    const auto controller = _registry.syncControllerForMountPoint(drive);
    documentFileExtensions = listFor(drive, MediaKind::documents, mediaStateOf(controller.get(), MediaKind::documents));
}

ContainerValidatorList MediaSettings::mediaFileExtensions() const {
    ContainerValidatorList all = movieFileExtensions;
    for (const auto* list : {&musicFileExtensions, &pictureFileExtensions, &documentFileExtensions})
        all.insert(all.end(), list->begin(), list->end());
    return all;
}

std::shared_ptr<VTFileValidator> MediaSettings::rebuildFor(const std::string& drive) {
    const auto controller = _registry.syncControllerForMountPoint(drive);
    if (!controller) return nullptr;
    updateSyncMoviesSettingsForDrive(drive);
    updateSyncMusicSettingsForDrive(drive);
    updateSyncPicturesSettingsForDrive(drive);
    updateSyncDocumentsSettingsForDrive(drive);
    return controller->updateFileValidator(mediaFileExtensions());
}

} // namespace vt

// The four kind lists of the drive that was asked about last, as container validators, and the drive's validator made
// of them. Thread: main.
#pragma once

#include "app/SyncControllerRegistry.h"
#include "mediafilter/MediaClasses.h"

#include <string>

namespace vt {

class MediaSettings {
  public:
    explicit MediaSettings(SyncControllerRegistry& registry) : _registry(registry) {}

    // The class of the drive's device filter; without a controller that of filter 0.
    [[nodiscard]] VTMediaClass currentVAClassForDrive(const std::string& drive) const;
    // A kind that is switched off gets an empty list.
    void updateSyncMoviesSettingsForDrive(const std::string& drive);
    void updateSyncMusicSettingsForDrive(const std::string& drive);
    void updateSyncPicturesSettingsForDrive(const std::string& drive);
    void updateSyncDocumentsSettingsForDrive(const std::string& drive);
    // Movies, music, pictures, documents, in this order.
    [[nodiscard]] ContainerValidatorList mediaFileExtensions() const;
    // All four lists anew, then the drive's validator; null without a controller.
    std::shared_ptr<VTFileValidator> rebuildFor(const std::string& drive);

  private:
    [[nodiscard]] ContainerValidatorList listFor(const std::string& drive, MediaKind kind, bool enabled) const;

    SyncControllerRegistry& _registry;
    ContainerValidatorList movieFileExtensions;
    ContainerValidatorList musicFileExtensions;
    ContainerValidatorList pictureFileExtensions;
    ContainerValidatorList documentFileExtensions;
};

// The answers for a drive without a controller: documents differ from the other kinds on purpose.
[[nodiscard]] bool mediaStateOf(const VTSyncController* controller, MediaKind kind);

} // namespace vt

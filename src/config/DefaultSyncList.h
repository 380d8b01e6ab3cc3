// The sync list that a fresh drive starts with: the user's media folders, and libraries that lie elsewhere.
// Thread: main (the preferences that it reads belong there).
// Errors: what cannot be read is left out. Units: absolute paths, those from user folders with "~".
#pragma once

#include "config/ConfigurationServices.h"

#include <optional>
#include <string>
#include <vector>

namespace vt {

class DefaultSyncList {
  public:
    explicit DefaultSyncList(const ConfigurationServices& services) : _services(services) {}

    // Movies, Music, Pictures, the music library's folder, the two photo libraries; Documents are not part of it.
    [[nodiscard]] std::vector<std::string> items() const;
    // The "Music Folder" of "iTunes Music Library.xml"; null when it lies in the Music folder.
    [[nodiscard]] std::optional<std::string> getiTunesMusicLibraryPath() const;
    // The domains' "LibraryPath"; null when it lies in the Pictures folder.
    [[nodiscard]] std::optional<std::string> getiPhotoLibraryPath() const;
    [[nodiscard]] std::optional<std::string> getPhotoBoothLibraryPath() const;

  private:
    [[nodiscard]] std::optional<std::string> libraryPathOfDomain(const char* domain) const;

    const ConfigurationServices& _services;
};

} // namespace vt

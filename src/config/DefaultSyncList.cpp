#include "config/DefaultSyncList.h"

#include "base/FileUrl.h"
#include "base/Paths.h"
#include "config/utilities/TypedGetters.h"

namespace vt {
namespace {

constexpr std::uint64_t libraryLimit = 64ULL * 1024 * 1024;

using Folder = SystemIdentity::UserFolder;

// A plain text prefix, as the libraries' own settings are plain texts.
bool begins(const std::string& path, const std::optional<std::string>& folder) {
    return folder && path.starts_with(*folder);
}

} // namespace

std::vector<std::string> DefaultSyncList::items() const {
    const HomePaths home(_services.system.home());
    std::vector<std::string> list;
    for (const Folder folder : {Folder::movies, Folder::music, Folder::pictures})
        if (const auto path = _services.system.userFolder(folder)) list.push_back(home.abbreviate(*path));
    if (const auto music = getiTunesMusicLibraryPath()) list.push_back(home.abbreviate(*music));
    if (const auto photos = getiPhotoLibraryPath()) list.push_back(*photos);
    if (const auto booth = getPhotoBoothLibraryPath()) list.push_back(*booth);
    return list;
}

std::optional<std::string> DefaultSyncList::getiTunesMusicLibraryPath() const {
    const auto music = _services.system.userFolder(Folder::music);
    if (!music) return std::nullopt;
    const auto bytes = _services.contents.read(paths::join(*music, "iTunes Music Library.xml"), libraryLimit);
    if (!bytes) return std::nullopt;
    const auto library = _services.propertyLists.parse(*bytes);
    const auto* root = library ? library->asDictionary() : nullptr;
    const auto* url = root != nullptr ? stringForKey(*root, "Music Folder") : nullptr;
    const auto path = url != nullptr ? pathOfFileUrl(*url) : std::nullopt;
    if (!path) return std::nullopt;
    const std::string folder = paths::clean(*path);
    if (begins(folder, music)) return std::nullopt;
    return folder;
}

std::optional<std::string> DefaultSyncList::getiPhotoLibraryPath() const {
    return libraryPathOfDomain("com.apple.iPhoto");
}

std::optional<std::string> DefaultSyncList::getPhotoBoothLibraryPath() const {
    return libraryPathOfDomain("com.apple.PhotoBooth");
}

std::optional<std::string> DefaultSyncList::libraryPathOfDomain(const char* domain) const {
    const auto value = _services.preferences.value(domain, PreferenceHost::any, "LibraryPath");
    const auto* path = value ? value->asString() : nullptr;
    if (path == nullptr || path->empty() || begins(*path, _services.system.userFolder(Folder::pictures)))
        return std::nullopt;
    return *path;
}

} // namespace vt

#include "app/AdoptionRules.h"

#include "base/Paths.h"
#include "base/Text.h"
#include "config/utilities/SystemStrings.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <string_view>

namespace vt {

namespace {

// Through these a kernel shows its own state, or a program what it likes: what is written there is kept nowhere.
constexpr std::array<std::string_view, 24> stateFileSystems = {
    "binfmt_misc", "bpf",      "cgroup",   "cgroup2",    "configfs",    "debugfs",
    "devpts",      "devtmpfs", "efivarfs", "fuse.lxcfs", "fusectl",     "hugetlbfs",
    "mqueue",      "nsfs",     "proc",     "pstore",     "rpc_pipefs",  "securityfs",
    "selinuxfs",   "smackfs",  "sysfs",    "tracefs",    "fuse.portal", "fuse.xdg-document-portal",
};
constexpr std::array<std::string_view, 14> systemTrees = {
    "/bin",   "/boot",   "/dev", "/efi",  "/etc",  "/lib", "/lib32",
    "/lib64", "/libx32", "/nix", "/proc", "/sbin", "/sys", "/usr",
};
// People have folders of their own in these.
constexpr std::array<std::string_view, 3> openTrees = {"/dev/shm", "/usr/local", "/usr/src"};
// The folder itself only.
constexpr std::array<std::string_view, 2> systemFolders = {"/run", "/var"};

template <std::size_t Count>
bool isBelowOneOf(const std::string& path, const std::array<std::string_view, Count>& trees) {
    return std::any_of(trees.begin(), trees.end(),
                       [&](std::string_view tree) { return paths::isAtOrBelow(path, tree); });
}

bool isTheSystems(const std::string& path) {
    if (isBelowOneOf(path, openTrees)) return false;
    return isBelowOneOf(path, systemTrees) ||
           std::find(systemFolders.begin(), systemFolders.end(), path) != systemFolders.end();
}

bool showsState(const std::string& typeName) {
    return std::find(stateFileSystems.begin(), stateFileSystems.end(), typeName) != stateFileSystems.end();
}

// Where `path` is or would be: its links resolved as far as it exists.
std::string placeOf(FileService& files, const std::string& path) {
    std::string there = path;
    std::string missing;
    for (;;) {
        if (const auto real = stringWithRealPath(files, there))
            return missing.empty() ? *real : paths::join(*real, missing);
        if (there == "/") return path;
        const std::string name = paths::lastComponent(there);
        missing = missing.empty() ? name : paths::join(name, missing);
        there = paths::parent(there);
    }
}

Error refuse(int code, const std::string& path, std::string text) {
    return {code, Disposition::skipItem, path, std::move(text)};
}

} // namespace

AdoptionRules::AdoptionRules(ApplicationServices& services, std::function<std::vector<SyncedFolder>()> syncedFolders)
    : _services(services), _syncedFolders(std::move(syncedFolders)), _files(services.driveFiles.bind(nullptr)) {}

// Links and bind mounts give the home folder other paths.
bool AdoptionRules::isHomeOrAbove(const FileAttributes& folder) const {
    const std::string home = _services.system.home();
    std::string place = stringWithRealPath(_files->files(), home).value_or(home);
    for (;;) {
        const auto attributes = _files->files().attributesFollowing(place);
        if (attributes.ok() && attributes->device == folder.device && attributes->inode == folder.inode) return true;
        if (place == "/") return false;
        place = paths::parent(place);
    }
}

bool AdoptionRules::isTheAgents(const std::string& path) const {
    const SystemIdentity& system = _services.system;
    for (const std::string& own :
         {paths::join(system.configHome(), application::bundleIdentifier), paths::join(system.stateHome(), "vantaro"),
          paths::join(system.home(), ".Z_VT_W"), paths::join(system.home(), "Library/Logs")}) {
        for (const std::string& folder : {own, placeOf(_files->files(), own)})
            if (paths::isAtOrBelow(path, folder) || paths::isAtOrBelow(folder, path)) return true;
    }
    return false;
}

Result<AdoptionRules::Folder> AdoptionRules::folderAt(const std::string& path) {
    constexpr const char* isHome = "the home folder cannot be a drive";
    constexpr const char* isAgents = "the agent keeps files of its own there";
    if (!paths::isAbsolute(path)) return refuse(EINVAL, path, "the path is not absolute");
    if (paths::isAtOrBelow(_services.system.home(), path)) return refuse(EINVAL, path, isHome);
    const auto attributes = _files->files().attributesFollowing(path);
    if (attributes.ok() && attributes->isDirectory() && isHomeOrAbove(*attributes)) return refuse(EINVAL, path, isHome);
    if (isTheAgents(path)) return refuse(EINVAL, path, isAgents);
    if (!attributes.ok()) return attributes.error();
    if (!attributes->isDirectory()) return refuse(ENOTDIR, path, "it is no volume and no folder");
    const std::string realPath = stringWithRealPath(_files->files(), path).value_or(path);
    if (isTheAgents(realPath)) return refuse(EINVAL, path, isAgents);
    // Some homes stand among the system's folders.
    const std::string home = _services.system.home();
    const std::string realHome = stringWithRealPath(_files->files(), home).value_or(home);
    const bool isAtHome = realHome != "/" && paths::isAtOrBelow(realPath, realHome);
    if (!isAtHome && isTheSystems(realPath)) return refuse(EINVAL, path, "the system keeps files of its own there");
    const auto stat = _services.volumes.statVolume(path);
    if (!stat.ok()) return stat.error();
    if (stat->typeName == "autofs") return refuse(ENOENT, path, "nothing is mounted there yet: open it once");
    if (showsState(stat->typeName)) return refuse(EINVAL, path, "no file can be kept there");
    if (stat->readOnly) return refuse(EROFS, path, "the volume is read-only");
    if (const auto writable = _files->files().checkWritable(path); !writable.ok())
        return writable.code() == EACCES ? refuse(EACCES, path, "this user may not write there") : writable.error();
    return Folder{realPath, attributes->device, attributes->inode};
}

Result<void> AdoptionRules::checkIsNoSource(const std::string& path, const Folder& folder) const {
    const auto isIt = [&](const std::string& source) { return source == path || source == folder.realPath; };
    for (const SyncedFolder& synced : _syncedFolders()) {
        if (isIt(synced.path))
            return refuse(EINVAL, path,
                          formatText("it is on the sync list of the drive \"%@\" and cannot be a drive itself",
                                     {paths::displayText(synced.mountPoint)}));
    }
    using Kind = SystemIdentity::UserFolder;
    for (const Kind kind : {Kind::movies, Kind::music, Kind::pictures}) {
        const auto source = _services.system.userFolder(kind);
        if (source && isIt(paths::clean(*source)))
            return refuse(EINVAL, path, "it is one of the folders that every new drive keeps copies of");
    }
    return {};
}

} // namespace vt

#include "platform/linux/volumes/MountPlaces.h"

#include "base/Paths.h"

#include <algorithm>
#include <array>

namespace vt {

namespace {

// The folder itself only: below it people have their own. Systems that keep the first level read-only have the same
// folders below /var.
constexpr std::array<std::string_view, 12> systemFolders = {
    "/",    "/home",     "/opt",     "/root",         "/srv",     "/tmp",
    "/var", "/var/home", "/var/opt", "/var/roothome", "/var/srv", "/var/tmp",
};
constexpr std::array<std::string_view, 14> systemTrees = {
    "/bin",   "/boot",   "/efi", "/etc",    "/gnu",  "/lib",     "/lib32",
    "/lib64", "/libx32", "/nix", "/ostree", "/sbin", "/sysroot", "/usr",
};
constexpr std::array<std::string_view, 15> programTrees = {
    "/dev",     "/proc",     "/run",     "/snap",     "/sys",     "/var/account", "/var/cache", "/var/crash",
    "/var/lib", "/var/lock", "/var/log", "/var/mail", "/var/run", "/var/spool",   "/var/yp",
};
// Here the desktop mounts what a person attaches.
constexpr std::string_view desktopFolder = "/run/media";

template <std::size_t Count>
bool isBelowOneOf(std::string_view path, const std::array<std::string_view, Count>& trees) {
    return std::any_of(trees.begin(), trees.end(),
                       [&](std::string_view tree) { return paths::isAtOrBelow(path, tree); });
}

} // namespace

MountPlace mountPlace(std::string_view mountPoint) {
    if (mountPoint != desktopFolder && paths::isAtOrBelow(mountPoint, desktopFolder)) return MountPlace::drive;
    if (std::find(systemFolders.begin(), systemFolders.end(), mountPoint) != systemFolders.end() ||
        isBelowOneOf(mountPoint, systemTrees))
        return MountPlace::system;
    return isBelowOneOf(mountPoint, programTrees) ? MountPlace::program : MountPlace::drive;
}

} // namespace vt

#include "config/utilities/SystemStrings.h"

#include "base/Paths.h"
#include "config/utilities/TypedGetters.h"

#include <deque>
#include <string_view>

namespace vt {
namespace {

constexpr int mostLinks = 40; // as many as the system itself follows

void putInFront(std::deque<std::string>& rest, const std::string& path) {
    const auto components = paths::components(path);
    rest.insert(rest.begin(), components.begin(), components.end());
}

} // namespace

std::optional<std::string> stringWithDevNodeFromMountPoint(VolumeService& volumes, const std::string& mountPoint) {
    const auto stat = volumes.statVolume(mountPoint);
    if (!stat || !stat->mountedFrom.starts_with("/dev/disk")) return std::nullopt;
    return stat->mountedFrom.substr(std::string_view("/dev/").size());
}

std::optional<std::string> stringWithRealPath(FileService& files, const std::string& path) {
    if (!paths::isAbsolute(path)) return std::nullopt;
    std::deque<std::string> rest;
    putInFront(rest, path);
    std::string resolved = "/";
    bool isDirectory = true;
    int links = 0;
    while (!rest.empty()) {
        const std::string component = std::move(rest.front());
        rest.pop_front();
        if (component == "/") {
            resolved = "/";
            isDirectory = true;
            continue;
        }
        if (!isDirectory) return std::nullopt;
        if (component == ".") continue;
        if (component == "..") {
            resolved = paths::parent(resolved);
            continue;
        }
        const std::string next = paths::join(resolved, component);
        const auto attributes = files.attributes(next);
        if (!attributes) return std::nullopt;
        if (!attributes->isLink()) {
            resolved = next;
            isDirectory = attributes->isDirectory();
            continue;
        }
        const auto target = files.readLink(next);
        if (!target || target->empty() || ++links > mostLinks) return std::nullopt;
        putInFront(rest, *target);
    }
    return resolved;
}

std::optional<std::string> stringWithPrimaryMACAddressWithColons(const SystemIdentity& system, bool colons) {
    auto address = system.ethernetAddress();
    if (!address || address->size() != 12 || !colons) return address;
    for (std::size_t at = 10; at > 0; at -= 2) address->insert(at, 1, ':');
    return address;
}

std::string stringWithHostname(const SystemIdentity& system) {
    return system.hostName().value_or("Macintosh");
}

std::string stringWithMachineName(const SystemIdentity& system) {
    return system.machineName();
}

std::string displayNameAtPath(VolumeService& volumes, const std::string& path) {
    const auto description = volumes.describe(path);
    if (description) {
        const std::string* mountPoint = stringForKey(*description, diskdescription::volumePath);
        const std::string* name = stringForKey(*description, diskdescription::volumeName);
        const bool isMountPoint = mountPoint == nullptr || paths::clean(*mountPoint) == paths::clean(path);
        if (isMountPoint && name != nullptr && !name->empty()) return *name;
    }
    return paths::displayText(paths::lastComponent(path));
}

} // namespace vt

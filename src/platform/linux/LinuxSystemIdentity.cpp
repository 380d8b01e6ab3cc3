#include "platform/linux/LinuxSystemIdentity.h"

#include "base/LogSink.h"
#include "base/Paths.h"
#include "base/VisibleText.h"
#include "platform/linux/DesktopSettings.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <pwd.h>
#include <unistd.h>
#include <vector>

namespace vt {
namespace {

constexpr std::uint64_t largestSetting = 1U << 20U;
constexpr std::size_t longestHostName = 1025;

struct UserEntry {
    std::string name;
    std::string home;
};

// Null when the user database has no entry, as in a bare container.
std::optional<UserEntry> userEntry() {
    std::vector<char> room(16384);
    passwd entry{};
    passwd* found = nullptr;
    if (getpwuid_r(getuid(), &entry, room.data(), room.size(), &found) != 0 || found == nullptr) return std::nullopt;
    return UserEntry{entry.pw_name, entry.pw_dir};
}

std::string asOneComponent(std::string name) {
    std::replace(name.begin(), name.end(), '/', '-');
    return name;
}

std::optional<std::string> processEnvironment(const char* variable) {
    const char* value = std::getenv(variable);
    return value == nullptr ? std::nullopt : std::optional<std::string>(value);
}

} // namespace

LinuxSystemIdentity::LinuxSystemIdentity(FileService& files, FileContents& contents)
    : LinuxSystemIdentity(files, contents, Sources()) {}

LinuxSystemIdentity::LinuxSystemIdentity(FileService& files, FileContents& contents, Sources sources)
    : _files(files), _contents(contents), _sources(std::move(sources)) {
    if (!_sources.environment) _sources.environment = processEnvironment;
    if (!_sources.permanentAddress) _sources.permanentAddress = askKernelForAddress;
}

std::string LinuxSystemIdentity::home() const {
    const auto variable = _sources.environment("HOME");
    if (variable && paths::isAbsolute(*variable)) return paths::clean(*variable);
    const auto entry = userEntry();
    return entry && paths::isAbsolute(entry->home) ? paths::clean(entry->home) : "/";
}

std::uint32_t LinuxSystemIdentity::userId() const {
    return getuid();
}

std::string LinuxSystemIdentity::userName() const {
    const auto entry = userEntry();
    if (entry && !entry->name.empty()) return asOneComponent(entry->name);
    const auto variable = _sources.environment("USER");
    return variable && !variable->empty() ? asOneComponent(*variable) : std::to_string(userId());
}

std::string LinuxSystemIdentity::machineName() const {
    if (const auto bytes = _contents.read(_sources.machineInfo, largestSetting)) {
        const auto settings = readAssignments(*bytes);
        const auto pretty = settings.find("PRETTY_HOSTNAME");
        if (pretty != settings.end() && !pretty->second.empty()) return asOneComponent(pretty->second);
    }
    const auto host = hostName();
    return asOneComponent(host && !host->empty() ? *host : "localhost");
}

std::optional<std::string> LinuxSystemIdentity::hostName() const {
    std::array<char, longestHostName> name{};
    if (gethostname(name.data(), name.size() - 1) != 0) return std::nullopt;
    return std::string(name.data());
}

std::optional<std::string> LinuxSystemIdentity::ethernetAddress() const {
    const std::scoped_lock lock(_lock);
    if (!_address) _address = findAddress();
    return _address;
}

std::optional<std::string> LinuxSystemIdentity::userFolder(UserFolder folder) const {
    struct Names {
        const char* setting;
        const char* below;
    };
    const Names names = folder == UserFolder::movies  ? Names{"XDG_VIDEOS_DIR", "Movies"}
                        : folder == UserFolder::music ? Names{"XDG_MUSIC_DIR", "Music"}
                                                      : Names{"XDG_PICTURES_DIR", "Pictures"};
    std::vector<std::string> candidates;
    const auto bytes = _contents.read(paths::join(configHome(), "user-dirs.dirs"), largestSetting);
    if (bytes) {
        const auto settings = readAssignments(*bytes);
        if (const auto found = settings.find(names.setting); found != settings.end()) {
            std::string path = found->second;
            if (path.starts_with("$HOME/")) path = paths::join(home(), path.substr(6));
            path = paths::clean(path);
            // A setting that names the home folder itself means that the desktop has no such folder.
            if (paths::isAbsolute(path) && path != home()) candidates.push_back(path);
        }
    }
    candidates.push_back(paths::join(home(), names.below));
    for (const std::string& path : candidates) {
        const auto attributes = _files.attributesFollowing(path);
        if (attributes && attributes->isDirectory()) return path;
    }
    return std::nullopt;
}

std::string LinuxSystemIdentity::configHome() const {
    return folderOf("XDG_CONFIG_HOME", ".config");
}

std::string LinuxSystemIdentity::dataHome() const {
    return folderOf("XDG_DATA_HOME", ".local/share");
}

std::string LinuxSystemIdentity::stateHome() const {
    return folderOf("XDG_STATE_HOME", ".local/state");
}

std::string LinuxSystemIdentity::machineId() const {
    const auto line = readLine(_sources.machineId);
    const bool good =
        line && line->size() == 32 && line->find_first_not_of("0123456789abcdefABCDEF") == std::string::npos;
    return good ? *line : "local";
}

std::string LinuxSystemIdentity::bootId() const {
    return readLine(_sources.bootId).value_or("");
}

std::optional<std::string> LinuxSystemIdentity::readLine(const std::string& path) const {
    const auto bytes = _contents.read(path, largestSetting);
    if (!bytes) return std::nullopt;
    return bytes->substr(0, bytes->find('\n'));
}

// The rule of the desktop: a relative path in such a variable counts as unset.
std::string LinuxSystemIdentity::folderOf(const char* variable, const char* below) const {
    const auto value = _sources.environment(variable);
    if (value && paths::isAbsolute(*value)) return paths::clean(*value);
    return paths::join(home(), below);
}

std::optional<std::string> LinuxSystemIdentity::findAddress() const {
    auto stored = readLine(paths::join(stateHome(), "vantaro/host-identity"));
    if (stored && isNetworkAddress(*stored)) return stored;
    auto address = primaryNetworkAddress(_sources.networkInterfaces, _sources.permanentAddress);
    if (!address) {
        const std::string id = machineId();
        if (id == "local") return std::nullopt;
        address = addressFromMachineId(id);
    }
    remember(*address);
    return address;
}

void LinuxSystemIdentity::remember(const std::string& address) const {
    const std::string folder = paths::join(stateHome(), "vantaro");
    std::string made;
    for (const std::string& component : paths::components(folder)) {
        made = made.empty() ? component : paths::join(made, component);
        if (!_files.attributesFollowing(made)) _files.makeDirectory(made, 0700).ignore();
    }
    const auto written = _contents.writeAtomically(paths::join(folder, "host-identity"), address + "\n", 0600);
    if (!written)
        systemLog("The computer's address could not be remembered: " + visibleText(written.error().describe()));
}

} // namespace vt

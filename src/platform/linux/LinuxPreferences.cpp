#include "platform/linux/LinuxPreferences.h"

#include "base/LogSink.h"
#include "base/Paths.h"
#include "base/VisibleText.h"

#include <cerrno>

namespace vt {
namespace {

constexpr std::uint64_t largestFile = 64ULL << 20U;
constexpr std::uint32_t fileMode = 0600;
constexpr std::uint32_t folderMode = 0700;
constexpr int mostLinks = 8;
constexpr int mostBrokenFiles = 100;

bool isSameFile(const FileAttributes& a, const FileAttributes& b) {
    return a.inode == b.inode && a.device == b.device && a.size == b.size && a.modified == b.modified &&
           a.statusChanged == b.statusChanged;
}

} // namespace

LinuxPreferences::LinuxPreferences(Services services, std::string configHome, std::string machineId)
    : _services(services), _configHome(std::move(configHome)), _machineId(std::move(machineId)) {}

std::string LinuxPreferences::path(const std::string& domain, PreferenceHost host) const {
    const std::string folder = paths::join(_configHome, domain);
    if (host == PreferenceHost::any) return paths::join(folder, "defaults.plist");
    return paths::join(folder, "ByHost/" + _machineId + ".plist");
}

Value::Dictionary LinuxPreferences::all(const std::string& domain, PreferenceHost host) {
    return merged(store(domain, host));
}

std::optional<Value> LinuxPreferences::value(const std::string& domain, PreferenceHost host, const std::string& key) {
    const Store& held = store(domain, host);
    if (const auto change = held.changes.find(key); change != held.changes.end())
        return change->second.isNull() ? std::nullopt : std::optional<Value>(change->second);
    if (held.replaces) return std::nullopt;
    const auto found = held.read.find(key);
    return found == held.read.end() ? std::nullopt : std::optional<Value>(found->second);
}

void LinuxPreferences::set(const std::string& domain, PreferenceHost host, const std::string& key, const Value& value) {
    store(domain, host).changes.insert_or_assign(key, value);
}

void LinuxPreferences::replaceAll(const std::string& domain, PreferenceHost host, const Value::Dictionary& values) {
    Store& held = store(domain, host);
    held.changes = values;
    held.replaces = true;
}

bool LinuxPreferences::synchronise(const std::string& domain, PreferenceHost host) {
    Store& held = store(domain, host);
    if (held.changes.empty() && !held.replaces) return true;
    const std::string file = behindLinks(path(domain, host));
    const auto bytes = _services.propertyLists.xml(Value(merged(held)));
    if (!bytes) {
        systemLog("Preferences " + visibleText(file) + " not written: " + visibleText(bytes.error().describe()));
        return false;
    }
    if (held.broken && !keepAside(file)) return false;
    held.broken = false;
    if (!makeFolder(paths::parent(file))) return false;
    const auto written = _services.contents.writeAtomically(file, *bytes, fileMode);
    if (!written) {
        systemLog("Preferences not written: " + visibleText(written.error().describe()));
        return false;
    }
    held = Store(); // what is in the file now is read again when it is asked for
    return true;
}

LinuxPreferences::Store& LinuxPreferences::store(const std::string& domain, PreferenceHost host) {
    Store& held = _stores[{domain, host}];
    refresh(held, path(domain, host));
    return held;
}

// Reads the file again when it is another one than last time: a person may edit it while the agent runs.
void LinuxPreferences::refresh(Store& store, const std::string& path) {
    const std::string file = behindLinks(path);
    const auto attributes = _services.files.attributes(file);
    const FileAttributes now = attributes.ok() ? *attributes : FileAttributes{};
    if (store.wasRead && isSameFile(store.readAt, now)) return;
    store.wasRead = true;
    store.readAt = now;
    store.broken = false;
    store.read.clear();
    auto values = readFile(file);
    if (values) {
        store.read = std::move(*values);
    } else if (values.code() != ENOENT) {
        store.broken = true;
        systemLog("Preferences not read: " + visibleText(values.error().describe()));
    }
}

Result<Value::Dictionary> LinuxPreferences::readFile(const std::string& path) {
    const auto bytes = _services.contents.read(path, largestFile);
    if (!bytes) return bytes.error();
    auto root = _services.propertyLists.parse(*bytes);
    Error error;
    if (!root) {
        error = root.error();
        error.path = path;
        return error;
    }
    if (Value::Dictionary* values = root->asDictionary()) return std::move(*values);
    return Error{EINVAL, Disposition::skipItem, path, "property list: no dictionary"};
}

// The file that a link in its place leads to, so that a person's links stay.
std::string LinuxPreferences::behindLinks(std::string path) {
    for (int links = 0; links < mostLinks; ++links) {
        const auto target = _services.files.readLink(path);
        if (!target) break;
        path = paths::isAbsolute(*target) ? *target : paths::join(paths::parent(path), *target);
    }
    return path;
}

bool LinuxPreferences::keepAside(const std::string& path) {
    for (int number = 1; number <= mostBrokenFiles; ++number) {
        const std::string kept = path + ".broken" + (number == 1 ? "" : " " + std::to_string(number));
        const auto moved = _services.files.move(path, kept, Replace::never);
        if (moved || moved.code() == ENOENT) return true;
        if (moved.code() == EEXIST) continue;
        systemLog("Preferences not kept aside: " + visibleText(moved.error().describe()));
        return false;
    }
    systemLog("Preferences not kept aside: " + visibleText(path) + " has too many broken files beside it");
    return false;
}

bool LinuxPreferences::makeFolder(const std::string& path) {
    const auto found = _services.files.attributesFollowing(path);
    if (found) return found->isDirectory();
    if (path == "/" || path.empty() || !makeFolder(paths::parent(path))) return false;
    const auto made = _services.files.makeDirectory(path, folderMode);
    if (made || made.code() == EEXIST) return true;
    systemLog("Preferences not written: " + visibleText(made.error().describe()));
    return false;
}

Value::Dictionary LinuxPreferences::merged(const Store& store) {
    Value::Dictionary values = store.replaces ? Value::Dictionary{} : store.read;
    for (const auto& [key, change] : store.changes) {
        if (change.isNull())
            values.erase(key);
        else
            values.insert_or_assign(key, change);
    }
    return values;
}

} // namespace vt

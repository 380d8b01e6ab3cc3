#include "config/ConfigurationStore.h"

#include "base/Paths.h"
#include "base/Text.h"
#include "config/ConfigurationKeys.h"
#include "config/ConfigurationMerge.h"
#include "config/KeepAside.h"
#include "config/UserSettings.h"

#include <utility>

namespace vt {
namespace {

constexpr std::uint32_t sharedMode = 0666; // every user of every computer can rewrite it
constexpr std::uint64_t largestFile = 16ULL * 1024 * 1024;
constexpr int lockPatience = 1000; // milliseconds

using Kind = ConfigurationContent::Kind;

const char* keyOfSyncType(int syncType) {
    if (syncType == VTConfigurationFile::ptop) return "ptop";
    if (syncType == VTConfigurationFile::ctoc) return "ctoc";
    return "UNKNOWN-SYNC-TYPE";
}

} // namespace

ConfigurationStore::ConfigurationStore(std::string mountPoint, int syncType, const ConfigurationServices& services)
    : _services(services), _mountPoint(std::move(mountPoint)),
      _configPath(paths::join(_mountPoint, configkeys::fileName)), _debugLog(services.log.debugEnabled()) {
    _state.syncType = syncType;
    _state.syncTypeKey = keyOfSyncType(syncType);
}

void ConfigurationStore::createInternalConfig() {
    const auto guard = lock();
    Value::Dictionary root;
    root[configkeys::version] = configkeys::currentVersion;
    root[configkeys::syncType] = _state.syncTypeKey;
    if (_state.syncType == VTConfigurationFile::ptop) root[configkeys::ptopList] = Value::Dictionary();
    if (_state.syncType == VTConfigurationFile::ctoc) root[configkeys::itemsToSync] = Value::Array();
    // An empty root is nobody's change: a file that appears meanwhile keeps its own.
    _state.asRead = root;
    _state.syncConfigDictionary = std::move(root);
}

void ConfigurationStore::updateComputerName(const std::string& machineName) {
    const std::string hostId = user();
    const auto guard = lock();
    if (!_state.syncConfigDictionary) return;
    if (auto* own = userSettings(*_state.syncConfigDictionary, hostId))
        (*own)[settingRow(UserSetting::computerName).key] = paths::displayText(machineName);
}

void ConfigurationStore::load() {
    ConfigurationLog lines(_services.log, _debugLog);
    const std::scoped_lock order(_fileOrder);
    {
        const auto guard = lock();
        _state.hasSyncConfiguration = false;
    }
    auto there = readConfiguration(_services.files, _services.contents, _services.propertyLists, _configPath, lines);
    const auto guard = lock();
    switch (there.kind) {
    case Kind::missing:
        if (!_state.syncConfigDictionary) createInternalConfig();
        break;
    case Kind::current:
        _state.asRead = there.dictionary;
        _state.syncConfigDictionary = std::move(there.dictionary);
        _state.hasSyncConfiguration = true;
        break;
    case Kind::oldFormat:
        _state.oldSyncConfigDictionary = std::move(there.dictionary);
        _state.hasOldSyncFormat = true;
        break;
    case Kind::folder:
    case Kind::unreadable:
    case Kind::corrupt:
        break;
    }
}

std::optional<ConfigurationStore::Snapshot> ConfigurationStore::snapshot(std::optional<std::uint64_t> removals,
                                                                         ConfigurationLog& log) {
    const std::string machineName = _services.system.machineName();
    const auto guard = lock();
    if (removals && *removals != _state.removals) return std::nullopt;
    updateComputerName(machineName);
    if (log.debugEnabled()) {
        const Value root = _state.syncConfigDictionary ? Value(*_state.syncConfigDictionary) : Value();
        log.debugMessage(formatText("writeConfigFile: new config dictionary=\"%@\"", {root}));
    }
    if (!_state.syncConfigDictionary) {
        log.logMessage(localisedText("Unable to convert configuration dictionary to XML format. %@",
                                     {localised("There is no configuration dictionary.")}));
        return std::nullopt;
    }
    return Snapshot{*_state.syncConfigDictionary, _state.asRead};
}

bool ConfigurationStore::write(std::optional<std::uint64_t> removals) {
    ConfigurationLog lines(_services.log, _debugLog);
    const std::scoped_lock order(_fileOrder);
    auto own = snapshot(removals, lines);
    if (!own) return false;
    // Without the lock it goes on: better a write that may cross another one than a setting that is lost for certain.
    const auto driveLock = _services.contents.lock(_mountPoint, lockPatience);
    ConfigurationLog unread(_services.log, false); // what is wrong with the old file was said when it was loaded
    const auto there =
        readConfiguration(_services.files, _services.contents, _services.propertyLists, _configPath, unread);
    unread.drop();
    const Value::Dictionary root =
        there.kind == Kind::current ? mergeConfiguration(own->asRead, own->mine, there.dictionary) : own->mine;
    if (!replaceFile(root, there, lines)) return false;
    adopt(root, own->mine);
    return true;
}

bool ConfigurationStore::replaceFile(const Value::Dictionary& root, const ConfigurationContent& there,
                                     ConfigurationLog& log) {
    const auto xml = _services.propertyLists.xml(Value(root));
    if (!xml) {
        log.logMessage(
            localisedText("Unable to convert configuration dictionary to XML format. %@", {xml.error().text}));
        return false;
    }
    // Of the old format a copy is kept, since the file itself must not be missing for a moment: it holds a list.
    const bool old = there.kind == Kind::oldFormat;
    const auto kept = old ? keepOldFormat(log) : there.existsUnloaded() ? setAside(log) : std::nullopt;
    if (there.kind == Kind::folder || !_services.contents.writeAtomically(_configPath, *xml, sharedMode)) {
        // A failed write leaves the previous file in its place.
        if (kept && old)
            _services.files.remove(*kept, {}).ignore();
        else if (kept)
            _services.files.move(*kept, _configPath, Replace::never).ignore();
        log.logMessage(localisedText("Unable to write configuration file to \"%@\".", {_configPath}));
        return false;
    }
    if (kept)
        log.logMessage(localisedText("The configuration file \"%1$@\" was kept as \"%2$@\".", {_configPath, *kept}));
    if (log.debugEnabled())
        log.debugMessage(
            formatText("writeConfigFile: configuration file %@ written: %@\n", {_configPath, Value(root)}));
    const bool shared = _services.files.setMode(_configPath, sharedMode).ok();
    log.debugMessage(formatText(shared ? "Permissions on configuration file \"%@\" set to %o"
                                       : "Unable to set permissions on configuration file \"%@\" to %o",
                                {_configPath, sharedMode}));
    return true;
}

std::optional<std::string> ConfigurationStore::setAside(ConfigurationLog& log) {
    if (!_services.keepAside) return std::nullopt;
    return keptOrSaid(keepAside(_services.files, _mountPoint, configkeys::fileName, _services.clock.now()), log);
}

std::optional<std::string> ConfigurationStore::keepOldFormat(ConfigurationLog& log) {
    if (!_services.keepAside) return std::nullopt;
    const auto bytes = _services.contents.read(_configPath, largestFile);
    if (!bytes) return keptOrSaid(bytes.error(), log);
    return keptOrSaid(keepCopyAside(_services.files, _services.contents, _mountPoint, configkeys::fileName, *bytes,
                                    _services.clock.now()),
                      log);
}

std::optional<std::string> ConfigurationStore::keptOrSaid(Result<std::string> kept, ConfigurationLog& log) {
    if (kept) return std::move(*kept);
    if (kept.code() != ENOENT)
        log.logMessage(localisedText("The configuration file could not be kept: %@.", {kept.error().describe()}));
    return std::nullopt;
}

void ConfigurationStore::adopt(const Value::Dictionary& written, const Value::Dictionary& mine) {
    const auto guard = lock();
    // Edits that came while the file was written stay this instance's own.
    if (_state.syncConfigDictionary && *_state.syncConfigDictionary != mine)
        _state.syncConfigDictionary = mergeConfiguration(mine, *_state.syncConfigDictionary, written);
    else
        _state.syncConfigDictionary = written;
    _state.asRead = written;
}

void ConfigurationStore::removeFile() {
    ConfigurationLog lines(_services.log, _debugLog);
    const std::scoped_lock order(_fileOrder);
    {
        const auto guard = lock();
        createInternalConfig();
        _state.hasSyncConfiguration = false;
        ++_state.removals;
    }
    const auto there = _services.files.attributes(_configPath);
    // A folder is none of ours, whatever its name.
    if (!there || there->isDirectory()) return;
    if (const auto kept = setAside(lines))
        lines.logMessage(localisedText("The configuration file \"%1$@\" was kept as \"%2$@\".", {_configPath, *kept}));
    _services.files.remove(_configPath, {}).ignore();
}

} // namespace vt

#include "config/VTConfigurationFile.h"

#include "base/Paths.h"
#include "base/Text.h"
#include "config/ConfigurationKeys.h"
#include "config/ConfigurationRemoval.h"
#include "config/ConfigurationStore.h"
#include "config/DefaultSyncList.h"
#include "config/UserSettings.h"
#include "config/utilities/SystemStrings.h"
#include "config/utilities/TypedGetters.h"

#include <utility>

namespace vt {

std::shared_ptr<VTConfigurationFile> VTConfigurationFile::configWithMountPoint(const std::string& mountPoint,
                                                                               int syncType,
                                                                               const ConfigurationServices& services) {
    return std::make_shared<VTConfigurationFile>(mountPoint, syncType, services);
}

VTConfigurationFile::VTConfigurationFile(std::string mountPoint, int syncType, const ConfigurationServices& services)
    : _store(std::make_shared<ConfigurationStore>(std::move(mountPoint), syncType, services)),
      _runWrite([](const std::function<bool()>& write) { return write(); }) {
    initializeConfigurationFile();
}

VTConfigurationFile::~VTConfigurationFile() = default;

void VTConfigurationFile::initializeConfigurationFile() {
    _store->load();
}

void VTConfigurationFile::createInternalConfig() {
    _store->createInternalConfig();
}

bool VTConfigurationFile::writeConfigFile() {
    return _store->write(std::nullopt);
}

bool VTConfigurationFile::save(std::uint64_t removals, std::function<void()> written) {
    return _runWrite([store = _store, removals, then = std::move(written)] {
        const bool done = store->write(removals);
        if (done && then) then();
        return done;
    });
}

bool VTConfigurationFile::hasSyncConfiguration() const {
    const std::string user = _store->user();
    const auto guard = _store->lock();
    const auto& state = _store->state();
    if (state.syncType != ptop) return state.syncConfigDictionary && state.hasSyncConfiguration;
    if (!state.syncConfigDictionary) return false;
    const auto* list = dictionaryForKey(*state.syncConfigDictionary, configkeys::ptopList);
    return list != nullptr && dictionaryForKey(*list, user) != nullptr;
}

bool VTConfigurationFile::hasOldSyncFormat() const {
    const auto guard = _store->lock();
    return _store->state().hasOldSyncFormat;
}

bool VTConfigurationFile::convertOldSync() {
    std::optional<std::string> uuid;
    std::uint64_t removals = 0;
    {
        const auto guard = _store->lock();
        auto& state = _store->state();
        if (!state.hasOldSyncFormat || !state.oldSyncConfigDictionary) return state.hasSyncConfiguration;
        if (const auto* text = stringForKey(*state.oldSyncConfigDictionary, configkeys::oldUuid)) uuid = *text;
    }
    const auto& services = _store->services();
    if (uuid) removeOldTempFolders(services.files, services.log, services.system.home(), _store->mountPoint(), *uuid);
    {
        const auto guard = _store->lock();
        auto& state = _store->state();
        // "ctoc" whatever this instance's own type is; users and switches of the old file are dropped. Deliberate: the
        // list is taken over when a user joins.
        Value::Dictionary root;
        root[configkeys::version] = configkeys::currentVersion;
        root[configkeys::syncType] = "ctoc";
        state.asRead = root;
        if (const auto* items = arrayForKey(*state.oldSyncConfigDictionary, configkeys::oldItemsToSync))
            root[configkeys::itemsToSync] = *items;
        state.syncConfigDictionary = std::move(root);
        removals = state.removals;
    }
    save(removals, [store = _store] {
        const auto guard = store->lock();
        store->state().hasSyncConfiguration = true;
        store->state().hasOldSyncFormat = false;
    });
    const auto guard = _store->lock();
    return _store->state().hasSyncConfiguration;
}

bool VTConfigurationFile::createDefaultSyncSet() {
    {
        const auto guard = _store->lock();
        if (!_store->state().syncConfigDictionary) createInternalConfig();
    }
    const auto list = DefaultSyncList(_store->services()).items();
    systemLog(formatText("createDefaultSyncSet: newSyncList = %@", {Value(arrayOfStrings(list))}));
    if (list.empty()) _store->logSink().logMessage(localised("There is no folder for a default sync list."));
    std::uint64_t removals = 0;
    {
        const auto guard = _store->lock();
        removals = _store->state().removals;
    }
    if (!list.empty()) {
        setSyncItemList(list);
        save(removals, [store = _store] {
            const auto guard = store->lock();
            store->state().hasSyncConfiguration = true;
        });
    }
    const auto guard = _store->lock();
    return _store->state().hasSyncConfiguration;
}

std::string VTConfigurationFile::syncTargetPath() const {
    std::string host = stringWithHostname(_store->services().system);
    const std::string user = _store->user();
    const auto guard = _store->lock();
    const auto& state = _store->state();
    if (state.syncType != ptop || !state.syncConfigDictionary) return host;
    const auto* list = dictionaryForKey(*state.syncConfigDictionary, configkeys::ptopList);
    const auto* entry = list != nullptr ? dictionaryForKey(*list, user) : nullptr;
    const auto* path = entry != nullptr ? stringForKey(*entry, configkeys::syncPath) : nullptr;
    return path != nullptr ? paths::join(host, *path) : host;
}

std::optional<std::string> VTConfigurationFile::configSyncType() const {
    const auto guard = _store->lock();
    const auto& root = _store->state().syncConfigDictionary;
    const auto* text = root ? stringForKey(*root, configkeys::syncType) : nullptr;
    return text != nullptr ? std::optional(*text) : std::nullopt;
}

std::optional<std::vector<std::string>> VTConfigurationFile::configSyncUserList() const {
    const auto guard = _store->lock();
    const auto& root = _store->state().syncConfigDictionary;
    const auto* users = root ? arrayForKey(*root, configkeys::syncUserList) : nullptr;
    return users != nullptr ? std::optional(stringsOfArray(*users)) : std::nullopt;
}

bool VTConfigurationFile::removeSyncConfiguration() {
    _store->removeFile();
    removeDeletionMarks(_store->services().files, _store->mountPoint());
    return true;
}

bool VTConfigurationFile::removeSyncConfigAndArchiveFiles() {
    auto& files = _store->services().files;
    // A folder is none of ours, whatever its name.
    const auto there = files.attributes(_store->configPath());
    if (there && !there->isDirectory()) files.remove(_store->configPath(), {}).ignore();
    {
        const auto guard = _store->lock();
        _store->state().hasSyncConfiguration = false;
    }
    const std::string archive = freeArchivePath(files, _store->mountPoint(), _store->services().clock.now());
    return files.move(_store->mountPoint(), archive, Replace::never).ok();
}

std::optional<std::string> VTConfigurationFile::getiTunesMusicLibraryPath() const {
    return DefaultSyncList(_store->services()).getiTunesMusicLibraryPath();
}

std::optional<std::string> VTConfigurationFile::getiPhotoLibraryPath() const {
    return DefaultSyncList(_store->services()).getiPhotoLibraryPath();
}

std::optional<std::string> VTConfigurationFile::getPhotoBoothLibraryPath() const {
    return DefaultSyncList(_store->services()).getPhotoBoothLibraryPath();
}

const std::string& VTConfigurationFile::configPath() const {
    return _store->configPath();
}

int VTConfigurationFile::syncType() const {
    const auto guard = _store->lock();
    return _store->state().syncType;
}

std::optional<Value::Dictionary> VTConfigurationFile::dictionary() const {
    const auto guard = _store->lock();
    return _store->state().syncConfigDictionary;
}

} // namespace vt

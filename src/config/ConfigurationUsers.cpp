// The users of a drive and their sync lists: this part of VTConfigurationFile's operations.
#include "base/Text.h"
#include "config/ConfigurationKeys.h"
#include "config/ConfigurationStore.h"
#include "config/SyncItems.h"
#include "config/UserSettings.h"
#include "config/VTConfigurationFile.h"
#include "config/utilities/SystemStrings.h"
#include "config/utilities/TypedGetters.h"

#include <algorithm>

namespace vt {
namespace {

using List = std::optional<std::vector<std::string>>;

// The dictionary under `key`; one of another kind is replaced by an empty one.
Value::Dictionary& dictionaryIn(Value::Dictionary& parent, const std::string& key) {
    Value& value = parent[key];
    if (value.asDictionary() == nullptr) value = Value::Dictionary();
    return *value.asDictionary();
}

Value describedList(const Value::Array* list) {
    return list == nullptr ? Value() : Value(*list);
}

const Value::Array* listOfUser(const Value::Dictionary& root, const std::string& user) {
    const auto* list = dictionaryForKey(root, configkeys::ptopList);
    const auto* entry = list != nullptr ? dictionaryForKey(*list, user) : nullptr;
    return entry != nullptr ? arrayForKey(*entry, configkeys::itemsToSync) : nullptr;
}

// The user's list in memory, or without one the user's entry gone; nothing where a removal has come in between.
void putList(ConfigurationStore& store, const List& list, std::uint64_t removals) {
    const std::string user = store.user();
    const std::string machineName = paths::displayText(stringWithMachineName(store.services().system));
    ConfigurationLog lines = store.log();
    const auto guard = store.lock();
    auto& state = store.state();
    if (state.removals != removals) return;
    if (list && !list->empty() && state.syncType == 0) state.syncType = VTConfigurationFile::ptop;
    if (list && !state.syncConfigDictionary) store.createInternalConfig();
    if (state.syncType != VTConfigurationFile::ptop && state.syncType != VTConfigurationFile::ctoc) {
        lines.debugMessage(formatText("setSyncItemList: syncType not matched = %d", {state.syncType}));
    } else if (state.syncConfigDictionary && state.syncType == VTConfigurationFile::ctoc) {
        (*state.syncConfigDictionary)[configkeys::itemsToSync] = list ? arrayOfStrings(*list) : Value::Array();
    } else if (state.syncConfigDictionary) {
        auto& entries = dictionaryIn(*state.syncConfigDictionary, configkeys::ptopList);
        if (!list) {
            entries.erase(user);
            return;
        }
        const bool isNew = dictionaryForKey(entries, user) == nullptr;
        auto& entry = dictionaryIn(entries, user);
        if (isNew) entry[configkeys::syncPath] = machineName;
        entry[configkeys::itemsToSync] = arrayOfStrings(*list);
    }
}

} // namespace

void VTConfigurationFile::sayRefused(const std::vector<std::string>& items) const {
    for (const auto& item : items) {
        bool known = false;
        {
            const auto guard = _store->lock();
            known = !_store->state().refusedItems.insert(item).second;
        }
        if (known) continue;
        _store->logSink().logMessage(refusedSyncItemText(item));
    }
}

List VTConfigurationFile::syncItemList() const {
    const std::string user = _store->user();
    ConfigurationLog lines(_store->logSink(), _store->debugLog());
    std::vector<std::string> stored;
    {
        const auto guard = _store->lock();
        const auto& state = _store->state();
        if (!state.syncConfigDictionary || (state.syncType != ptop && state.syncType != ctoc)) return std::nullopt;
        const auto& root = *state.syncConfigDictionary;
        const bool own = state.syncType == ptop;
        const auto* list = own ? listOfUser(root, user) : arrayForKey(root, configkeys::itemsToSync);
        if (lines.debugEnabled())
            lines.debugMessage(
                formatText(own ? "MRLConfig.syncItemList: ptop list = %@" : "MRLConfig.syncItemList: ctoc list = %@",
                           {describedList(list)}));
        if (list == nullptr) return std::nullopt;
        stored = stringsOfArray(*list);
    }
    auto items = normaliseSyncItems(stored, HomePaths(_store->services().system.home()));
    sayRefused(items.refused);
    return std::move(items.items);
}

List VTConfigurationFile::oldSyncItemList() const {
    const auto guard = _store->lock();
    const auto& root = _store->state().oldSyncConfigDictionary;
    const auto* list = root ? arrayForKey(*root, configkeys::oldItemsToSync) : nullptr;
    return list != nullptr ? List(stringsOfArray(*list)) : std::nullopt;
}

bool VTConfigurationFile::setSyncItemList(const List& list) {
    List stored;
    if (list) {
        auto items = normaliseSyncItems(*list, HomePaths(_store->services().system.home()));
        sayRefused(items.refused);
        stored = std::move(items.items);
    }
    bool loaded = false;
    std::uint64_t removals = 0;
    {
        const auto guard = _store->lock();
        loaded = _store->state().hasSyncConfiguration;
        removals = _store->state().removals;
    }
    if (!list || loaded) {
        putList(*_store, stored, removals);
        return save(removals);
    }
    // Reading the file is left to where it is written: the drive may keep its reader waiting.
    return _runWrite([store = _store, stored, removals] {
        store->load();
        putList(*store, stored, removals);
        return store->write(removals);
    });
}

bool VTConfigurationFile::addUserToList() {
    const std::string user = _store->user();
    std::uint64_t removals = 0;
    {
        const auto guard = _store->lock();
        auto& state = _store->state();
        if (!state.syncConfigDictionary) createInternalConfig();
        auto& root = *state.syncConfigDictionary;
        const auto* joined = arrayForKey(root, configkeys::syncUserList);
        Value::Array users = joined != nullptr ? *joined : Value::Array();
        if (std::find(users.begin(), users.end(), Value(user)) == users.end()) users.emplace_back(user);
        auto& own = dictionaryIn(root, user);
        addJoiningDefaults(own);
        own[configkeys::syncUserList] = users; // never read back, kept as other versions write it
        root[configkeys::syncUserList] = std::move(users);
        removals = state.removals;
    }
    const bool written = save(removals);
    takeOverSharedList();
    return written;
}

// A converted drive holds its list at the root, where a user with a private list would not find it.
void VTConfigurationFile::takeOverSharedList() {
    const std::string user = _store->user();
    std::vector<std::string> shared;
    {
        const auto guard = _store->lock();
        const auto& state = _store->state();
        if (!state.syncConfigDictionary || state.syncType == ctoc || listOfUser(*state.syncConfigDictionary, user))
            return;
        const auto* list = arrayForKey(*state.syncConfigDictionary, configkeys::itemsToSync);
        if (list == nullptr) return;
        shared = stringsOfArray(*list);
    }
    setSyncItemList(shared);
}

bool VTConfigurationFile::removeUserFromList() {
    const std::string user = _store->user();
    bool joined = false;
    bool privateList = false;
    std::uint64_t removals = 0;
    {
        const auto guard = _store->lock();
        auto& state = _store->state();
        privateList = state.syncType == ptop;
        removals = state.removals;
        if (state.syncConfigDictionary) {
            auto& root = *state.syncConfigDictionary;
            const auto* list = arrayForKey(root, configkeys::syncUserList);
            Value::Array users = list != nullptr ? *list : Value::Array();
            joined = std::erase(users, Value(user)) > 0;
            if (joined) {
                root[configkeys::syncUserList] = std::move(users);
                root.erase(user);
            }
        }
    }
    const bool written = joined && save(removals);
    return privateList ? setSyncItemList(std::nullopt) : written;
}

void VTConfigurationFile::removeUsersOfComputerWithUniqueID(const std::string& computer) {
    if (computer.empty()) return;
    const auto guard = _store->lock();
    auto& root = _store->state().syncConfigDictionary;
    if (root) std::erase_if(*root, [&](const auto& entry) { return entry.first.starts_with(computer); });
}

bool VTConfigurationFile::computerWithUniqueID(const std::string& computer) const {
    if (computer.empty()) return false;
    const auto guard = _store->lock();
    const auto& root = _store->state().syncConfigDictionary;
    if (!root) return false;
    return std::any_of(root->begin(), root->end(), [&](const auto& entry) {
        const auto* user = entry.second.asDictionary();
        return user != nullptr && entry.first.starts_with(computer) && readBool(user, UserSetting::participate);
    });
}

bool VTConfigurationFile::hasUserSeenDevice() const {
    const std::string user = _store->user();
    const auto guard = _store->lock();
    const auto& root = _store->state().syncConfigDictionary;
    return root && root->contains(user);
}

void VTConfigurationFile::updateComputerName() {
    _store->updateComputerName(stringWithMachineName(_store->services().system));
}

} // namespace vt

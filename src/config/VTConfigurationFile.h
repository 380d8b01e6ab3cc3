// A drive's configuration file ".VantaroConfig": which users of which computers sync to it, what, and how.
// Thread: any; one recursive lock covers reads and edits, a second one orders the writes; no lock is held across a file
// operation. Errors: readers answer their default, writers false; the reason goes to the log. A file that cannot be
// read is never lost:
//   it is kept aside before the first write replaces it.
// Units: the mount point is absolute without trailing "/"; sync items are paths on the computer, those in the home
// folder with "~".
#pragma once

#include "base/Value.h"
#include "config/ConfigurationServices.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vt {

class ConfigurationStore;

class VTConfigurationFile {
  public:
    static constexpr int ptop = 1; // each user has a private list
    static constexpr int ctoc = 2; // one shared list at the root

    [[nodiscard]] static std::shared_ptr<VTConfigurationFile>
    configWithMountPoint(const std::string& mountPoint, int syncType, const ConfigurationServices& services);
    VTConfigurationFile(std::string mountPoint, int syncType, const ConfigurationServices& services);
    ~VTConfigurationFile();

    // Where a write runs that an edit asks for: the answer is that of the write, or false when it goes on without the
    // caller. Without a runner it runs at once in the caller's thread. Set before the first edit.
    using WriteRunner = std::function<bool(std::function<bool()> write)>;
    void setWriteRunner(WriteRunner runner) { _runWrite = std::move(runner); }

    void initializeConfigurationFile();
    void createInternalConfig();
    bool writeConfigFile();
    [[nodiscard]] bool hasSyncConfiguration() const;
    [[nodiscard]] bool hasOldSyncFormat() const;
    bool convertOldSync();
    bool createDefaultSyncSet();
    [[nodiscard]] std::string syncTargetPath() const;
    [[nodiscard]] std::optional<std::string> configSyncType() const;
    [[nodiscard]] std::optional<std::vector<std::string>> configSyncUserList() const;
    bool removeSyncConfiguration();
    bool removeSyncConfigAndArchiveFiles();

    // Null without a list for this user. Items are normalised: "~" reads as "~/", a trailing "/" goes, an item with
    // ".." is left out.
    [[nodiscard]] std::optional<std::vector<std::string>> syncItemList() const;
    [[nodiscard]] std::optional<std::vector<std::string>> oldSyncItemList() const;
    bool setSyncItemList(const std::optional<std::vector<std::string>>& list);

    bool addUserToList();
    bool removeUserFromList();
    void removeUsersOfComputerWithUniqueID(const std::string& computer);
    [[nodiscard]] bool
    computerWithUniqueID(const std::string& computer) const; // takes part; the device is not consulted
    [[nodiscard]] bool hasUserSeenDevice() const;
    void updateComputerName();

    // Readers and writers of one user's settings; a writer answers false when it wrote nothing.
    [[nodiscard]] bool isParticipatingEnabledForUser() const;
    [[nodiscard]] bool isParticipatingEnabledForUniqueHostID(const std::string& hostId) const;
    bool setParticipatingEnabledForUser(bool enabled);
    [[nodiscard]] bool isContinuousEnabledForUser() const;
    [[nodiscard]] bool isContinuousEnabledForUniqueHostID(const std::string& hostId) const;
    bool setContinuousEnabledForUser(bool enabled);
    [[nodiscard]] bool isQuietEnabledForUser() const;
    [[nodiscard]] bool isQuietEnabledForUniqueHostID(const std::string& hostId) const;
    bool setQuietEnabledForUser(bool enabled);
    [[nodiscard]] bool isSyncMoviesEnabledForUser() const;
    [[nodiscard]] bool isSyncMoviesEnabledForUniqueHostID(const std::string& hostId) const;
    bool setSyncMoviesEnabledForUser(bool enabled);
    [[nodiscard]] bool isSyncMusicEnabledForUser() const;
    [[nodiscard]] bool isSyncMusicEnabledForUniqueHostID(const std::string& hostId) const;
    bool setSyncMusicEnabledForUser(bool enabled);
    [[nodiscard]] bool isSyncPicturesEnabledForUser() const;
    [[nodiscard]] bool isSyncPicturesEnabledForUniqueHostID(const std::string& hostId) const;
    bool setSyncPicturesEnabledForUser(bool enabled);
    [[nodiscard]] bool isSyncDocumentsEnabledForUser() const;
    [[nodiscard]] bool isSyncDocumentsEnabledForUniqueHostID(const std::string& hostId) const;
    bool setSyncDocumentsEnabledForUser(bool enabled);
    [[nodiscard]] std::int32_t getSyncDeviceFilterForUser() const;
    [[nodiscard]] std::int32_t getSyncDeviceFilterForUniqueHostID(const std::string& hostId) const;
    bool setSyncDeviceFilterForUser(std::int32_t filter);
    [[nodiscard]] std::int32_t getSyncMediaDeviceTargetForUser() const;
    [[nodiscard]] std::int32_t getSyncMediaDeviceTargetForUniqueHostID(const std::string& hostId) const;
    bool setSyncMediaDeviceTargetForUser(std::int32_t target);
    [[nodiscard]] std::optional<Date> lastSyncDateForUser() const;
    [[nodiscard]] std::optional<Date> lastSyncDateForUniqueHostID(const std::string& hostId) const;
    bool setLastSyncDateForUser(Date date);
    bool removeLastSyncDateForUser(); // takes the key out again when a commit left something behind
    [[nodiscard]] std::optional<std::string> computerNameForUniqueHostID(const std::string& hostId) const;

    // Where the default list looks; null when there is nothing, or nothing outside the user's own folders.
    [[nodiscard]] std::optional<std::string> getiTunesMusicLibraryPath() const;
    [[nodiscard]] std::optional<std::string> getiPhotoLibraryPath() const;
    [[nodiscard]] std::optional<std::string> getPhotoBoothLibraryPath() const;

    [[nodiscard]] const std::string& configPath() const;
    [[nodiscard]] int syncType() const;
    [[nodiscard]] std::optional<Value::Dictionary> dictionary() const; // a copy of the current one

  private:
    bool save(std::uint64_t removals, std::function<void()> written = {}); // `written` runs after a success
    bool storeSetting(const char* key, const Value& value);
    void takeOverSharedList();
    void sayRefused(const std::vector<std::string>& items) const;

    std::shared_ptr<ConfigurationStore> _store;
    WriteRunner _runWrite;
};

} // namespace vt

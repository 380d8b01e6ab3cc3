// What one instance holds of a drive's configuration, and how that meets the file: reading, merging, writing, removing.
// Thread: any. lock() covers the fields of state(); a second lock, private, orders what touches the file. Neither is
//   held while a line is logged, the first one never across a file operation.
// Errors: yes or no; the reason goes to the log.
#pragma once

#include "config/ConfigurationLog.h"
#include "config/ConfigurationReader.h"
#include "config/VTConfigurationFile.h"

#include <cstdint>
#include <mutex>
#include <optional>
#include <set>
#include <string>

namespace vt {

struct ConfigurationState {
    std::optional<Value::Dictionary> syncConfigDictionary;    // the current format's root
    std::optional<Value::Dictionary> oldSyncConfigDictionary; // the old format's, once one was read
    Value::Dictionary asRead; // what this instance knows the file to hold; the difference is its own
    int syncType = 0;
    std::string syncTypeKey;
    bool hasSyncConfiguration = false;
    bool hasOldSyncFormat = false;
    std::uint64_t removals = 0;         // an edit from before a removal is not written after it
    std::set<std::string> refusedItems; // already told to the log
};

class ConfigurationStore {
  public:
    ConfigurationStore(std::string mountPoint, int syncType, const ConfigurationServices& services);

    [[nodiscard]] std::unique_lock<std::recursive_mutex> lock() const {
        return std::unique_lock<std::recursive_mutex>(_configLock);
    }
    [[nodiscard]] ConfigurationState& state() { return _state; }
    [[nodiscard]] const ConfigurationState& state() const { return _state; }
    [[nodiscard]] const ConfigurationServices& services() const { return _services; }
    [[nodiscard]] const std::string& mountPoint() const { return _mountPoint; }
    [[nodiscard]] const std::string& configPath() const { return _configPath; }
    [[nodiscard]] std::string user() const { return _services.host.uniqueHostUserId(); }
    [[nodiscard]] ConfigurationLog log() const { return {_services.log, _debugLog}; }
    [[nodiscard]] LogSink& logSink() const { return _services.log; }
    [[nodiscard]] bool debugLog() const { return _debugLog; }

    // A new, empty root in memory.
    void createInternalConfig();
    void updateComputerName(const std::string& machineName);
    // Takes over what the file holds. Where it holds nothing to take over, a dictionary in memory stays.
    void load();
    // Merges with the file and replaces it. With `removals`: only if no removal came between the edit and this call.
    bool write(std::optional<std::uint64_t> removals);
    // Sets the file aside and starts anew in memory.
    void removeFile();

  private:
    struct Snapshot {
        Value::Dictionary mine;
        Value::Dictionary asRead;
    };
    [[nodiscard]] std::optional<Snapshot> snapshot(std::optional<std::uint64_t> removals, ConfigurationLog& log);
    [[nodiscard]] bool replaceFile(const Value::Dictionary& root, const ConfigurationContent& there,
                                   ConfigurationLog& log);
    // Where to; null when there was nothing or it could not be kept.
    std::optional<std::string> setAside(ConfigurationLog& log);
    std::optional<std::string> keepOldFormat(ConfigurationLog& log); // a copy
    static std::optional<std::string> keptOrSaid(Result<std::string> kept, ConfigurationLog& log);
    void adopt(const Value::Dictionary& written, const Value::Dictionary& mine);

    ConfigurationServices _services;
    std::string _mountPoint;
    std::string _configPath;
    bool _debugLog;
    mutable std::recursive_mutex _configLock;
    std::mutex _fileOrder;
    ConfigurationState _state;
};

} // namespace vt

// Preference domains as property lists below the configuration folder: "<domain>/defaults.plist" for any host,
// "<domain>/ByHost/<machine id>.plist" for this one. Thread: main.
// Owns: changes that were not synchronised yet; they are merged into what the file holds then.
// Errors: as Preferences says; a file that cannot be read is kept as "<name>.broken" before the first write.
#pragma once

#include "platform/FileService.h"
#include "platform/Preferences.h"
#include "platform/PropertyLists.h"

#include <map>
#include <utility>

namespace vt {

class LinuxPreferences : public Preferences {
  public:
    struct Services {
        FileService& files;
        FileContents& contents;
        PropertyLists& propertyLists;
    };
    LinuxPreferences(Services services, std::string configHome, std::string machineId);

    [[nodiscard]] Value::Dictionary all(const std::string& domain, PreferenceHost host) override;
    [[nodiscard]] std::optional<Value> value(const std::string& domain, PreferenceHost host,
                                             const std::string& key) override;
    void set(const std::string& domain, PreferenceHost host, const std::string& key, const Value& value) override;
    void replaceAll(const std::string& domain, PreferenceHost host, const Value::Dictionary& values) override;
    [[nodiscard]] bool synchronise(const std::string& domain, PreferenceHost host) override;

    [[nodiscard]] std::string path(const std::string& domain, PreferenceHost host) const;

  private:
    struct Store {
        Value::Dictionary read; // what the file held when it was last looked at
        bool wasRead = false;
        bool broken = false;
        FileAttributes readAt;     // tells whether the file is still the one that was read
        Value::Dictionary changes; // null: the key goes
        bool replaces = false;     // the changes are everything
    };

    Store& store(const std::string& domain, PreferenceHost host);
    void refresh(Store& store, const std::string& path);
    [[nodiscard]] Result<Value::Dictionary> readFile(const std::string& path);
    [[nodiscard]] std::string behindLinks(std::string path);
    [[nodiscard]] bool keepAside(const std::string& path);
    [[nodiscard]] bool makeFolder(const std::string& path);
    static Value::Dictionary merged(const Store& store);

    Services _services;
    std::string _configHome;
    std::string _machineId;
    std::map<std::pair<std::string, PreferenceHost>, Store> _stores;
};

} // namespace vt

// Stands between the platform's volume events and the arrival of drives: only volumes that a person chose go through.
// A volume is served when it was adopted, when its configuration names this user, or when its maker is of the drive
// family. Thread: main. Errors: adopt and forget say what is wrong with the path; nothing is ever written to a volume
// here.
#pragma once

#include "app/AdoptedDrives.h"
#include "app/AdoptionRules.h"
#include "app/LogFrontEnd.h"
#include "config/HostIdentity.h"
#include "platform/VolumeService.h"

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vt {

class ServedVolumes final : public VolumeObserver {
  public:
    struct Volume {
        std::string mountPoint;
        std::string name;
        std::string fileSystem;
        std::string reason; // why it is not served; empty when it is
    };

    // What is served, as the registry and the drives tell. All are asked again each time.
    struct Service {
        std::function<bool(const std::string& key)> isRegistered;
        std::function<std::vector<AdoptionRules::SyncedFolder>()> syncedFolders;
        // Where the drive with this root is served; null: it is no drive's.
        std::function<std::optional<std::string>(std::uint64_t device, std::uint64_t inode)> driveWithRoot;
    };
    ServedVolumes(ApplicationServices& services, const HostIdentity& identity, LogFrontEnd& log, VolumeObserver& next,
                  Service service);

    void start(); // remembered folders come back, then events flow
    void stop();

    // Where the drive is served, which is `path` or, where that is a link or a second mount, where it leads to. EINVAL
    // for what can never be a drive, ENOENT, ENOTDIR, EACCES, EROFS. An event follows.
    Result<std::string> adopt(const std::string& path);
    Result<void> forget(const std::string& path);
    [[nodiscard]] std::vector<Volume> volumes();

    void diskAppeared(const Value::Dictionary& description) override;
    void diskDisappeared(const Value::Dictionary& description) override;
    void diskDescriptionChanged(const Value::Dictionary& description) override;

  private:
    [[nodiscard]] std::string refusalFor(const Value::Dictionary& description);
    [[nodiscard]] bool isOfFamily(const Value::Dictionary& description) const;
    [[nodiscard]] bool namesThisUser(const std::string& mountPoint);
    // What the core sees: a volume that is served counts as external, the adopted one of an internal disk too.
    [[nodiscard]] static Value::Dictionary asServed(Value::Dictionary description);
    [[nodiscard]] bool isListed(const std::string& mountPoint);
    void note(const Value::Dictionary& description);
    // A served drive left: the mount that it may have left behind must not stay.
    void detachIfGone(const std::string& key, const std::string& mountPoint);
    void loadFamily();

    ApplicationServices& _services;
    const HostIdentity& _identity;
    LogFrontEnd& _log;
    VolumeObserver& _next;
    Service _service;
    AdoptedDrives _adopted;
    AdoptionRules _rules;
    std::unique_ptr<DriveFiles> _files;
    std::vector<std::string> _family;          // lower case
    std::map<std::string, std::string> _known; // mount points that the platform has reported, by media BSD name
    // What comes later from the run loop runs only while this object lives.
    std::shared_ptr<const bool> _alive = std::make_shared<const bool>(true);
};

} // namespace vt

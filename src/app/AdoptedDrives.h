// The volumes and folders that a person put into service, and those that a person let go, remembered across restarts.
// Thread: main. Errors: an unreadable list is kept aside and read as empty; a failed write is an error of the call.
// Units: absolute raw-byte paths; a volume is known by its UUID where it has one, else by its mount point.
#pragma once

#include "app/ApplicationServices.h"
#include "base/LogSink.h"

#include <optional>
#include <string>
#include <vector>

namespace vt {

struct AdoptedDrive {
    std::string path;                // mount point or folder
    std::optional<std::string> uuid; // of a volume that has one: its UUID or the file system's own number
    bool folder = false;             // a folder drive
    bool operator==(const AdoptedDrive&) const = default;
};

class AdoptedDrives {
  public:
    AdoptedDrives(ApplicationServices& services, LogSink& log);

    void load();
    Result<void> remember(const AdoptedDrive& drive);
    Result<void> forget(const AdoptedDrive& drive);
    [[nodiscard]] bool isAdopted(const AdoptedDrive& drive) const;
    [[nodiscard]] bool isForgotten(const AdoptedDrive& drive) const;
    [[nodiscard]] std::vector<std::string> folders() const;

  private:
    Result<void> save();
    void setAside();

    ApplicationServices& _services;
    LogSink& _log;
    std::unique_ptr<DriveFiles> _files;
    std::string _path;
    std::vector<AdoptedDrive> _adopted;
    std::vector<AdoptedDrive> _forgotten;
    bool _unread = false; // a list is there that could not be read
};

} // namespace vt

// Sets a file or folder of the drive aside before a step destroys it, while the person wants that.
// Thread: the drive's worker. Owns: nothing. Errors: null or false; the reason is in the log.
// Units: absolute raw-byte paths below the mount point.
#pragma once

#include "platform/Clock.h"
#include "platform/FileService.h"

#include <functional>
#include <optional>
#include <string>

namespace vt {

class KeepAside {
  public:
    struct Services {
        FileService& files; // the drive's
        const Clock& clock;
        std::function<bool()> enabled; // the user default "keep-aside"
        std::function<void(const std::string&)> logLine;
    };
    KeepAside(std::string mountPoint, Services services)
        : _mountPoint(std::move(mountPoint)), _services(std::move(services)) {}

    [[nodiscard]] bool enabled() const { return _services.enabled(); }
    // Renames what lies at `path` to "<drive>/Archived Vantaro Backups/<YYYY-MM-DD>/<path on the drive>", " -n" added
    // when taken, or to "<name> (kept <YYYY-MM-DD>)" in its own folder. Where to; null: switched off, nothing there, or
    // impossible, so that the step goes ahead.
    std::optional<std::string> setAside(const std::string& path) { return setAsideFrom(path, path); }
    // The same for the old content of `path` that lies at `from` meanwhile.
    std::optional<std::string> setAsideFrom(const std::string& from, const std::string& path);
    // The step failed and the item has to stay.
    bool putBack(const std::string& kept, const std::string& path);

  private:
    [[nodiscard]] bool setLock(const std::string& path, bool locked) const;

    std::string _mountPoint;
    Services _services;
};

} // namespace vt

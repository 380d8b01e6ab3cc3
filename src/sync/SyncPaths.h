// The paths that a sync uses, formed from the drive's mount point, the user and the computer. Thread: any; the roots of
// removable volumes are one value that a pass replaces as a whole. Units: absolute raw-byte paths; sync items as in the
// sync list.
#pragma once

#include "base/Paths.h"
#include "platform/SystemIdentity.h"
#include "platform/VolumeService.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vt {

class SyncPaths {
  public:
    SyncPaths(std::string mountPoint, const std::optional<std::string>& uuid, std::string hostUserId,
              const SystemIdentity& system);

    [[nodiscard]] const std::string& target() const { return _mountPoint; } // pathForPushkeyTarget
    [[nodiscard]] std::string driveWork() const;                            // pathForPushkeyTemp
    [[nodiscard]] std::string localWork() const;                            // pathForLocalTemp
    [[nodiscard]] std::string scanResults() const;                          // pathForScanResults
    // The drive-side relative form: computers and users stay apart for items in the home folder and on other volumes.
    [[nodiscard]] std::string segment(const std::string& item) const; // pathSegmentFromSyncItem
    // The item's place on the computer: "~" expanded, anything else taken below "/".
    [[nodiscard]] std::string local(const std::string& item) const;
    [[nodiscard]] std::string drive(const std::string& item) const; // the copy's place on the drive
    // An item at or below one of `volumeRoots` in the form "/Volumes/<name>/…", everything else unchanged; so is what
    // lies on a volume whose name another one has that sorts before it.
    [[nodiscard]] static std::string volumesForm(const std::string& item, const std::vector<std::string>& volumeRoots);
    // The roots of removable volumes at this moment, folder drives and the drive itself left out.
    [[nodiscard]] static std::vector<std::string> removableRoots(VolumeService& volumes, const std::string& drive);
    // The roots that hold from here on. Volumes come and go: set when the drive is met and anew by each pass.
    void setVolumeRoots(std::vector<std::string> roots) {
        _volumeRoots.store(std::make_shared<const std::vector<std::string>>(std::move(roots)));
    }
    [[nodiscard]] const HomePaths& home() const { return _home; }

  private:
    std::string _mountPoint;
    std::string _workName; // the computer-side work folder's own name
    std::string _hostUserId;
    std::string _userName;
    std::string _machineName;
    std::uint32_t _userId;
    HomePaths _home;
    std::atomic<std::shared_ptr<const std::vector<std::string>>> _volumeRoots{}; // null: none
};

} // namespace vt

// One look at everything that is mounted: which of it is a drive, and how it is described.
// Thread: any; an instance belongs to one thread at a time. Owns: the descriptions of its last look, so that an
// unchanged volume is not read again.
#pragma once

#include "platform/linux/volumes/FolderDrives.h"
#include "platform/linux/volumes/TimedCall.h"
#include "platform/linux/volumes/VolumeChanges.h"

#include <map>
#include <string>
#include <vector>

namespace vt {

struct ShareMount {
    std::string mountPoint;
    std::string mountedFrom;
};

struct ShareLook {
    std::vector<ShareMount> shares;
    std::vector<std::string> silent; // mount folders of the desktop that did not answer in time
};

class VolumeSurvey {
  public:
    VolumeSurvey(FolderDrives& folders, TimedCalls& calls) : _folders(folders), _calls(calls) {}

    // Disks stay known while their device is there, mounted or not. An error of the mount table keeps the last look.
    // The table, the costly part, is read anew unless `sameMounts`.
    const VolumeSnapshot& look(bool sameMounts);

    // Block devices that are mounted as drives, each by its first mount; devices that carry a system mount are left
    // out.
    [[nodiscard]] static std::map<std::string, MountEntry> disks(const MountTable& table, const VolumeSnapshot& before);
    // Kernel mounts and the desktop's.
    [[nodiscard]] static ShareLook shares(const MountTable& table, TimedCalls& calls);
    // The desktop mounts its shares without a mount event: they must be looked for.
    [[nodiscard]] bool mustPoll() const { return _mustPoll || !_folders.empty(); }

  private:
    void addDisks(const MountTable& table, VolumeSnapshot& next);
    void addShares(const MountTable& table, VolumeSnapshot& next);
    void addFolders(const MountTable& table, VolumeSnapshot& next);
    FolderDrives& _folders;
    TimedCalls& _calls;
    VolumeSnapshot _last;
    MountTable _table;                         // of the last look; empty: none could be read
    std::map<std::string, MountEntry> _mounts; // of the described disks, by key
    bool _mustPoll = false;
};

} // namespace vt

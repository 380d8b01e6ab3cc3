// What watching leaves out, and where the kernel tells nothing. Thread: any; a copy for each thread that looks.
// Units: clean absolute paths, raw bytes.
#pragma once

#include "platform/linux/volumes/MountTable.h"

#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

namespace vt {

class WatchScope {
  public:
    // Files and folders of the agent itself: nothing at or below them counts.
    void setIgnored(std::vector<std::string> paths);
    // Folders that belong to no watched folder above them: served drives. One that is watched for itself counts.
    void setLeftOut(const std::vector<std::string>& folders);
    void setMounts(const MountTable& table);

    [[nodiscard]] bool isIgnored(std::string_view path) const;
    // `name` in the folder `path` is the agent's own, or leads out. Cheap where the name is not among those listed.
    [[nodiscard]] bool leavesOut(std::string_view name) const { return _names.contains(std::string(name)); }
    [[nodiscard]] bool isLeftOut(const std::string& path) const { return _leftOut.contains(path); }
    // The file system at or above `path` reports nothing of what other computers or its own process change.
    [[nodiscard]] bool lacksEvents(std::string_view path) const;
    // The same for a mount at exactly `path`.
    [[nodiscard]] bool mountLacksEvents(const std::string& path) const { return _silentMounts.contains(path); }
    // The mount point that `path` lies on.
    [[nodiscard]] std::string mountPointOf(std::string_view path) const;
    // `path` with every link on the way resolved; a mount that lacks events may hang and is not looked at.
    [[nodiscard]] std::string placeBehindLinks(const std::string& path) const;
    [[nodiscard]] const MountTable& mounts() const { return _mounts; }
    [[nodiscard]] const std::unordered_set<std::string>& leftOut() const { return _leftOut; }

    [[nodiscard]] static bool typeLacksEvents(std::string_view type);

  private:
    void collectNames();

    std::vector<std::string> _ignored;
    std::unordered_set<std::string> _leftOut;
    std::unordered_set<std::string> _names; // the last components of both
    std::unordered_set<std::string> _silentMounts;
    MountTable _mounts;
};

} // namespace vt

// What the operations of the task queue do on the worker. Thread: the drive's worker. Errors: in the log.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace vt {

class TaskWork {
  public:
    virtual ~TaskWork() = default;
    // The paths of a continuous sync, or null for a full one.
    virtual void threadDoSync(const std::optional<std::vector<std::string>>& paths) = 0;
    virtual void threadDoSyncListUpdate(const std::vector<std::string>& list) = 0;
    virtual void threadRemoveDriveSync() = 0;
};

} // namespace vt

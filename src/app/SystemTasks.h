// Launches child processes and logs what they complain about to the system log. Nothing calls it by itself.
// Thread: main. Owns: what is kept around of each child, until its stream or the child itself has ended.
#pragma once

#include "platform/ChildProcesses.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace vt {

class SystemTasks {
  public:
    explicit SystemTasks(ChildProcesses* children) : _children(children) {} // null: nothing can be started
    // Does nothing unless both are given. `launchPath` is absolute.
    void performSystemTask(const std::optional<std::string>& launchPath,
                           const std::optional<std::vector<std::string>>& arguments);
    // Both read handles and the task of every child.
    [[nodiscard]] std::size_t objectsToKeepAround() const { return m_objectsToKeepAround->size(); }

  private:
    using Kept = std::set<std::uint64_t>;
    ChildProcesses* _children;
    std::shared_ptr<Kept> m_objectsToKeepAround = std::make_shared<Kept>();
    std::uint64_t _lastKept = 0;
};

} // namespace vt

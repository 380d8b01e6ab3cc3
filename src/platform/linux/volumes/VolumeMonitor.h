// Waits for changes of mounts and block devices, on a thread of its own.
// Thread: made and destroyed on the main thread; `look` runs on the monitor's own. lookAgain() on any.
// Owns: its thread and descriptors. The destruction waits for a running look.
#pragma once

#include "platform/linux/UniqueFd.h"

#include <atomic>
#include <chrono>
#include <functional>
#include <thread>

namespace vt {

class VolumeMonitor {
  public:
    // Called at the start and after each change; true: call again after `interval` even without one, and then with
    // Since::lastLook, which says that nothing was mounted or unmounted in between.
    enum class Since { lastLook, mayHaveMounted };
    using Look = std::function<bool(Since)>;
    VolumeMonitor(Look look, std::chrono::milliseconds interval);
    ~VolumeMonitor();
    VolumeMonitor(const VolumeMonitor&) = delete;
    VolumeMonitor& operator=(const VolumeMonitor&) = delete;

    void lookAgain();

  private:
    void run();
    Look _look;
    std::chrono::milliseconds _interval;
    UniqueFd _wake;
    std::atomic<bool> _ending{false};
    std::thread _thread;
};

} // namespace vt

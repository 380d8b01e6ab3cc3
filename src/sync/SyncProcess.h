// What the drives of one process share: the debug flag of the workers, the roots of the drives that are served, and
// which mount points a worker is busy on. Thread: any. Owns: nothing but its own tables.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace vt {

class SyncProcess {
  public:
    // Read from the user default "debug" at the start of every sync, of whichever drive.
    [[nodiscard]] bool debugFlag() const { return _debugFlag.load(); }
    void setDebugFlag(bool on) { _debugFlag.store(on); }

    // The root folder of a served drive; `owner` is any address that names the controller.
    struct Root {
        std::string mountPoint;
        std::uint64_t device = 0;
        std::uint64_t inode = 0;
    };
    void addServedRoot(const void* owner, Root root);
    void removeServedRoot(const void* owner);
    [[nodiscard]] std::vector<Root> servedRoots() const;

    // A worker holds the drive at this mount point while it works.
    void workBegins(const void* owner, const std::string& mountPoint);
    void workEnds(const void* owner, const std::string& mountPoint);
    // Waits until no worker but `owner` holds that mount point; false when `atMost` has passed first.
    bool waitUntilFree(const void* owner, const std::string& mountPoint, std::chrono::milliseconds atMost);

  private:
    [[nodiscard]] bool heldByAnother(const void* owner, const std::string& mountPoint) const;

    std::atomic<bool> _debugFlag{false};
    mutable std::mutex _mutex;
    std::condition_variable _released;
    std::map<const void*, Root> _servedRoots;
    std::multimap<std::string, const void*> _workers;
};

} // namespace vt

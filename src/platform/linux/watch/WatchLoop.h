// The watching thread: waits for the kernel, scans, collects changes for each root's latency, reports.
// Thread: run() and all but WatchOrders on the watching thread, which nobody waits for. Owns: the inotify descriptor,
// the tree of folders, the poller.
#pragma once

#include "platform/linux/UniqueFd.h"
#include "platform/linux/watch/TreePoller.h"
#include "platform/linux/watch/TreeWatcher.h"
#include "platform/linux/watch/WatchBackend.h"

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace vt {

struct WatchOptions {
    std::vector<std::string> ignored;               // the agent's own files and folders, absolute
    std::chrono::milliseconds pollInterval{10'000}; // where there are no events; longer for large trees
    std::chrono::milliseconds grace{15'000};        // a root without streams is kept so long
    std::size_t maximumWatches = ~std::size_t{0};   // besides what the system allows
    std::function<void(const std::string&)> notice; // a line for the user, on the main thread; empty: the system log
};

class WatchLoop;

// What other threads want of the watching thread, in order. Thread: any. Owns: the descriptor that wakes it.
class WatchOrders {
  public:
    using Order = std::function<void(WatchLoop&)>;
    WatchOrders();
    void send(Order order);
    void stop();
    // False: it is over.
    [[nodiscard]] bool take(std::vector<Order>& orders);
    [[nodiscard]] int descriptor() const { return _wake.get(); }

  private:
    void wake() const;
    std::mutex _mutex;
    std::vector<Order> _orders;
    bool _stop = false;
    UniqueFd _wake;
};

class WatchLoop {
  public:
    using RootId = TreeWatcher::RootId;
    using Report = std::function<void(WatchReport)>;
    using Notice = std::function<void(const std::string&)>; // any thread
    WatchLoop(std::shared_ptr<WatchOrders> orders, const WatchOptions& options, Report report, Notice notice);

    void run();
    void add(RootId root, const std::string& path, double latency);
    void remove(RootId root);
    void leaveOut(const std::vector<std::string>& folders);
    void looked(TreePoller::Key node, TreePoller::Look look, std::uint64_t folders);

  private:
    using Clock = std::chrono::steady_clock;
    struct Pending {
        Clock::duration latency{0};
        std::optional<Clock::time_point> due; // of a change
        bool complete = false;                // to be told of at once
    };
    TreeWatcher::Listener listener();
    void poll(TreeWatcher::Node node, const std::string& path, TreeWatcher::PollReason reason);
    void readMounts();
    bool readEvents();
    void reportWhatIsDue();
    void sayWhatIsMissing();
    [[nodiscard]] int millisecondsToWait(bool more) const;
    void wait(int milliseconds, bool events);

    std::shared_ptr<WatchOrders> _orders;
    Report _report;
    Notice _notice;
    std::chrono::milliseconds _pollInterval;
    UniqueFd _mounts;
    bool _mountsChanged = false;
    InotifyQueue _queue;
    TreePoller _poller;
    TreeWatcher _watcher;
    std::map<RootId, Pending> _roots;
    // Folders polled for want of watches, with the number of folders in each once it is known.
    std::map<TreeWatcher::Node, std::optional<std::uint64_t>> _withoutWatch;
    bool _said = false;
};

} // namespace vt

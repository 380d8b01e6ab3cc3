#include "platform/linux/watch/WatchLoop.h"

#include "base/Text.h"

#include <algorithm>
#include <array>
#include <fcntl.h>
#include <fstream>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>
#include <utility>

namespace vt {

namespace {

constexpr std::size_t foldersAtATime = 256;
constexpr int buffersAtATime = 64;
// While events keep coming they are read so often, not one by one. Milliseconds.
constexpr int pauseBetweenReadings = 20;

// The lower of the computer's limit and of what this user's name space was given.
std::uint64_t watchLimit() {
    std::uint64_t lowest = 0;
    for (const char* const file : {"/proc/sys/fs/inotify/max_user_watches", "/proc/sys/user/max_inotify_watches"}) {
        std::uint64_t limit = 0;
        if (std::ifstream(file) >> limit && (lowest == 0 || limit < lowest)) lowest = limit;
    }
    return lowest;
}

} // namespace

WatchOrders::WatchOrders() : _wake(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

void WatchOrders::wake() const {
    const std::uint64_t one = 1;
    if (::write(_wake.get(), &one, sizeof one) < 0) return; // full: it is awake already
}

void WatchOrders::send(Order order) {
    const std::scoped_lock lock(_mutex);
    _orders.push_back(std::move(order));
    wake();
}

void WatchOrders::stop() {
    const std::scoped_lock lock(_mutex);
    _stop = true;
    _orders.clear();
    wake();
}

bool WatchOrders::take(std::vector<Order>& orders) {
    std::uint64_t count = 0;
    if (::read(_wake.get(), &count, sizeof count) < 0) count = 0;
    const std::scoped_lock lock(_mutex);
    orders = std::exchange(_orders, {});
    return !_stop;
}

WatchLoop::WatchLoop(std::shared_ptr<WatchOrders> orders, const WatchOptions& options, Report report, Notice notice)
    : _orders(std::move(orders)), _report(std::move(report)), _notice(std::move(notice)),
      _pollInterval(options.pollInterval), _mounts(::open("/proc/self/mountinfo", O_RDONLY | O_CLOEXEC)),
      _poller(options.pollInterval,
              [to = _orders](TreePoller::Key node, TreePoller::Look look, std::uint64_t folders) {
                  to->send([=](WatchLoop& loop) { loop.looked(node, look, folders); });
              }),
      _watcher(_queue, options.maximumWatches, listener()) {
    _watcher.setIgnored(options.ignored);
    readMounts();
}

TreeWatcher::Listener WatchLoop::listener() {
    return {[this](RootId root) {
                Pending& pending = _roots[root];
                if (!pending.due) pending.due = Clock::now() + pending.latency;
            },
            [this](RootId root, bool gap) {
                if (gap)
                    _roots[root].complete = true;
                else
                    _report({root, WatchReport::Kind::completeWithoutGap});
            },
            [this](TreeWatcher::Node node, const std::string& path, TreeWatcher::PollReason reason) {
                poll(node, path, reason);
            },
            [this](TreeWatcher::Node node) {
                _poller.forget(node);
                _withoutWatch.erase(node);
            }};
}

void WatchLoop::run() {
    std::vector<WatchOrders::Order> orders;
    while (_orders->take(orders)) {
        for (const WatchOrders::Order& order : orders) order(*this);
        if (std::exchange(_mountsChanged, false)) readMounts();
        const bool more = _watcher.examineSome(foldersAtATime);
        const bool events = readEvents();
        reportWhatIsDue();
        const bool idle = !more && !events;
        wait(idle ? millisecondsToWait(false) : (more ? 0 : std::min(pauseBetweenReadings, millisecondsToWait(true))),
             idle);
    }
}

bool WatchLoop::readEvents() {
    bool any = false;
    for (int buffers = 0; buffers < buffersAtATime; ++buffers) {
        if (!_queue.read([this](const InotifyQueue::Event& event) { _watcher.handle(event); })) break;
        any = true;
    }
    return any;
}

int WatchLoop::millisecondsToWait(bool atMostAPause) const {
    std::optional<Clock::time_point> first;
    for (const auto& [root, pending] : _roots)
        if (pending.due && (!first || *pending.due < *first)) first = pending.due;
    if (!first) return atMostAPause ? pauseBetweenReadings : -1;
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(*first - Clock::now());
    return static_cast<int>(std::max<std::int64_t>(0, left.count()));
}

void WatchLoop::wait(int milliseconds, bool events) {
    // A descriptor below zero is passed over.
    std::array<pollfd, 3> waited{pollfd{_orders->descriptor(), POLLIN, 0}, pollfd{_mounts.get(), POLLPRI, 0},
                                 pollfd{events ? _queue.descriptor() : -1, POLLIN, 0}};
    if (::poll(waited.data(), waited.size(), milliseconds) > 0) _mountsChanged = (waited[1].revents & POLLPRI) != 0;
}

void WatchLoop::readMounts() {
    const auto table = readSettledMountTable();
    if (!table.ok()) return;
    _watcher.setMounts(*table);
    _poller.setScope(_watcher.scope());
}

void WatchLoop::add(RootId root, const std::string& path, double latency) {
    _roots[root].latency = std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(latency));
    _watcher.addRoot(root, path);
}

void WatchLoop::remove(RootId root) {
    _watcher.removeRoot(root);
    _roots.erase(root);
}

void WatchLoop::leaveOut(const std::vector<std::string>& folders) {
    _watcher.setLeftOut(folders);
    _poller.setScope(_watcher.scope());
}

void WatchLoop::reportWhatIsDue() {
    const auto now = Clock::now();
    for (auto& [root, pending] : _roots) {
        if (pending.due && *pending.due <= now) {
            pending.due.reset();
            pending.complete = false;
            _report({root, WatchReport::Kind::changed});
        } else if (std::exchange(pending.complete, false)) {
            _report({root, WatchReport::Kind::complete});
        }
    }
}

void WatchLoop::poll(TreeWatcher::Node node, const std::string& path, TreeWatcher::PollReason reason) {
    const bool silent = reason == TreeWatcher::PollReason::noEvents;
    if (!silent) _withoutWatch[node] = std::nullopt;
    _poller.watch(node, path, _watcher.scope().mountPointOf(_watcher.scope().placeBehindLinks(path)), !silent);
}

void WatchLoop::looked(TreePoller::Key key, TreePoller::Look look, std::uint64_t folders) {
    const auto node = static_cast<TreeWatcher::Node>(key);
    if (look == TreePoller::Look::changed) return _watcher.polledChanged(node);
    _watcher.polledFirst(node);
    const auto found = _withoutWatch.find(node);
    if (found == _withoutWatch.end()) return;
    found->second = folders;
    sayWhatIsMissing();
}

void WatchLoop::sayWhatIsMissing() {
    std::uint64_t missing = 0;
    for (const auto& [node, folders] : _withoutWatch) {
        if (!folders) return;
        missing += *folders;
    }
    if (std::exchange(_said, true) || missing == 0) return;
    const std::uint64_t limit = watchLimit();
    _notice(formatText(
        "%lu folders cannot be watched: fs.inotify.max_user_watches is %lu and should be at least %lu. "
        "They are looked at every %ld seconds instead.",
        {missing, limit, std::max<std::uint64_t>(limit, _watcher.watches()) + missing, _pollInterval.count() / 1000}));
}

} // namespace vt

#include "platform/linux/watch/TreePoller.h"

#include "platform/linux/watch/TreeDigest.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

namespace vt {

struct TreePoller::Group {
    struct Tree {
        Key key = 0;
        std::string path;
        bool inodes = false;
        std::optional<TreeDigest> last;
    };
    std::mutex mutex;
    std::condition_variable wake;
    std::atomic<bool> stop{false};
    bool added = false;
    std::vector<Tree> trees;
    std::shared_ptr<const WatchScope> scope;
    std::shared_ptr<const Looked> looked;
    std::chrono::milliseconds interval{0};
};

TreePoller::TreePoller(std::chrono::milliseconds interval, Looked looked)
    : _interval(interval), _looked(std::make_shared<const Looked>(std::move(looked))),
      _scope(std::make_shared<const WatchScope>()) {}

TreePoller::~TreePoller() {
    for (const auto& [name, group] : _groups) {
        const std::scoped_lock lock(group->mutex);
        group->stop = true;
        group->looked = nullptr;
        group->wake.notify_all();
    }
}

void TreePoller::setScope(const WatchScope& scope) {
    _scope = std::make_shared<const WatchScope>(scope);
    for (const auto& [name, group] : _groups) {
        const std::scoped_lock lock(group->mutex);
        group->scope = _scope;
    }
}

void TreePoller::watch(Key key, const std::string& path, const std::string& group, bool inodes) {
    forget(key);
    _groupOf[key] = group;
    std::shared_ptr<Group>& found = _groups[group];
    if (found) {
        const std::scoped_lock lock(found->mutex);
        found->trees.push_back({key, path, inodes, {}});
        found->added = true;
        found->wake.notify_all();
        return;
    }
    found = std::make_shared<Group>();
    found->scope = _scope;
    found->looked = _looked;
    found->interval = _interval;
    found->trees.push_back({key, path, inodes, {}});
    std::thread([started = found] { run(started); }).detach();
}

void TreePoller::forget(Key key) {
    const auto known = _groupOf.find(key);
    if (known == _groupOf.end()) return;
    const auto group = _groups.find(known->second);
    _groupOf.erase(known);
    const std::scoped_lock lock(group->second->mutex);
    auto& trees = group->second->trees;
    std::erase_if(trees, [key](const Group::Tree& tree) { return tree.key == key; });
}

void TreePoller::run(const std::shared_ptr<Group>& group) {
    using Clock = std::chrono::steady_clock;
    std::unique_lock lock(group->mutex);
    Clock::time_point due = Clock::now();
    while (!group->stop) {
        const auto start = Clock::now();
        const bool all = start >= due; // between two rounds only what is new
        group->added = false;
        std::vector<Group::Tree> round = group->trees;
        for (Group::Tree& tree : round) {
            if (!all && tree.last) continue;
            const auto scope = group->scope;
            lock.unlock();
            const TreeDigest digest = digestTree(tree.path, *scope, tree.inodes, group->stop);
            lock.lock();
            if (group->stop) return;
            const auto known = std::find_if(group->trees.begin(), group->trees.end(),
                                            [&](const Group::Tree& other) { return other.key == tree.key; });
            if (known == group->trees.end() || known->path != tree.path) continue;
            const std::optional<TreeDigest> last = known->last;
            known->last = digest;
            // Under the lock: nothing is told of a tree after forget().
            if (!last || *last != digest)
                (*group->looked)(tree.key, last ? Look::changed : Look::first, digest.folders);
        }
        if (all) due = Clock::now() + std::max<Clock::duration>(group->interval, 20 * (Clock::now() - start));
        const auto woken = [&] { return group->stop || group->added; };
        if (group->trees.empty())
            group->wake.wait(lock, woken);
        else
            group->wake.wait_until(lock, due, woken);
    }
}

} // namespace vt

#include "sync/SyncProcess.h"

#include <algorithm>
#include <utility>

namespace vt {

void SyncProcess::addServedRoot(const void* owner, Root root) {
    const std::scoped_lock lock(_mutex);
    _servedRoots[owner] = std::move(root);
}

void SyncProcess::removeServedRoot(const void* owner) {
    const std::scoped_lock lock(_mutex);
    _servedRoots.erase(owner);
}

std::vector<SyncProcess::Root> SyncProcess::servedRoots() const {
    const std::scoped_lock lock(_mutex);
    std::vector<Root> roots;
    for (const auto& [owner, root] : _servedRoots) roots.push_back(root);
    return roots;
}

void SyncProcess::workBegins(const void* owner, const std::string& mountPoint) {
    const std::scoped_lock lock(_mutex);
    _workers.emplace(mountPoint, owner);
}

void SyncProcess::workEnds(const void* owner, const std::string& mountPoint) {
    {
        const std::scoped_lock lock(_mutex);
        const auto [first, last] = _workers.equal_range(mountPoint);
        const auto mine = std::find_if(first, last, [&](const auto& worker) { return worker.second == owner; });
        if (mine != last) _workers.erase(mine);
    }
    _released.notify_all();
}

bool SyncProcess::heldByAnother(const void* owner, const std::string& mountPoint) const {
    const auto [first, last] = _workers.equal_range(mountPoint);
    return std::any_of(first, last, [&](const auto& worker) { return worker.second != owner; });
}

bool SyncProcess::waitUntilFree(const void* owner, const std::string& mountPoint, std::chrono::milliseconds atMost) {
    std::unique_lock lock(_mutex);
    return _released.wait_for(lock, atMost, [&] { return !heldByAnother(owner, mountPoint); });
}

} // namespace vt

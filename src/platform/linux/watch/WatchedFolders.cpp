#include "platform/linux/watch/WatchedFolders.h"

#include <cerrno>
#include <sys/inotify.h>

namespace vt {

namespace {
constexpr std::uint32_t comings = IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO | IN_DELETE_SELF | IN_MOVE_SELF;
// A parent of watched folders only has to tell when they come and go. Reading is in neither: it changes nothing.
constexpr std::uint32_t spineMask = comings | IN_ATTRIB;
constexpr std::uint32_t fullMask = spineMask | IN_MODIFY | IN_CLOSE_WRITE;
} // namespace

void WatchedFolders::forEachRootOf(Node node, const std::function<void(Root&)>& visit) {
    for (Node at = node;; at = tree[at].parent) {
        if (tree[at].root) {
            const auto root = roots.find(at);
            if (root != roots.end()) visit(root->second);
        }
        if (!tree[at].covered || tree[at].boundary) return;
    }
}

void WatchedFolders::mark(Node node) {
    forEachRootOf(node, [this](Root& root) { changed(root); });
}

void WatchedFolders::changed(Root& root) {
    // Until all of it is watched, it is told of once at the end.
    if (root.complete)
        _listener.changed(root.id);
    else
        root.scanned = true;
}

void WatchedFolders::markScanned(Node node) {
    forEachRootOf(node, [](Root& root) { root.scanned = true; });
}

int WatchedFolders::attach(Node node, int folder) {
    const int watch = _queue.add(folder, lists(node) || tree[node].full ? fullMask : spineMask);
    if (watch < 0) return -watch;
    if (tree[node].watch == watch) return tree[node].listed = lists(node), 0;
    const auto known = _byWatch.find(watch);
    if (known == _byWatch.end() && _byWatch.size() >= _maximumWatches) {
        _queue.remove(watch);
        return ENOSPC;
    }
    detach(node);
    tree[node].watch = watch;
    tree[node].listed = lists(node);
    tree[node].nextOfWatch = known == _byWatch.end() ? FolderTree::none : known->second;
    _byWatch[watch] = node;
    return 0;
}

void WatchedFolders::detach(Node node) {
    const int watch = tree[node].watch;
    if (watch < 0) return;
    unlink(node);
    if (!_byWatch.contains(watch)) _queue.remove(watch);
}

void WatchedFolders::unlink(Node node) {
    const auto first = _byWatch.find(tree[node].watch);
    const Node next = tree[node].nextOfWatch;
    tree[node].watch = -1;
    tree[node].listed = false;
    tree[node].nextOfWatch = FolderTree::none;
    if (first == _byWatch.end()) return;
    if (first->second != node) {
        Node before = first->second;
        while (tree[before].nextOfWatch != node) before = tree[before].nextOfWatch;
        tree[before].nextOfWatch = next;
    } else if (next != FolderTree::none) {
        first->second = next;
    } else {
        _byWatch.erase(first);
    }
}

std::vector<FolderTree::Node> WatchedFolders::nodesOf(int watch) const {
    std::vector<Node> nodes;
    const auto first = _byWatch.find(watch);
    if (first == _byWatch.end()) return nodes;
    for (Node node = first->second; node != FolderTree::none; node = tree[node].nextOfWatch) nodes.push_back(node);
    return nodes;
}

std::vector<FolderTree::Node> WatchedFolders::watchEnded(int watch) {
    std::vector<Node> nodes = nodesOf(watch);
    for (const Node node : nodes) unlink(node);
    return nodes;
}

void WatchedFolders::stopPolling(Node node) {
    if (!tree[node].polled) return;
    tree[node].polled = false;
    _listener.stopPolling(node);
}

void WatchedFolders::dropBelow(Node node) {
    const std::vector<Node> nodes = tree.below(node);
    for (std::size_t at = nodes.size(); at-- > 1;) {
        const Node below = nodes[at];
        detach(below);
        stopPolling(below);
        tree[below].refused = false;
        if (tree[below].root) mark(below);
        if (!tree[below].root && tree[below].firstChild == FolderTree::none) tree.remove(below);
    }
}

void WatchedFolders::gone(Node node) {
    dropBelow(node);
    detach(node);
    stopPolling(node);
    tree[node].refused = false;
    if (node != FolderTree::top && !tree[node].root && tree[node].firstChild == FolderTree::none) tree.remove(node);
}

bool WatchedFolders::isNeeded(Node node) const {
    const auto& record = tree[node];
    return node == FolderTree::top || record.root || record.firstChild != FolderTree::none ||
           (record.covered && !record.boundary);
}

void WatchedFolders::prune(Node node) {
    const std::vector<Node> nodes = tree.below(node);
    for (std::size_t at = 1; at < nodes.size(); ++at) tree[nodes[at]].covered = lists(tree[nodes[at]].parent);
    for (std::size_t at = nodes.size(); at-- > 1;) {
        if (!lists(nodes[at])) stopPolling(nodes[at]);
        if (isNeeded(nodes[at])) continue;
        detach(nodes[at]);
        tree.remove(nodes[at]);
    }
}

void WatchedFolders::release(Node node) {
    roots.erase(node);
    tree[node].root = false;
    prune(node);
    if (!lists(node)) stopPolling(node);
    while (!isNeeded(node)) {
        const Node parent = tree[node].parent;
        detach(node);
        tree.remove(node);
        node = parent;
    }
}

} // namespace vt

// The part of the watcher that takes what the kernel and the application tell.
#include "base/Paths.h"
#include "platform/linux/watch/TreeWatcher.h"

#include <algorithm>
#include <sys/inotify.h>

namespace vt {

namespace {

constexpr std::uint32_t appears = IN_CREATE | IN_MOVED_TO;
constexpr std::uint32_t disappears = IN_DELETE | IN_MOVED_FROM;

bool sameMount(const MountEntry& one, const MountEntry& other) {
    return one.id == other.id && one.device == other.device && one.root == other.root && one.target == other.target &&
           one.type == other.type && one.source == other.source;
}

bool holds(const MountTable& table, const MountEntry& mount) {
    return std::any_of(table.begin(), table.end(), [&](const MountEntry& other) { return sameMount(mount, other); });
}

} // namespace

void TreeWatcher::handle(const InotifyQueue::Event& event) {
    if ((event.mask & IN_Q_OVERFLOW) != 0) return overflowed();
    if ((event.mask & IN_IGNORED) != 0) {
        for (const Node node : _folders.watchEnded(event.watch)) {
            _folders.mark(node);
            queue(node, Look::below);
        }
        return;
    }
    for (const Node node : _folders.nodesOf(event.watch)) {
        if (event.name.empty())
            folderEvent(node, event.mask);
        else
            nameEvent(node, event.mask, event.name);
    }
}

void TreeWatcher::overflowed() {
    for (auto& [node, root] : _folders.roots) _folders.changed(root);
    queue(FolderTree::top, Look::below);
}

void TreeWatcher::folderEvent(Node node, std::uint32_t mask) {
    if (_folders.lists(node) && (mask & (IN_ATTRIB | IN_UNMOUNT)) != 0) _folders.mark(node);
    // Its permissions may have changed, or it stands somewhere else.
    if ((mask & (IN_ATTRIB | IN_MOVE_SELF)) != 0) queue(node, Look::here);
}

void TreeWatcher::nameEvent(Node node, std::uint32_t mask, std::string_view name) {
    const Node child = _tree.childNamed(node, name);
    if (leavesOut(node, name) && (child == FolderTree::none || !_tree[child].root)) return;
    const bool comes = (mask & appears) != 0;
    const bool goes = (mask & disappears) != 0;
    if (_folders.lists(node)) _folders.mark(node);
    if (child != FolderTree::none) {
        if (_tree[child].root) _folders.mark(child);
        if (comes || goes || (mask & IN_ATTRIB) != 0) queue(child, comes ? Look::below : Look::here);
    } else if (comes && (mask & IN_ISDIR) != 0 && _folders.lists(node)) {
        queue(_tree.addChild(node, name), Look::here);
    }
}

bool TreeWatcher::leavesOut(Node folder, std::string_view name) const {
    if (!_scope.leavesOut(name)) return false;
    const std::string path = paths::join(_tree.path(folder), name);
    return _scope.isIgnored(path) || _scope.isLeftOut(path);
}

void TreeWatcher::polledChanged(Node node) {
    if (_tree.isAlive(node) && _tree[node].polled) _folders.mark(node);
}

void TreeWatcher::polledFirst(Node node) {
    if (!_tree.isAlive(node) || !_tree[node].polled) return;
    _folders.forEachRootOf(node, [this](const WatchedFolders::Root& root) { _listener.complete(root.id, true); });
}

void TreeWatcher::pathChanged(const std::string& path) {
    const Node node = _tree.find(path);
    if (node != FolderTree::none) {
        if (_folders.lists(node) && !_scope.isLeftOut(path)) _folders.mark(node);
        return queue(node, Look::below);
    }
    const Node parent = _tree.find(paths::parent(path));
    const std::string name = paths::lastComponent(path);
    if (parent == FolderTree::none || !_folders.lists(parent) || leavesOut(parent, name)) return;
    _folders.mark(parent);
    queue(_tree.addChild(parent, name), Look::here);
}

void TreeWatcher::setLeftOut(const std::vector<std::string>& folders) {
    const WatchScope before = _scope;
    _scope.setLeftOut(folders);
    for (const std::string& folder : before.leftOut())
        if (!_scope.isLeftOut(folder)) pathChanged(folder);
    for (const std::string& folder : _scope.leftOut())
        if (!before.isLeftOut(folder)) pathChanged(folder);
}

void TreeWatcher::setMounts(const MountTable& table) {
    const MountTable before = _scope.mounts();
    _scope.setMounts(table);
    for (const MountEntry& mount : before)
        if (!holds(table, mount)) pathChanged(mount.target);
    for (const MountEntry& mount : table)
        if (!holds(before, mount)) pathChanged(mount.target);
    if (!before.empty()) lookBehindLinks();
}

// A mount that came or went at the end of a link shows in no path of the tree.
void TreeWatcher::lookBehindLinks() {
    for (const auto& [node, place] : _elsewhere) {
        queue(node, Look::below);
        for (Node above = node; above != FolderTree::top; above = _tree[above].parent) queue(above, Look::here);
    }
}

} // namespace vt

#include "platform/linux/watch/TreeWatcher.h"

#include "base/Paths.h"
#include "platform/linux/watch/FolderAccess.h"

#include <algorithm>
#include <cerrno>
#include <utility>

namespace vt {

TreeWatcher::TreeWatcher(InotifyQueue& queue, std::size_t maximumWatches, Listener listener)
    : _listener(std::move(listener)), _folders(queue, maximumWatches, {_listener.changed, _listener.stopPolling}),
      _tree(_folders.tree) {}

void TreeWatcher::addRoot(RootId id, const std::string& path) {
    // Nothing of the agent's own counts, even where somebody asks for it.
    if (_scope.isIgnored(path)) {
        _listener.complete(id, false);
        return;
    }
    Node node = FolderTree::top;
    std::vector<Node> way{node};
    const std::vector<std::string> names = paths::components(path);
    for (std::size_t at = 1; at < names.size(); ++at) {
        if (names[at].size() > 255) return _listener.complete(id, false); // no folder can have this name
        const Node known = _tree.childNamed(node, names[at]);
        node = known != FolderTree::none ? known : _tree.addChild(node, names[at]);
        way.push_back(node);
    }
    _tree[node].root = true;
    _folders.roots[node] = {id, false, false};
    _nodeOfRoot[id] = node;
    for (auto step = way.rbegin(); step != way.rend(); ++step) this->queue(*step, Look::here);
}

void TreeWatcher::removeRoot(RootId id) {
    const auto found = _nodeOfRoot.find(id);
    if (found == _nodeOfRoot.end()) return;
    _elsewhere.erase(found->second);
    _folders.release(found->second);
    _nodeOfRoot.erase(found);
    // There may be room now for what had none.
    for (const Node node : std::exchange(_withoutWatch, {}))
        if (_tree.isAlive(node) && _tree[node].polled) this->queue(node, Look::here);
}

void TreeWatcher::queue(Node node, Look look) {
    if (look == Look::below) _tree[node].deep = true;
    if (_tree[node].queued) return;
    _tree[node].queued = true;
    _waiting.push_back(node);
}

bool TreeWatcher::examineSome(std::size_t folders) {
    while (!_waiting.empty() && folders > 0) {
        const Node node = _waiting.back();
        _waiting.pop_back();
        if (!_tree.isAlive(node) || !_tree[node].queued) continue;
        examine(node);
        --folders;
        if (_waiting.empty()) allExamined();
    }
    return !_waiting.empty();
}

void TreeWatcher::examine(Node node) {
    FolderTree::Record& record = _tree[node];
    const Look look = record.deep ? Look::below : Look::here;
    record.queued = record.deep = record.link = false;
    if (node != FolderTree::top) record.covered = _folders.lists(record.parent);
    const std::string path = _tree.path(node);
    if (_scope.leavesOut(_tree.name(node)) && _scope.isIgnored(path)) return _folders.gone(node);
    record.boundary = _scope.isLeftOut(path);
    if (record.boundary && !record.root) {
        _folders.prune(node);
        if (record.firstChild == FolderTree::none) return _folders.gone(node);
    }
    // Decided by names: to open a folder of a server that hangs would hang this thread.
    const bool inside = record.covered && !record.root;
    const std::string place = placeOf(node, path);
    if (inside ? _scope.mountLacksEvents(place) : _scope.lacksEvents(place)) {
        _folders.dropBelow(node);
        _folders.detach(node);
        record.refused = true;
        if (_folders.lists(node)) startPolling(node, PollReason::noEvents);
        return queueChildren(node, look);
    }
    UniqueFd folder = openFolder(path, !_folders.lists(node));
    int why = errno;
    if (!folder.isOpen() && (why == ELOOP || why == ENOTDIR) && record.firstChild != FolderTree::none) {
        // A link, followed only where it leads to a root; nothing behind it belongs to the roots above.
        record.link = record.boundary = true;
        _folders.prune(node);
        if (record.firstChild != FolderTree::none) {
            folder = openFolder(path, true);
            why = errno;
        }
        record.link = record.boundary = folder.isOpen();
    }
    if (folder.isOpen())
        opened(node, folder.get(), look);
    else
        notOpened(node, why, look);
}

std::string TreeWatcher::placeOf(Node node, const std::string& path) {
    const bool inside = _tree[node].covered && !_tree[node].root;
    if (!inside) {
        std::string place = _scope.placeBehindLinks(path);
        if (_tree[node].root && place != path)
            _elsewhere[node] = place;
        else
            _elsewhere.erase(node);
        return place;
    }
    if (_elsewhere.empty()) return path;
    Node root = node;
    while (root != FolderTree::top && !_tree[root].root) root = _tree[root].parent;
    const auto known = _elsewhere.find(root);
    return known == _elsewhere.end() ? path : known->second + path.substr(_tree.path(root).size());
}

void TreeWatcher::opened(Node node, int folder, Look look) {
    const int before = _tree[node].watch;
    const bool listedBefore = _tree[node].listed;
    if (const int why = _folders.attach(node, folder); why != 0) {
        _folders.dropBelow(node);
        _folders.detach(node);
        _tree[node].refused = true;
        if (_folders.lists(node)) startPolling(node, PollReason::noWatches);
        return queueChildren(node, Look::below);
    }
    _tree[node].refused = false;
    _folders.stopPolling(node);
    const bool appeared = _tree[node].watch != before || _tree[node].listed != listedBefore;
    queueChildren(node, appeared ? Look::below : look);
    if (!_folders.lists(node)) return;
    if (appeared) _folders.markScanned(node);
    readFolder(node, folder);
}

void TreeWatcher::notOpened(Node node, int why, Look look) {
    const bool exists = why != ENOENT;
    const bool isFolder = exists && why != ENOTDIR && why != ELOOP;
    if (_tree[node].root) {
        auto& root = _folders.roots[node];
        if (exists && (look == Look::below || !root.complete)) _folders.changed(root);
        // A file is noticed through its parent, which then has to tell of everything.
        const Node parent = _tree[node].parent;
        if (!isFolder && node != FolderTree::top && !_tree[parent].full) {
            _tree[parent].full = true;
            queue(parent, Look::here);
        }
    }
    if (!isFolder) return _folders.gone(node);
    _folders.dropBelow(node);
    _folders.detach(node);
    _tree[node].refused = true;
    // A folder that this user may not read shows nothing to a closer look either.
    if (_folders.lists(node) && why != EACCES) startPolling(node, PollReason::noWatches);
    queueChildren(node, Look::below);
}

void TreeWatcher::queueChildren(Node node, Look look) {
    const bool covers = _folders.lists(node);
    for (Node child = _tree[node].firstChild; child != FolderTree::none; child = _tree[child].nextSibling)
        if (look == Look::below || _tree[child].covered != covers || _tree[child].watch < 0) queue(child, look);
}

void TreeWatcher::readFolder(Node node, int folder) {
    (void)forEachEntry(folder, [&](const char* name, EntryKind kind) {
        if (kind != EntryKind::folder || _tree.childNamed(node, name) != FolderTree::none || leavesOut(node, name))
            return true;
        queue(_tree.addChild(node, name), Look::here);
        return true;
    });
}

void TreeWatcher::startPolling(Node node, PollReason reason) {
    if (_tree[node].polled) return;
    _tree[node].polled = true;
    if (reason == PollReason::noWatches) _withoutWatch.insert(node);
    _listener.poll(node, _tree.path(node), reason);
}

void TreeWatcher::allExamined() {
    for (auto& [node, root] : _folders.roots) {
        pollUnheldRoot(node);
        if (!root.complete) {
            root.complete = true;
            _listener.complete(root.id, root.scanned);
        } else if (root.scanned) {
            _listener.changed(root.id);
        }
        root.scanned = false;
    }
}

// A missing root or a file whose parent cannot be watched shows itself only to a look.
void TreeWatcher::pollUnheldRoot(Node node) {
    if (_tree[node].watch >= 0 || _tree[node].refused) return;
    Node above = node;
    while (above != FolderTree::top && _tree[above].watch < 0 && !_tree[above].refused) above = _tree[above].parent;
    if (_tree[above].refused)
        startPolling(node, PollReason::noWatches);
    else
        _folders.stopPolling(node);
}

} // namespace vt

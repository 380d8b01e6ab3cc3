// The known folders with their watches, and the roots that changes are told of. A change below several roots concerns
// each of them. Thread: one at a time. Owns: the tree and the watches in the queue.
#pragma once

#include "platform/linux/watch/FolderTree.h"
#include "platform/linux/watch/InotifyQueue.h"

#include <cstdint>
#include <functional>
#include <string>
#include <unordered_map>
#include <vector>

namespace vt {

class WatchedFolders {
  public:
    using Node = FolderTree::Node;
    using RootId = std::uint64_t;
    struct Root {
        RootId id = 0;
        bool complete = false; // everything below is watched
        bool scanned = false;  // something below was new since it was last told of
    };
    struct Listener {
        std::function<void(RootId)> changed;
        std::function<void(Node)> stopPolling;
    };

    WatchedFolders(InotifyQueue& queue, std::size_t maximumWatches, Listener listener)
        : _queue(queue), _maximumWatches(maximumWatches), _listener(std::move(listener)) {}

    FolderTree tree;
    std::unordered_map<Node, Root> roots;

    // What stands in the folder belongs to a root at or above it.
    [[nodiscard]] bool lists(Node node) const {
        const auto& record = tree[node];
        return !record.link && (record.root || (record.covered && !record.boundary));
    }
    // Every root that `node` belongs to.
    void forEachRootOf(Node node, const std::function<void(Root&)>& visit);
    void mark(Node node);
    void changed(Root& root);
    void markScanned(Node node);

    // Watches an open folder as this node; 0 or an errno. An earlier watch of another folder is dropped.
    [[nodiscard]] int attach(Node node, int folder);
    void detach(Node node);
    // The kernel has dropped the watch; the nodes that had it.
    std::vector<Node> watchEnded(int watch);
    [[nodiscard]] std::vector<Node> nodesOf(int watch) const;
    [[nodiscard]] std::size_t watches() const { return _byWatch.size(); }

    // Everything below goes, but roots and what leads to them; those are told.
    void dropBelow(Node node);
    // The folder is not there any more, nor is anything below it. It may have been removed from the tree after this.
    void gone(Node node);
    // Drops what is needed for no root any more below a folder that has just ceased to belong to the roots above it.
    void prune(Node node);
    // Nobody asks for this root any more: drops what is needed for no other. The node may be gone after this.
    void release(Node node);
    void stopPolling(Node node);

  private:
    void unlink(Node node);
    [[nodiscard]] bool isNeeded(Node node) const;

    InotifyQueue& _queue;
    std::size_t _maximumWatches;
    Listener _listener;
    std::unordered_map<int, Node> _byWatch; // the first node of each
};

} // namespace vt

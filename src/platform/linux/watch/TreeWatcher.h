// Keeps a watch on every folder of the roots, and follows folders that come, go and move. What is found is looked at
// rather than believed: an event only says where to look, so that a late one does no harm.
// A folder is watched before it is read, and its roots are told once more when all of it has been read: nothing that
// happens meanwhile is lost. Missing roots and files are noticed through the folders that lead there.
// Thread: one at a time (the watching thread). Units: clean absolute paths, raw bytes.
#pragma once

#include "platform/linux/watch/WatchScope.h"
#include "platform/linux/watch/WatchedFolders.h"

#include <cstdint>
#include <functional>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace vt {

class TreeWatcher {
  public:
    using Node = FolderTree::Node;
    using RootId = WatchedFolders::RootId;
    enum class PollReason : std::uint8_t { noEvents, noWatches };
    struct Listener {
        std::function<void(RootId)> changed;
        // Everything below is watched. `gap`: what changed before this may have been missed.
        std::function<void(RootId, bool gap)> complete;
        std::function<void(Node, const std::string& path, PollReason)> poll;
        std::function<void(Node)> stopPolling;
    };
    TreeWatcher(InotifyQueue& queue, std::size_t maximumWatches, Listener listener);

    [[nodiscard]] const WatchScope& scope() const { return _scope; }
    void setIgnored(std::vector<std::string> paths) { _scope.setIgnored(std::move(paths)); } // before the first root
    void setLeftOut(const std::vector<std::string>& folders);
    void setMounts(const MountTable& table);
    void addRoot(RootId id, const std::string& path);
    void removeRoot(RootId id);

    void handle(const InotifyQueue::Event& event);
    // What is looked at instead of watched was looked at for the first time; has changed since.
    void polledFirst(Node node);
    void polledChanged(Node node);
    // Looks at so many folders that wait for it; false when none is left.
    bool examineSome(std::size_t folders);
    [[nodiscard]] std::size_t watches() const { return _folders.watches(); }
    [[nodiscard]] std::size_t folders() const { return _folders.tree.count(); }

  private:
    enum class Look : std::uint8_t { here, below };
    void queue(Node node, Look look);
    void examine(Node node);
    void opened(Node node, int folder, Look look);
    void notOpened(Node node, int why, Look look);
    void readFolder(Node node, int folder);
    void queueChildren(Node node, Look look);
    void startPolling(Node node, PollReason reason);
    void allExamined();
    void pollUnheldRoot(Node node);
    // Where the node lies when the links that lead to its root are resolved.
    [[nodiscard]] std::string placeOf(Node node, const std::string& path);
    void lookBehindLinks();
    void overflowed();
    void folderEvent(Node node, std::uint32_t mask);
    void nameEvent(Node node, std::uint32_t mask, std::string_view name);
    [[nodiscard]] bool leavesOut(Node folder, std::string_view name) const;
    // What stands at `path` belongs to something else than before.
    void pathChanged(const std::string& path);

    Listener _listener;
    WatchScope _scope;
    WatchedFolders _folders;
    FolderTree& _tree;
    std::vector<Node> _waiting; // the last one is next
    std::unordered_map<RootId, Node> _nodeOfRoot;
    std::unordered_map<Node, std::string> _elsewhere; // the places of roots that links lead to
    std::unordered_set<Node> _withoutWatch;           // polled for want of watches; some may be so no more
};

} // namespace vt

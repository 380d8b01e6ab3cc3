// The folders that are known to the watcher, from "/" down: about 130 bytes each, names and indexes included.
// Thread: one at a time. Owns: the nodes and their names. Units: names are raw bytes of one path component.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

namespace vt {

class FolderTree {
  public:
    using Node = std::uint32_t;
    static constexpr Node none = 0xffffffffU;
    static constexpr Node top = 0; // "/"

    struct Record {
        int watch = -1; // inotify's descriptor; -1: not watched
        Node parent = none;
        Node firstChild = none;
        Node nextSibling = none;
        Node previousSibling = none;
        Node nextOfWatch = none; // the next node with the same watch: one folder under two paths
        std::uint32_t nameAt = 0;
        std::uint8_t nameLength = 0;
        bool alive : 1 = false;
        bool root : 1 = false;     // a stream asks for it and all below it
        bool covered : 1 = false;  // lies inside a watched root above it
        bool boundary : 1 = false; // what is below does not belong to the roots above: a link, a folder left out
        bool link : 1 = false;     // a link, followed only to reach a root behind it
        bool full : 1 = false;     // every event counts, not only what comes and goes
        bool polled : 1 = false;   // looked at from time to time
        bool refused : 1 = false;  // stands there and cannot be watched
        bool listed : 1 = false;   // its watch tells of everything, and did when the folder was read
        bool queued : 1 = false;
        bool deep : 1 = false; // queued for a new look at everything below
    };

    FolderTree();
    FolderTree(const FolderTree&) = delete;
    FolderTree& operator=(const FolderTree&) = delete;

    [[nodiscard]] Record& operator[](Node node) { return _records[node]; }
    [[nodiscard]] const Record& operator[](Node node) const { return _records[node]; }
    [[nodiscard]] bool isAlive(Node node) const { return node < _records.size() && _records[node].alive; }
    [[nodiscard]] std::string_view name(Node node) const;
    [[nodiscard]] std::string path(Node node) const;
    [[nodiscard]] Node childNamed(Node parent, std::string_view name) const;
    [[nodiscard]] Node find(std::string_view path) const; // of a clean absolute path; none when it is not known
    // The name is not there yet and has at most 255 bytes.
    Node addChild(Node parent, std::string_view name);
    // One node without children; not "/".
    void remove(Node node);
    // The node itself first, every parent before its children.
    [[nodiscard]] std::vector<Node> below(Node node) const;
    [[nodiscard]] std::size_t count() const { return _children.size() + 1; }

  private:
    struct Key {
        Node parent;
        std::string_view name;
    };
    struct Hash {
        using is_transparent = void;
        const FolderTree* tree;
        std::size_t operator()(Node node) const;
        std::size_t operator()(const Key& key) const;
    };
    struct Equal {
        using is_transparent = void;
        const FolderTree* tree;
        bool operator()(Node one, Node other) const { return one == other; }
        bool operator()(const Key& key, Node node) const;
        bool operator()(Node node, const Key& key) const { return (*this)(key, node); }
    };
    void compactNames();

    std::vector<Record> _records;
    std::vector<Node> _free;
    std::string _names;
    std::size_t _unusedNames = 0; // bytes in _names that belong to nobody
    std::unordered_set<Node, Hash, Equal> _children;
};

} // namespace vt

#include "platform/linux/watch/FolderTree.h"

#include <cassert>
#include <functional>

namespace vt {

namespace {
constexpr std::size_t worthCompacting = 1U << 20U; // bytes
} // namespace

std::size_t FolderTree::Hash::operator()(Node node) const {
    return (*this)(Key{tree->_records[node].parent, tree->name(node)});
}

std::size_t FolderTree::Hash::operator()(const Key& key) const {
    return std::hash<std::string_view>()(key.name) ^ (static_cast<std::size_t>(key.parent) * 0x9e3779b97f4a7c15ULL);
}

bool FolderTree::Equal::operator()(const Key& key, Node node) const {
    return tree->_records[node].parent == key.parent && tree->name(node) == key.name;
}

FolderTree::FolderTree() : _records(1), _children(0, Hash{this}, Equal{this}) {
    _records[top].alive = true;
}

std::string_view FolderTree::name(Node node) const {
    const Record& record = _records[node];
    return std::string_view(_names).substr(record.nameAt, record.nameLength);
}

std::string FolderTree::path(Node node) const {
    if (node == top) return "/";
    std::size_t length = 0;
    for (Node at = node; at != top; at = _records[at].parent) length += _records[at].nameLength + 1U;
    std::string path(length, '/');
    for (Node at = node; at != top; at = _records[at].parent) {
        const std::string_view part = name(at);
        length -= part.size();
        path.replace(length, part.size(), part);
        --length;
    }
    return path;
}

FolderTree::Node FolderTree::childNamed(Node parent, std::string_view name) const {
    const auto found = _children.find(Key{parent, name});
    return found == _children.end() ? none : *found;
}

FolderTree::Node FolderTree::find(std::string_view path) const {
    Node node = top;
    for (std::size_t at = 1; at < path.size() && node != none;) {
        const std::size_t end = std::min(path.find('/', at), path.size());
        node = childNamed(node, path.substr(at, end - at));
        at = end + 1;
    }
    return node;
}

FolderTree::Node FolderTree::addChild(Node parent, std::string_view name) {
    assert(name.size() <= 255 && childNamed(parent, name) == none);
    Node node = static_cast<Node>(_records.size());
    if (_free.empty()) {
        _records.emplace_back();
    } else {
        node = _free.back();
        _free.pop_back();
        _records[node] = Record{};
    }
    Record& record = _records[node];
    record.alive = true;
    record.parent = parent;
    record.nameAt = static_cast<std::uint32_t>(_names.size());
    record.nameLength = static_cast<std::uint8_t>(name.size());
    _names.append(name);
    record.nextSibling = _records[parent].firstChild;
    if (record.nextSibling != none) _records[record.nextSibling].previousSibling = node;
    _records[parent].firstChild = node;
    _children.insert(node);
    return node;
}

void FolderTree::remove(Node node) {
    assert(node != top && _records[node].firstChild == none && _records[node].watch < 0);
    _children.erase(node);
    Record& record = _records[node];
    if (record.previousSibling != none)
        _records[record.previousSibling].nextSibling = record.nextSibling;
    else
        _records[record.parent].firstChild = record.nextSibling;
    if (record.nextSibling != none) _records[record.nextSibling].previousSibling = record.previousSibling;
    _unusedNames += record.nameLength;
    record = Record{};
    _free.push_back(node);
    if (_unusedNames > worthCompacting && _unusedNames > _names.size() / 2) compactNames();
}

std::vector<FolderTree::Node> FolderTree::below(Node node) const {
    std::vector<Node> nodes{node};
    for (std::size_t at = 0; at < nodes.size(); ++at)
        for (Node child = _records[nodes[at]].firstChild; child != none; child = _records[child].nextSibling)
            nodes.push_back(child);
    return nodes;
}

void FolderTree::compactNames() {
    std::string names;
    names.reserve(_names.size() - _unusedNames);
    for (Record& record : _records) {
        if (!record.alive) continue;
        const std::size_t at = names.size();
        names.append(_names, record.nameAt, record.nameLength);
        record.nameAt = static_cast<std::uint32_t>(at);
    }
    _names = std::move(names);
    _unusedNames = 0;
}

} // namespace vt

// What the model asks of a tree.
#include "Model.h"

#include <algorithm>

namespace vt::model {

bool isPackage(const std::string& path) {
    return path.ends_with(".pages") || path.ends_with(".app");
}

std::string unitOf(const std::string& path) {
    for (std::size_t slash = path.find('/', 1); slash != std::string::npos; slash = path.find('/', slash + 1))
        if (isPackage(path.substr(0, slash))) return path.substr(0, slash);
    return path;
}

bool isPlainFolder(const Tree& tree, const std::string& path) {
    const auto found = tree.find(path);
    return found != tree.end() && found->second.kind == Kind::folder && !isPackage(path);
}

bool isAtOrBelow(const std::string& path, const std::string& folder) {
    return path == folder ||
           (path.size() > folder.size() && path.compare(0, folder.size(), folder) == 0 && path[folder.size()] == '/');
}

std::vector<std::string> childrenOf(const Tree& tree, const std::string& folder) {
    std::vector<std::string> children;
    const std::string below = folder + "/";
    for (auto next = tree.lower_bound(below); next != tree.end() && next->first.compare(0, below.size(), below) == 0;
         ++next)
        if (next->first.find('/', below.size()) == std::string::npos) children.push_back(next->first);
    return children;
}

std::uint64_t sizeOf(const Tree& tree, const std::string& path) {
    std::uint64_t size = 0;
    for (const auto& [other, item] : tree)
        if (item.kind == Kind::file && isAtOrBelow(other, path)) size += (item.content.size() + 511) / 512 * 512;
    return size;
}

std::int64_t newestDate(const Tree& tree, const std::string& path) {
    const Item& own = tree.at(path);
    std::optional<std::int64_t> newest;
    if (own.kind == Kind::folder)
        for (const auto& [other, item] : tree)
            if (item.kind == Kind::file && isAtOrBelow(other, path))
                newest = std::max(newest.value_or(item.date), item.date);
    return newest.value_or(own.date);
}

} // namespace vt::model

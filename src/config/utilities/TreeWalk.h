// Visits what lies below a folder, in no order that matters; a loop, because a tree may be deeper than the stack. No
// link is followed, and a folder that cannot be listed is passed over. Thread: any. Units: absolute raw-byte paths.
#pragma once

#include "base/Paths.h"
#include "platform/FileService.h"

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace vt {

enum class TreeStep : std::uint8_t { pass, enter, stop };

// `visit(folder, entry)` is asked about each entry with the folder that it lies in. True when every folder that was to
// be entered could be listed and nothing has stopped the walk.
template <typename Visit> bool walkTree(FileService& files, const std::string& top, const Visit& visit) {
    bool all = true;
    std::vector<std::string> folders{top};
    while (!folders.empty()) {
        const std::string folder = std::move(folders.back());
        folders.pop_back();
        const auto entries = files.list(folder);
        all = all && entries.ok();
        if (!entries) continue;
        for (const DirectoryEntry& entry : *entries) {
            const TreeStep step = visit(folder, entry);
            if (step == TreeStep::stop) return false;
            if (step == TreeStep::enter) folders.push_back(paths::join(folder, entry.name));
        }
    }
    return all;
}

// Every folder is entered.
template <typename Visit> bool visitTree(FileService& files, const std::string& top, const Visit& visit) {
    return walkTree(files, top, [&](const std::string& folder, const DirectoryEntry& entry) {
        visit(folder, entry);
        return entry.attributes.isDirectory() ? TreeStep::enter : TreeStep::pass;
    });
}

} // namespace vt

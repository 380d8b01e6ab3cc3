// Trees as literals: build one through any file service, and read one back for an exact comparison.
// Units: paths relative to the root, raw bytes; a folder that is only a parent needs no line of its own.
#pragma once

#include "base/Paths.h"
#include "platform/FileService.h"

#include <gtest/gtest.h>
#include <map>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

namespace vt::test {

struct TreeItem {
    std::string path;
    std::string content; // a file's bytes, a link's target
    std::optional<Date> modified;
    std::uint32_t mode = 0644;
    FileKind kind = FileKind::regular;
};

inline TreeItem file(std::string path, std::string content, std::optional<Date> modified = {},
                     std::uint32_t mode = 0644) {
    return {std::move(path), std::move(content), modified, mode, FileKind::regular};
}
inline TreeItem folder(std::string path, std::optional<Date> modified = {}, std::uint32_t mode = 0755) {
    return {std::move(path), {}, modified, mode, FileKind::directory};
}
inline TreeItem link(std::string path, std::string target, std::optional<Date> modified = {}) {
    return {std::move(path), std::move(target), modified, 0777, FileKind::link};
}

struct TreeEntry {
    FileKind kind = FileKind::other;
    std::string content;
    Date modified;
    std::uint32_t mode = 0;
    bool operator==(const TreeEntry&) const = default;
};

inline void PrintTo(const TreeEntry& entry, std::ostream* out) {
    const char* kinds[] = {"file", "folder", "link", "other"};
    *out << kinds[static_cast<std::size_t>(entry.kind)] << " \"" << entry.content.substr(0, 60) << "\" "
         << entry.modified.nanoseconds() << " " << std::oct << entry.mode << std::dec;
}

using TreeSnapshot = std::map<std::string, TreeEntry>;

inline void makeParents(FileService& files, const std::string& root, const std::string& path) {
    for (std::size_t slash = path.find('/'); slash != std::string::npos; slash = path.find('/', slash + 1))
        files.makeDirectory(root + "/" + path.substr(0, slash), 0755).ignore();
}

// Dates are set last, deepest items first, so that nothing made later changes them.
inline void buildTree(FileService& files, FileContents& contents, const std::string& root,
                      const std::vector<TreeItem>& items) {
    files.makeDirectory(root, 0755).ignore();
    for (const TreeItem& item : items) {
        const std::string path = root + "/" + item.path;
        makeParents(files, root, item.path);
        Result<void> made;
        if (item.kind == FileKind::regular) made = contents.create(path, item.content, item.mode);
        if (item.kind == FileKind::link) made = files.makeLink(path, item.content);
        if (item.kind == FileKind::directory) {
            made = files.makeDirectory(path, item.mode);
            if (made.code() == EEXIST) made = files.setMode(path, item.mode);
        }
        ASSERT_TRUE(made.ok()) << made.error().describe();
    }
    for (auto item = items.rbegin(); item != items.rend(); ++item) {
        if (!item->modified) continue;
        const Result<void> set = files.setModified(root + "/" + item->path, *item->modified);
        ASSERT_TRUE(set.ok()) << set.error().describe();
    }
}

inline TreeSnapshot snapshotTree(FileService& files, FileContents& contents, const std::string& root) {
    TreeSnapshot snapshot;
    std::vector<std::string> open{""};
    while (!open.empty()) {
        const std::string below = std::move(open.back());
        open.pop_back();
        const auto entries = files.list(root + (below.empty() ? "" : "/" + below));
        if (!entries) {
            ADD_FAILURE() << entries.error().describe();
            continue;
        }
        for (const DirectoryEntry& entry : *entries) {
            const std::string path = below.empty() ? entry.name : below + "/" + entry.name;
            TreeEntry& found = snapshot[path];
            found.kind = entry.attributes.kind;
            found.modified = entry.attributes.modified;
            found.mode = entry.attributes.mode;
            if (entry.attributes.isDirectory()) open.push_back(path);
            if (entry.attributes.isLink()) found.content = files.readLink(root + "/" + path).valueOr("?");
            if (entry.attributes.isRegular())
                found.content = contents.read(root + "/" + path, 1ULL << 30U).valueOr("?");
        }
    }
    return snapshot;
}

// The paths alone, for trees whose dates do not matter; a folder's ends in "/".
inline std::vector<std::string> pathsOf(FileService& files, FileContents& contents, const std::string& root) {
    std::vector<std::string> found;
    for (const auto& [path, entry] : snapshotTree(files, contents, root))
        found.push_back(entry.kind == FileKind::directory ? path + "/" : path);
    return found;
}

} // namespace vt::test

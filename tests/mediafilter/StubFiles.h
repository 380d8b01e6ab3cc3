// A file service that answers attributes only: what a link leads to, and the item itself where that differs. Counts the
// looks.
#pragma once

#include "platform/FileService.h"

#include <cerrno>
#include <map>
#include <string>

namespace vt {

class StubFiles final : public FileService {
  public:
    std::map<std::string, FileAttributes> items;
    std::map<std::string, FileAttributes> links; // the link itself; what it leads to stands in `items`
    int looks = 0;

    void addFolder(const std::string& path) { items[path].kind = FileKind::directory; }
    FileAttributes& addFile(const std::string& path, std::uint64_t size = 1) {
        FileAttributes& item = items[path];
        item.kind = FileKind::regular;
        item.size = size;
        item.inode = items.size();
        return item;
    }
    void addLink(const std::string& path, const FileAttributes& target) {
        items[path] = target;
        links[path].kind = FileKind::link;
        links[path].size = 10;
    }

    Result<FileAttributes> attributes(const std::string& path) override {
        ++looks;
        if (const auto link = links.find(path); link != links.end()) return link->second;
        return find(path);
    }
    Result<FileAttributes> attributesFollowing(const std::string& path) override {
        ++looks;
        return find(path);
    }
    Result<std::vector<DirectoryEntry>> list(const std::string& path) override { return refused(path); }
    Result<std::vector<std::string>> listNames(const std::string& path) override { return refused(path); }
    Result<void> makeDirectory(const std::string& path, std::uint32_t) override { return refused(path); }
    Result<void> move(const std::string& from, const std::string&, Replace) override { return refused(from); }
    Result<void> remove(const std::string& path, const RemovalQuestion&) override { return refused(path); }
    Result<void> checkWritable(const std::string& folder) override { return refused(folder); }
    Result<std::string> readLink(const std::string& path) override { return refused(path); }
    Result<void> makeLink(const std::string& path, const std::string&) override { return refused(path); }
    Result<void> setImmutable(const std::string& path, bool) override { return refused(path); }
    Result<void> setMode(const std::string& path, std::uint32_t) override { return refused(path); }
    Result<void> setModified(const std::string& path, Date) override { return refused(path); }

  private:
    [[nodiscard]] Result<FileAttributes> find(const std::string& path) const {
        const auto item = items.find(path);
        if (item == items.end()) return Error::fromErrno(ENOENT, path);
        return item->second;
    }
    [[nodiscard]] static Error refused(const std::string& path) { return Error::fromErrno(EROFS, path); }
};

} // namespace vt

// Whole files in memory. Counts the writes.
#pragma once

#include "platform/FileService.h"

#include <cerrno>
#include <map>
#include <string>

namespace vt {

class StubContents final : public FileContents {
  public:
    std::map<std::string, std::string> files;
    int writeError = 0;
    int writes = 0;

    Result<std::string> read(const std::string& path, std::uint64_t limit) override {
        const auto file = files.find(path);
        if (file == files.end()) return Error::fromErrno(ENOENT, path);
        if (file->second.size() > limit) return Error::fromErrno(EFBIG, path);
        return file->second;
    }
    Result<void> writeAtomically(const std::string& path, std::string_view bytes, std::uint32_t) override {
        if (writeError != 0) return Error::fromErrno(writeError, path);
        ++writes;
        files[path] = bytes;
        return {};
    }
    Result<void> append(const std::string& path, std::string_view) override { return refused(path); }
    Result<std::unique_ptr<Appender>> appender(const std::string& path) override { return refused(path); }
    Result<void> create(const std::string& path, std::string_view, std::uint32_t) override { return refused(path); }
    Result<void> flushVolume(const std::string&) override { return {}; }
    Result<std::unique_ptr<Lock>> lock(const std::string& path, int) override { return refused(path); }

  private:
    [[nodiscard]] static Error refused(const std::string& path) { return Error::fromErrno(EROFS, path); }
};

} // namespace vt

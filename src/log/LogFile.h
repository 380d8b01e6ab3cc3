// The log's file: pruned above its limit, made when it is missing, rewritten whole or continued at its end.
// Thread: main.
// Errors: answers yes or no; the log is never a reason for anything else to fail.
// Units: absolute paths; sizes in bytes. A symbolic link at the path is followed once for size and content.
#pragma once

#include "platform/FileService.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace vt {

class LogFile {
  public:
    static constexpr std::uint64_t sizeLimit = 3'072'000;

    LogFile(FileService& files, FileContents& contents) : _files(files), _contents(contents) {}

    [[nodiscard]] const std::string& path() const { return _path; }
    void setPath(std::string path);

    // Drops the file when it is above the limit, keeping it once as "<path>.old"; of a link the link goes and what it
    // leads to stays. True when something was dropped.
    bool pruneIfTooLarge();
    // False when the file exists; with `create`, or when it was just pruned, a missing file is made with its folders.
    bool exists(bool create);
    [[nodiscard]] std::optional<std::string> read();
    // Makes `path` hold exactly `text`. What the log's own file already holds of it is not written again, as long as
    // that file is the one written last.
    bool write(const std::string& path, std::string_view text);
    // What was written is no longer the beginning of the log.
    void forgetWritten() { _written.reset(); }

  private:
    struct Written {
        std::uint64_t device = 0;
        std::uint64_t inode = 0;
        std::uint64_t size = 0;
        std::string ending; // the last bytes, so that a changed text is not continued
    };
    [[nodiscard]] std::string followedOnce(const std::string& path);
    // A link, also by way of others, to a device or a pipe such as /dev/null: whoever may would put a file in its place
    // for everybody.
    [[nodiscard]] bool leadsToNoFile(const std::string& path, const std::string& target);
    [[nodiscard]] bool canContinue(const std::string& path, std::string_view text);
    void remember(const std::string& path, std::string_view text);

    FileService& _files;
    FileContents& _contents;
    std::string _path;
    std::optional<Written> _written;
};

} // namespace vt

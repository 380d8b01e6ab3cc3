// Remembers size and date of the computer's files that were copied to a drive, so that a replacement with an older date
// is noticed although the dates call it present. Switched off unless the person asked for it. Kept in the agent's state
// directory; docs/formats/state.md describes the file. Thread: the drive's worker. Owns: the record in memory.
// Errors: a file that cannot be read is no record; one that cannot be written is logged. Units: absolute raw-byte paths
// on the drive.
#pragma once

#include "base/Date.h"
#include "platform/FileService.h"

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>

namespace vt {

struct CopiedFile {
    std::uint64_t size = 0; // bytes
    Date modified;
};

class CopiedRecord {
  public:
    CopiedRecord(FileContents& contents, std::string target, const std::string& stateHome, std::string driveKey,
                 std::function<void(const std::string&)> logLine);

    void beginPass(bool enabled);
    // What was copied to `path`, if that is remembered. What is never asked for in a whole pass is forgotten.
    [[nodiscard]] std::optional<CopiedFile> copiedTo(const std::string& path);
    void wasCopied(const std::string& path, const FileAttributes& source);
    // At the pass's end. `committed`: what was copied stands in its place. `whole`: every sync item was walked.
    void settle(bool committed, bool whole);

  private:
    struct Remembered {
        CopiedFile file;
        bool asked = false;
    };
    void load();
    void save();
    [[nodiscard]] std::string onDrive(const std::string& path) const;

    FileContents& _contents;
    std::string _target;
    std::string _driveKey;
    std::string _path;
    std::function<void(const std::string&)> _logLine;
    bool _enabled = false;
    std::map<std::string, Remembered> _files; // by the path below the drive's root
    std::map<std::string, CopiedFile> _copiedNow;
};

} // namespace vt

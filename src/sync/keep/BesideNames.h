// Where the drive cannot exchange two items, the old content of a package waits beside it under a name of its own while
// it is replaced. A mark in a folder of the agent's own tells the next preparation to put it back, should the process
// end in between. Thread: the drive's worker. Errors: those of the file service, or false. Units: absolute raw-byte
// paths.
#pragma once

#include "platform/FileService.h"

#include <functional>
#include <string>

namespace vt {

class BesideNames {
  public:
    // `marks` is a folder of the drive that holds nothing else; it need not be there. Items lie below `target`.
    BesideNames(FileService& files, std::string target, std::string marks,
                std::function<void(const std::string&)> logLine);

    // In the item's own folder; always the same for the same name.
    [[nodiscard]] static std::string besidePath(const std::string& path);
    // The beside name, where what was at `path` lies now; an error when nothing was changed.
    [[nodiscard]] Result<std::string> stand(const std::string& path);
    // Replaced: the old content is removed, false when it could not be. Otherwise it returns to its place.
    bool settle(const std::string& beside, const std::string& path, bool replaced);
    // What an earlier run left: put back where the place is empty, removed where the new content has arrived. What
    // could be neither is tried again the next time.
    void putBack();

  private:
    [[nodiscard]] std::string markFor(const std::string& path) const;
    [[nodiscard]] bool putBackOne(const std::string& path); // false: it still waits

    FileService& _files;
    std::string _target;
    std::string _marks;
    std::function<void(const std::string&)> _logLine;
};

} // namespace vt

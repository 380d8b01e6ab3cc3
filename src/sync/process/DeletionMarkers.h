// The files by which the computers of a drive tell each other of a removal: each lists the computers that have still to
// carry it out. Thread: the drive's worker. Owns: nothing. Errors: yes or no; an unreadable marker counts as empty.
#pragma once

#include "platform/FileService.h"
#include "platform/PropertyLists.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace vt {

class DeletionMarkers {
  public:
    struct Services {
        FileService& files;
        FileContents& contents;
        PropertyLists& propertyLists;
        std::string hostUserId;
        // The drive's user list, read anew from its configuration; null when there is none.
        std::function<std::optional<std::vector<std::string>>()> configSyncUserList;
    };
    explicit DeletionMarkers(Services services) : _services(std::move(services)) {}

    // The computers named in the marker at `path`; null when it cannot be read.
    [[nodiscard]] std::optional<std::vector<std::string>> trueDeleteComputerIDsFromFile(const std::string& path);
    // Takes one computer off; a marker that names nobody any more, or cannot be read, is removed.
    void removeComputerID(const std::string& computer, const std::string& path);
    // A marker for every other user of the drive; with none, whatever is at `path` is removed.
    bool createTrueDeleteFileAtPath(const std::string& path);

  private:
    [[nodiscard]] std::optional<Value::Dictionary> read(const std::string& path);
    bool write(const std::string& path, const Value::Dictionary& marker);

    Services _services;
};

} // namespace vt

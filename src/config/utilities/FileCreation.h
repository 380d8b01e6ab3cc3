// Makes files and folders together with the folders that they stand in. Thread: any.
// Errors: a yes or no; nothing is rolled back. Units: absolute raw-byte paths; `mode` is permission bits, null for the
// default (0644 for files, 0755 for folders).
#pragma once

#include "base/LogSink.h"
#include "platform/FileService.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace vt {

// An existing file gets the new contents. Folders made on the way get the same mode, where one is given. Failing twice
// is logged.
bool createFileAtPath(FileService& files, FileContents& fileContents, LogSink& log, const std::string& path,
                      std::string_view contents, const std::uint32_t* mode, bool createPathElements,
                      bool creatingOnPushkey);

// Makes sure that a folder stands at `path`. What is there already is followed through one link, and is good only if
// it is a folder.
bool createDirectoryAtPath(FileService& files, const std::string& path, const std::uint32_t* mode, bool recurse,
                           bool creatingOnPushkey);

} // namespace vt

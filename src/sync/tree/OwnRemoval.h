// Removes what this program staged or put out of use: in the copy of a package whose folders are closed to writing, or
// of one that is locked, these are opened first. Thread: the drive's worker. Errors: those of FileService::remove().
#pragma once

#include "platform/FileService.h"

#include <string>

namespace vt {

[[nodiscard]] Result<void> removeOwn(FileService& files, const std::string& path, const RemovalQuestion& question);

} // namespace vt

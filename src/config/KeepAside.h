// Sets a file or folder of a drive aside before a step destroys it: by one rename. Only of a small file that must not
// be missing for a moment a copy is kept. Thread: the drive's. Errors: ENOENT when nothing is there; otherwise the last
// rename's, and the item stands where it was. Units: the mount point is absolute without trailing "/"; the item's path
// is relative to it; the day is a local one.
#pragma once

#include "base/Date.h"
#include "base/Result.h"
#include "platform/FileService.h"

#include <string>
#include <string_view>

namespace vt {

// To "<drive>/Archived Vantaro Backups/<YYYY-MM-DD>/<path on the drive>", with " -n" after the last component when that
// is taken; where that cannot be made, to "<name> (kept <YYYY-MM-DD>)" in its own folder. Answers the new path.
// No link of the drive is followed on the way.
[[nodiscard]] Result<std::string> keepAside(FileService& files, const std::string& mountPoint,
                                            const std::string& pathOnDrive, Date now);

// The same for the old content of `pathOnDrive` that lies at the absolute path `from` of the drive meanwhile.
[[nodiscard]] Result<std::string> keepAsideFrom(FileService& files, const std::string& mountPoint,
                                                const std::string& from, const std::string& pathOnDrive, Date now);

// A file with these bytes is kept under the name that `pathOnDrive` would get, which stays where it is.
[[nodiscard]] Result<std::string> keepCopyAside(FileService& files, FileContents& contents,
                                                const std::string& mountPoint, const std::string& pathOnDrive,
                                                std::string_view bytes, Date now);

} // namespace vt

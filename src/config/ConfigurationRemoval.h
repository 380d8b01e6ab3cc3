// The steps of conversion, removal and archiving that touch more of the drive than its configuration file.
// Thread: any. Errors: ignored, as the rules of these steps say; the work goes on with the next item.
// Units: the mount point is absolute without trailing "/".
#pragma once

#include "base/LogSink.h"
#include "platform/FileService.h"

#include <string>
#include <string_view>

namespace vt {

// Deletes every item below the mount point whose name begins with ".d$f." or ".d$d.", the marks of deleted files and
// folders. Depth first; no link is followed and no other volume entered.
void removeDeletionMarks(FileService& files, const std::string& mountPoint);

// Deletes the work folders that the old format named after `uuid`, in the home folder and on the drive. A name that
// could lead anywhere else is ignored.
void removeOldTempFolders(FileService& files, LogSink& log, const std::string& home, const std::string& mountPoint,
                          std::string_view uuid);

// The first free one of "<mount point text>Archived Vantaro Backups/<Month day, year>" and the same with " -1", " -2":
// one text behind the other without a separator, deliberately, so that it lies beside the mount point.
[[nodiscard]] std::string freeArchivePath(FileService& files, const std::string& mountPoint, Date now);

} // namespace vt

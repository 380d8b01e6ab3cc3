// The system's answer about an item, in the project's own terms. Thread: any. Errors: errno values, 0 for success.
#pragma once

#include "platform/FileService.h"

#include <sys/stat.h>

namespace vt {

// Never follows a link at `name`; an empty name asks about `directory` itself.
[[nodiscard]] int readStatus(int directory, const char* name, struct statx& status);
[[nodiscard]] FileAttributes attributesOf(const struct statx& status);
[[nodiscard]] timespec timespecOf(Date date);

} // namespace vt

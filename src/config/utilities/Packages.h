// Packages: folders that a person sees as one document. Judged by the name alone, never by what is inside.
// Thread: any.
#pragma once

#include "platform/FileService.h"

#include <string>
#include <string_view>

namespace vt {

// The last component's extension is one of the known ones, in any case.
[[nodiscard]] bool isPackageName(std::string_view name);
// The same, and a folder stands there (a link to one is none).
[[nodiscard]] bool isPackagePath(FileService& files, const std::string& path);

} // namespace vt

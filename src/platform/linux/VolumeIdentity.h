// Who a mounted volume is, as one text. Thread: any. Errors: errno values with the path.
#pragma once

#include "base/Result.h"

#include <string>

namespace vt {

// Device number, mounted-from name, file system id and the folder's own file handle (its birth time, else its inode,
// where the file system gives out no handles). Equal exactly when it is the same folder of the same mounted volume.
[[nodiscard]] Result<std::string> volumeIdentity(int folder, const std::string& path);

} // namespace vt

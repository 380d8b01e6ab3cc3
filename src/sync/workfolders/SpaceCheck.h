// Tells the person before a long copy that the drive is too small for it. Thread: the drive's worker. Units: bytes.
#pragma once

#include "platform/VolumeService.h"

#include <cstdint>
#include <functional>
#include <string>

namespace vt {

// New content is staged beside the old, so `needed` counts edited files in full. True: it fits, or nobody knows; one
// line is logged otherwise.
bool checkSpaceForStaging(VolumeService& volumes, const std::string& drive, std::uint64_t needed,
                          const std::function<void(const std::string&)>& logLine);

} // namespace vt

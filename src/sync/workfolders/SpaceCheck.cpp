#include "sync/workfolders/SpaceCheck.h"

#include "base/Paths.h"
#include "base/Text.h"

namespace vt {

bool checkSpaceForStaging(VolumeService& volumes, const std::string& drive, std::uint64_t needed,
                          const std::function<void(const std::string&)>& logLine) {
    const auto volume = volumes.statVolume(drive);
    if (!volume || needed <= volume->freeBytes) return true;
    logLine(localisedText("\"%1$@\" has %2$llu bytes free, but %3$llu bytes are to be copied.",
                          {paths::displayText(drive), volume->freeBytes, needed}));
    return false;
}

} // namespace vt

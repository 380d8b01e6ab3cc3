// The rule that decides which side of a file wins. Thread: any; pure.
#pragma once

#include "base/Date.h"

#include <cstdint>
#include <optional>

namespace vt {

enum class FileVerdict : std::uint8_t { present, toDrive, driveIsNewer };

struct FileDecision {
    FileVerdict verdict = FileVerdict::present;
    unsigned syncEntryType = 0; // with a verdict other than present
    double modDelta = 0;        // local - drive, seconds
};

// Dates decide, sizes never: both dates at or before the last sync, or equal dates, are present; otherwise the later
// side wins, without any tolerance.
[[nodiscard]] FileDecision compareFileDates(Date local, Date drive, std::optional<Date> lastSync);

} // namespace vt

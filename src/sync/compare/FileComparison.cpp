#include "sync/compare/FileComparison.h"

#include "sync/compare/ScanResults.h"

namespace vt {

FileDecision compareFileDates(Date local, Date drive, std::optional<Date> lastSync) {
    FileDecision decision;
    const bool localChanged = lastSync && local > *lastSync;
    const bool driveChanged = lastSync && drive > *lastSync;
    if ((lastSync && !localChanged && !driveChanged) || local == drive) return decision;
    decision.modDelta = local.secondsSince(drive);
    decision.verdict = local > drive ? FileVerdict::toDrive : FileVerdict::driveIsNewer;
    decision.syncEntryType = localChanged && driveChanged ? entrytype::changedOnBothSides : entrytype::changedOnOneSide;
    return decision;
}

} // namespace vt

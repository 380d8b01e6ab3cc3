#include "sync/owed/OwedPass.h"

namespace vt {

bool OwedPass::wants(const std::string& path, const FileAttributes& local, Date driveModified, bool isItsCopy) const {
    // A drive that this computer keeps no record of is taken at its dates.
    if (!_record.exists() || local.modified < driveModified) return false;
    // A package's date is that of its newest file: it says nothing of another one that was left out.
    if (local.modified == driveModified) return local.isDirectory() && _record.knownToFail(path);
    const std::int64_t difference = local.modified.nanoseconds() - driveModified.nanoseconds();
    if (isItsCopy && difference <= _granularity) return _record.owes(path);
    if (!_coveredThrough || *_coveredThrough > _now) return true;
    if (local.modified > *_coveredThrough) return true;
    if (difference > _granularity && local.statusChanged > *_coveredThrough) return true;
    return _record.owes(path);
}

} // namespace vt

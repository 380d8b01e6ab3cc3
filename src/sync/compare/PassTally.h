// What one sync left out, for the line at its end and for the record of what is owed. Thread: the drive's worker.
// Units: bytes, rounded up to multiples of 512.
#pragma once

#include "base/Paths.h"
#include "sync/owed/OwedRecord.h"

#include <cstdint>
#include <map>
#include <set>
#include <string>

namespace vt {

struct PassTally {
    std::map<std::string, OwedReason> leftOut; // paths on the computer that failed, were skipped or refused
    // Places on the drive that may be short and were not copied again, with the dates that they have there.
    std::map<std::string, Date> stillInDoubt;
    // Places on the drive below which nothing was compared, without trailing slashes.
    std::set<std::string> notLookedInto;
    std::uint64_t failedOrSkipped = 0;
    std::uint64_t filteredCount = 0;
    std::uint64_t filteredBytes = 0;
    std::uint64_t driveOnly = 0;

    void fail(const std::string& path, OwedReason reason) {
        if (leftOut.insert_or_assign(path, reason).second) ++failedOrSkipped;
    }
    void didNotLookInto(const std::string& place) { notLookedInto.insert(paths::join(place, "")); }
    void refuseName() { ++failedOrSkipped; } // what the drive cannot hold at all: no later pass can do better
    void filter(std::uint64_t bytes) {
        ++filteredCount;
        filteredBytes += bytes;
    }
};

} // namespace vt

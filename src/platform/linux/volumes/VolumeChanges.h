// From two looks at the computer's volumes to the events between them. Pure: no disk is touched. Thread: any.
#pragma once

#include "base/Value.h"

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace vt {

enum class VolumeKind : std::uint8_t { disk, network, folder };

struct VolumeState {
    VolumeKind kind = VolumeKind::disk;
    std::string mountPoint;        // empty: known, but not mounted
    std::string identity;          // another file system under the same key has another one
    bool returned = false;         // a folder drive that had gone away and is back
    Value::Dictionary description; // with the volume path while mounted
};

// By media BSD name; a share by its mount point.
using VolumeSnapshot = std::map<std::string, VolumeState>;

struct VolumeEvent {
    enum class What : std::uint8_t { appeared, disappeared, changed };
    What what = What::appeared;
    Value::Dictionary description;
};

// One event per mount: a disk appears without a path and then changes to its path; an unmount changes to no path, an
// unplug makes it disappear. A folder drive that is adopted or let go (`forgotten` names its key) only changes.
[[nodiscard]] std::vector<VolumeEvent> volumeEvents(const VolumeSnapshot& before, const VolumeSnapshot& after,
                                                    const std::set<std::string>& forgotten);
// The events of the first look: everything mounted appears with its path.
[[nodiscard]] std::vector<VolumeEvent> firstVolumeEvents(const VolumeSnapshot& snapshot);

} // namespace vt

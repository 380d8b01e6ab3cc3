// What the platform says of a disk, key by key with the type of each value, on the system log: for whoever looks for a
// fault by hand. No path of the agent calls it. Thread: main.
#pragma once

#include "base/Value.h"
#include "platform/VolumeService.h"

#include <string>

namespace vt {

// Of the disk mounted at `mountPoint`; nothing where there is none.
void dumpKeys(VolumeService& volumes, const std::string& mountPoint);
// One line: "   <key>: <value>    <type>". The mount point is a URL and the volume's UUID a UUID by their keys,
// integers are "long" up to 32 bits and "long long" up to 64.
void displayKey(const std::string& key, const Value& value);

} // namespace vt

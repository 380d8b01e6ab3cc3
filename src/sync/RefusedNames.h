// Items whose names the drive cannot hold: each is left out without a question, counted in every pass, and said in the
// log once while the drive is there. Thread: the drive's worker. Units: absolute raw-byte paths of what would be
// copied; bytes, rounded up to multiples of 512.
#pragma once

#include "base/LogSink.h"
#include "platform/VolumeService.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_set>
#include <utility>

namespace vt {

class RefusedNames {
  public:
    // `drive` may change between two passes and outlives this, as the log does. `count` is told each item's size.
    RefusedNames(const DestinationCapabilities& drive, LogSink& log, std::function<void(std::uint64_t bytes)> count)
        : _drive(drive), _log(log), _count(std::move(count)) {}

    // An item cannot stand on the drive as `names`: one name, or a path of several.
    [[nodiscard]] bool refuses(std::string_view names) const;
    void leaveOut(const std::string& path, std::uint64_t bytes);

  private:
    const DestinationCapabilities& _drive;
    LogSink& _log;
    std::function<void(std::uint64_t)> _count;
    std::unordered_set<std::size_t> _said; // hashes of the paths
};

} // namespace vt

// The time of this user's last finished sync to the drive: kept in memory, stored in the drive's configuration.
// Thread: any. Errors: a failed write leaves the new time in memory; the configuration logs why. Units: whole seconds.
#pragma once

#include "base/Date.h"
#include "config/VTConfigurationFile.h"

#include <memory>
#include <mutex>
#include <optional>

namespace vt {

class LastSyncTime {
  public:
    explicit LastSyncTime(std::shared_ptr<VTConfigurationFile> configuration)
        : _configuration(std::move(configuration)) {}

    // Read from the configuration when nothing is in memory.
    [[nodiscard]] std::optional<Date> get();
    void update(Date date); // rounded down to the second, in memory and in the file
    // Puts back what get() answered before an update; null takes the time out of the file.
    void restore(std::optional<Date> previous);

  private:
    std::shared_ptr<VTConfigurationFile> _configuration;
    std::mutex _mutex;
    std::optional<Date> _time;
};

} // namespace vt

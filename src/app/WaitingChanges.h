// Tells on the bus which folders of each drive have changed and wait for the end of the quiet period, and for how long.
// Thread: main. Units: seconds.
#pragma once

#include "app/ContinuousSync.h"
#include "platform/SessionBus.h"

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace vt {

class WaitingChanges {
  public:
    WaitingChanges(ApplicationServices& services, SyncControllerRegistry& registry, const ContinuousSync& continuous)
        : _services(services), _registry(registry), _continuous(continuous) {}

    // One dictionary for each drive that something waits for: mountPoint, folders, secondsLeft.
    [[nodiscard]] std::vector<Value::Dictionary> all() const;
    // Something may have changed: the signals follow a moment later, so that a flood of changes is told as one.
    void tellSoon();
    void dropAll() { _soon.reset(); }

  private:
    [[nodiscard]] std::map<std::string, DriveWaiting> current() const; // by mount point
    void tell();

    ApplicationServices& _services;
    SyncControllerRegistry& _registry;
    const ContinuousSync& _continuous;
    std::unique_ptr<Timer> _soon;
    std::map<std::string, DriveWaiting> _told; // by mount point, what is not over yet
};

} // namespace vt

// Calls of a controller's operation that are due later: each runs only while its controller is still registered.
// Thread: main. Owns: the timers; controllers are held weakly.
#pragma once

#include "app/SyncControllerRegistry.h"
#include "platform/RunLoop.h"

#include <functional>
#include <list>
#include <memory>

namespace vt {

class DelayedCalls {
  public:
    DelayedCalls(RunLoop& runLoop, SyncControllerRegistry& registry) : _runLoop(runLoop), _registry(registry) {}

    using Call = std::function<void(VTSyncController&)>;
    // One second later, as every delayed call of this application.
    void perform(const std::shared_ptr<VTSyncController>& controller, Call call);
    // sync: one second later; until then a cancel mark of the controller is not swept.
    void sync(const std::shared_ptr<VTSyncController>& controller);
    void dropAll() { _timers.clear(); }

  private:
    RunLoop& _runLoop;
    SyncControllerRegistry& _registry;
    std::list<std::unique_ptr<Timer>> _timers;
};

} // namespace vt

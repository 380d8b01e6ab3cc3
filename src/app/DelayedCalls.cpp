#include "app/DelayedCalls.h"

namespace vt {

namespace {
constexpr std::chrono::milliseconds delay{1'000};
}

void DelayedCalls::perform(const std::shared_ptr<VTSyncController>& controller, Call call) {
    const auto place = _timers.emplace(_timers.end());
    const std::weak_ptr<VTSyncController> weak = controller;
    *place = _runLoop.after(delay, [this, place, weak, call = std::move(call)] {
        // The timer lives until the call returns: it holds this closure.
        std::list<std::unique_ptr<Timer>> fired;
        fired.splice(fired.end(), _timers, place);
        const auto alive = weak.lock();
        if (alive && _registry.holds(alive.get())) call(*alive);
    });
}

void DelayedCalls::sync(const std::shared_ptr<VTSyncController>& controller) {
    controller->syncWasScheduled();
    perform(controller, [](VTSyncController& due) {
        due.sync();
        due.scheduledSyncEnded();
    });
}

} // namespace vt

#include "platform/linux/volumes/VolumeChanges.h"

#include "platform/VolumeService.h"

namespace vt {

namespace {

using What = VolumeEvent::What;

Value::Dictionary withoutPath(Value::Dictionary description) {
    description.erase(diskdescription::volumePath);
    return description;
}

void volumeGone(const VolumeState& state, bool wasForgotten, std::vector<VolumeEvent>& events) {
    if (state.kind == VolumeKind::network) {
        // The path tells which share it was.
        events.push_back({What::disappeared, state.description});
        return;
    }
    if (!state.mountPoint.empty()) events.push_back({What::changed, withoutPath(state.description)});
    if (!wasForgotten) events.push_back({What::disappeared, withoutPath(state.description)});
}

void volumeCame(const VolumeState& state, std::vector<VolumeEvent>& events) {
    if (state.kind == VolumeKind::network) {
        events.push_back({What::appeared, state.description});
        return;
    }
    const bool plugged = state.kind == VolumeKind::disk || state.returned;
    if (plugged) events.push_back({What::appeared, withoutPath(state.description)});
    if (!state.mountPoint.empty()) events.push_back({What::changed, state.description});
}

void volumeStayed(const VolumeState& before, const VolumeState& after, std::vector<VolumeEvent>& events) {
    if (before.mountPoint == after.mountPoint && before.identity == after.identity) return;
    if (!before.mountPoint.empty()) events.push_back({What::changed, withoutPath(before.description)});
    if (!after.mountPoint.empty()) events.push_back({What::changed, after.description});
}

} // namespace

std::vector<VolumeEvent> volumeEvents(const VolumeSnapshot& before, const VolumeSnapshot& after,
                                      const std::set<std::string>& forgotten) {
    std::vector<VolumeEvent> events;
    for (const auto& [key, state] : before) // departures first: a key or path may be taken over
        if (!after.contains(key)) volumeGone(state, forgotten.contains(key), events);
    for (const auto& [key, state] : after) {
        const auto old = before.find(key);
        if (old == before.end())
            volumeCame(state, events);
        else
            volumeStayed(old->second, state, events);
    }
    return events;
}

std::vector<VolumeEvent> firstVolumeEvents(const VolumeSnapshot& snapshot) {
    std::vector<VolumeEvent> events;
    for (const auto& [key, state] : snapshot) events.push_back({What::appeared, state.description});
    return events;
}

} // namespace vt

#include "platform/linux/copy/CopyExperience.h"

#include <algorithm>

namespace vt {

namespace {
// Device numbers are used again after an unmount, so old answers are forgotten now and then.
constexpr std::size_t mostEntries = 32;
} // namespace

DataRoad CopyExperience::road(dev_t source, dev_t destination) const {
    for (const Road& known : _roads)
        if (known.source == source && known.destination == destination) return known.road;
    return DataRoad::clone;
}

void CopyExperience::setRoad(dev_t source, dev_t destination, DataRoad road) {
    for (Road& known : _roads) {
        if (known.source != source || known.destination != destination) continue;
        known.road = road;
        return;
    }
    if (_roads.size() == mostEntries) _roads.clear();
    _roads.push_back({source, destination, road});
}

NewFileTraits& CopyExperience::traitsBeside(const std::string& destination) {
    const std::string_view folder = std::string_view(destination).substr(0, destination.rfind('/') + 1);
    if (_traits.folder != folder) {
        const NewFileTraits before = std::move(_traits);
        _traits = NewFileTraits{};
        _traits.folder = folder;
        // Until a file shows otherwise the next folder is taken to be on the same file system.
        _traits.device = before.device;
        _traits.datesByPath = before.datesByPath;
    }
    return _traits;
}

void CopyExperience::setWithoutAttributes(dev_t source) {
    _withoutAttributes = source;
    _attributesKnown = true;
}

bool CopyExperience::ownerRefused(uid_t owner, gid_t group) const {
    return std::find(_refusedOwners.begin(), _refusedOwners.end(), std::pair(owner, group)) != _refusedOwners.end();
}

char* CopyExperience::buffer() {
    // Not cleared: pages that no file fills are never touched.
    if (!_buffer) _buffer.reset(new char[bufferSize]);
    return _buffer.get();
}

} // namespace vt

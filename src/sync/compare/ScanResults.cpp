#include "sync/compare/ScanResults.h"

#include "base/Paths.h"

#include <algorithm>
#include <functional>
#include <map>
#include <utility>

namespace vt {

namespace {
constexpr std::size_t fewestSlots = 64; // a power of two, as every larger number of them
}

void ScanResults::beginPass(ScanRoots roots, NameRule rule) {
    clearScanResults();
    _entries.setRoots(std::move(roots));
    _rule = rule;
}

bool ScanResults::addEntryToScanResults(const ScanEntry& entry) {
    _entries.add(entry);
    return true;
}

std::size_t ScanResults::slotFor(const std::string& key) const {
    std::size_t slot = std::hash<std::string>{}(key) & (_slots.size() - 1);
    while (_slots[slot] != 0 && _rule.key(_entries.drivePath(_slots[slot] - 1)) != key)
        slot = (slot + 1) & (_slots.size() - 1);
    return slot;
}

void ScanResults::growSlots() {
    const std::vector<Index> before =
        std::exchange(_slots, std::vector<Index>(std::max(fewestSlots, _slots.size() * 2)));
    for (const Index taken : before)
        if (taken != 0) _slots[slotFor(_rule.key(_entries.drivePath(taken - 1)))] = taken;
}

void ScanResults::note(const std::string& key, Index index) {
    if ((_noted + 1) * 5 > _slots.size() * 4) growSlots();
    _slots[slotFor(key)] = index + 1;
    ++_noted;
}

bool ScanResults::addUnlessCovered(const ScanEntry& entry) {
    const std::string target = _rule.key(entry.drivePath);
    if (!_slots.empty() && _slots[slotFor(target)] != 0) return false;
    if (!_folders.empty())
        for (std::string above = paths::parent(target); !above.empty() && above != "/"; above = paths::parent(above))
            if (_folders.contains(above)) return false;
    if (_above.contains(target)) {
        const std::string below = target + "/";
        for (Index i = 0; i < _entries.size(); ++i)
            if (_rule.key(_entries.drivePath(i)).starts_with(below)) _entries.disable(i);
    }
    _entries.add(entry);
    note(target, static_cast<Index>(_entries.size() - 1));
    if (entry.package) _folders.insert(target);
    if (_entries.lastBeganFolder())
        for (std::string above = paths::parent(target); !above.empty() && above != "/"; above = paths::parent(above))
            if (!_above.insert(above).second) break;
    return true;
}

std::optional<ScanEntry> ScanResults::entryForDrivePath(const std::string& path) const {
    if (_slots.empty()) return std::nullopt;
    const Index taken = _slots[slotFor(_rule.key(path))];
    return taken == 0 ? std::nullopt : std::optional(_entries.at(taken - 1));
}

bool ScanResults::replaceEntryFromScanResultsForLocalPath(const std::string& localPath, const ScanEntry& entry) {
    for (Index i = 0; i < _entries.size(); ++i) {
        if (_entries.at(i).localPath != localPath) continue;
        _entries.replace(i, entry);
        return true;
    }
    return false;
}

void ScanResults::clearScanResults() {
    _entries.clear();
    _slots = {};
    _noted = 0;
    _folders = {};
    _above = {};
}

Value::Dictionary ScanResults::toValue() const {
    Value::Dictionary results;
    for (Index i = 0; i < _entries.size(); ++i) results[std::to_string(i)] = _entries.at(i).toValue();
    if (_entries.size() > 0) results["numEntries"] = static_cast<std::uint64_t>(_entries.size());
    return results;
}

ScanResults ScanResults::fromValue(const Value::Dictionary& dictionary) {
    // In ascending numeric order of the keys.
    std::map<std::uint64_t, const Value::Dictionary*> numbered;
    for (const auto& [key, value] : dictionary) {
        const bool isNumber = !key.empty() && key.size() <= 18 &&
                              std::all_of(key.begin(), key.end(), [](char c) { return c >= '0' && c <= '9'; });
        if (isNumber && value.asDictionary() != nullptr) numbered[std::stoull(key)] = value.asDictionary();
    }
    ScanResults results;
    for (const auto& [number, entry] : numbered) results.addEntryToScanResults(ScanEntry::fromValue(*entry));
    return results;
}

} // namespace vt

#include "sync/compare/ScanResults.h"

#include "base/Paths.h"
#include "config/utilities/TypedGetters.h"

#include <algorithm>
#include <map>
#include <utility>

namespace vt {

namespace {

std::string textOr(const Value::Dictionary& dictionary, const char* key) {
    const std::string* text = stringForKey(dictionary, key);
    return text != nullptr ? *text : std::string();
}

std::optional<std::int64_t> integerFor(const Value::Dictionary& dictionary, const char* key) {
    const Value* number = numberForKey(dictionary, key);
    if (number == nullptr) return std::nullopt;
    return number->integerValue();
}

} // namespace

Value::Dictionary ScanEntry::toValue() const {
    Value::Dictionary entry{{"syncActionEnabled", syncActionEnabled},
                            {"localPath", localPath},
                            {"pushkeyPath", pushkeyPath},
                            {"syncEntryType", static_cast<std::int64_t>(syncEntryType)}};
    if (localFileModDate) entry["localFileModDate"] = *localFileModDate;
    if (localFileSize) entry["localFileSize"] = *localFileSize;
    if (pushkeyFileModDate) entry["pushkeyFileModDate"] = *pushkeyFileModDate;
    if (pushkeyFileSize) entry["pushkeyFileSize"] = *pushkeyFileSize;
    if (pushkeyFileBackupDate) entry["pushkeyFileBackupDate"] = *pushkeyFileBackupDate;
    if (actionToPerform) entry["actionToPerform"] = static_cast<std::int64_t>(*actionToPerform);
    if (trueDelete) entry["trueDelete"] = *trueDelete;
    return entry;
}

ScanEntry ScanEntry::fromValue(const Value::Dictionary& dictionary) {
    ScanEntry entry;
    entry.syncActionEnabled = boolForKey(dictionary, "syncActionEnabled");
    entry.localPath = textOr(dictionary, "localPath");
    entry.pushkeyPath = textOr(dictionary, "pushkeyPath");
    entry.localFileModDate = dateForKey(dictionary, "localFileModDate");
    entry.localFileSize = integerFor(dictionary, "localFileSize");
    entry.pushkeyFileModDate = dateForKey(dictionary, "pushkeyFileModDate");
    entry.pushkeyFileSize = integerFor(dictionary, "pushkeyFileSize");
    entry.pushkeyFileBackupDate = dateForKey(dictionary, "pushkeyFileBackupDate");
    entry.syncEntryType = static_cast<unsigned>(integerFor(dictionary, "syncEntryType").value_or(0));
    if (const auto action = integerFor(dictionary, "actionToPerform"))
        entry.actionToPerform = static_cast<unsigned>(*action);
    if (const std::string* marker = stringForKey(dictionary, "trueDelete")) entry.trueDelete = *marker;
    return entry;
}

bool ScanResults::addEntryToScanResults(ScanEntry entry) {
    _entries.push_back(std::move(entry));
    return true;
}

bool ScanResults::addUnlessCovered(ScanEntry entry, const NameRule& rule) {
    const std::string target = rule.key(entry.drivePath);
    for (std::string above = target;; above = paths::parent(above)) {
        if (_targets.contains(above)) return false;
        if (above.empty() || above == "/") break;
    }
    const std::string below = target + "/";
    const auto inner = _targets.lower_bound(below);
    if (inner != _targets.end() && inner->starts_with(below))
        for (ScanEntry& other : _entries)
            if (rule.key(other.drivePath).starts_with(below)) other.syncActionEnabled = false;
    _targets.insert(target);
    return addEntryToScanResults(std::move(entry));
}

bool ScanResults::replaceEntryFromScanResultsForLocalPath(const std::string& localPath, ScanEntry entry) {
    const auto found = std::find_if(_entries.begin(), _entries.end(),
                                    [&](const ScanEntry& other) { return other.localPath == localPath; });
    if (found == _entries.end()) return false;
    *found = std::move(entry);
    return true;
}

void ScanResults::clearScanResults() {
    _entries.clear();
    _entries.shrink_to_fit();
    _targets.clear();
}

Value::Dictionary ScanResults::toValue() const {
    Value::Dictionary results;
    for (std::size_t i = 0; i < _entries.size(); ++i) results[std::to_string(i)] = _entries[i].toValue();
    if (!_entries.empty()) results["numEntries"] = static_cast<std::uint64_t>(_entries.size());
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

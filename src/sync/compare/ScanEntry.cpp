#include "sync/compare/ScanEntry.h"

#include "config/utilities/TypedGetters.h"

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

} // namespace vt

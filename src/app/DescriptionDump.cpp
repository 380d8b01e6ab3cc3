#include "app/DescriptionDump.h"

#include "base/LogSink.h"
#include "base/Text.h"

#include <limits>

namespace vt {

namespace {

constexpr int wideInteger = 17; // the number type of integers that need more than 64 bits with their sign

std::string integerTag(const Value& value) {
    const std::int64_t number = value.integerValue();
    if (number >= 0 && value.unsignedValue() != static_cast<std::uint64_t>(number))
        return formatText("<CFNumber type=%ld>", {wideInteger});
    using Narrow = std::numeric_limits<std::int32_t>;
    return number < Narrow::min() || number > Narrow::max() ? "<CFNumber (long long)>" : "<CFNumber (long)>";
}

std::string stringTag(const std::string& key) {
    if (key == diskdescription::volumePath) return "<CFURL>";
    return key == diskdescription::volumeUuid ? "<CFUUID>" : "<CFString>";
}

std::string tagOf(const std::string& key, const Value& value) {
    if (value.isBool()) return "<CFBoolean>";
    if (value.asData() != nullptr) return "<CFData>";
    if (value.asDictionary() != nullptr) return "<CFDictionary>";
    if (std::holds_alternative<double>(value.storage())) return "<CFNumber (float)>";
    if (value.isNumber()) return integerTag(value);
    if (value.asString() != nullptr) return stringTag(key);
    return formatText("<CFType %ld>", {value.storage().index()});
}

} // namespace

void displayKey(const std::string& key, const Value& value) {
    systemLog(formatText("   %@: %@    %@", {key, value, tagOf(key, value)}));
}

void dumpKeys(VolumeService& volumes, const std::string& mountPoint) {
    const auto description = volumes.describe(mountPoint);
    if (!description) return;
    for (const auto& [key, value] : *description) displayKey(key, value);
}

} // namespace vt

#include "config/FSNamesAndTags.h"

#include "base/LogSink.h"
#include "base/Text.h"

#include <exception>
#include <utility>

namespace vt {
namespace {

constexpr const char* ntfs3g = "NTFS-3G";

std::string unknownName() {
    const std::string key = "unknown FS";
    const std::string text = localised(key);
    return text == key ? "Unknown File System" : text;
}

bool isFormattable(const std::map<std::string, FileSystemPersonality>& lookup, const std::string& key) {
    const auto found = lookup.find(key);
    return found != lookup.end() && found->second.canFormat;
}

} // namespace

FSNamesAndTags::FSNamesAndTags(FileSystemTable& table) : _table(table) {
    try {
        scanFSDir();
    } catch (const std::exception& failure) {
        systemLog(formatText("exeception within FAT32FormatName sharedManager Exception: %@ Reason: %@",
                             {"std::exception", failure.what()}));
    }
}

void FSNamesAndTags::scanFSDir() {
    for (auto& bundle : _table.bundles()) {
        systemLog(formatText("scanFSDir examining file system at %@", {bundle.path}));
        if (!bundle.personalities) {
            systemLog(formatText("scanFSDir missing personalities at %@", {bundle.infoPath}));
            continue;
        }
        systemLog(formatText("scanFSDir found personalities for key %@", {bundle.path}));
        for (auto& personality : *bundle.personalities) addPersonality(std::move(personality));
    }
}

void FSNamesAndTags::addPersonality(FileSystemPersonality personality) {
    if (!personality.name) return;
    if (personality.personality == ntfs3g && personality.canFormat && ntfs3gIsDisabled()) personality.canFormat = false;
    const std::string key = personality.personality;
    if (personality.contentHint) {
        systemLog(formatText("scanFSDir setting dictionary entries for key %@", {key}));
        _nameLookup[*personality.name] = personality;
        _tagLookup[*personality.contentHint] = personality;
    }
    _personalityLookup[key] = std::move(personality);
}

// Only the text "1" disables it; a number or a yes does not.
bool FSNamesAndTags::ntfs3gIsDisabled() const {
    const auto setting = _table.ntfsDriverDisabled();
    const auto* text = setting ? setting->asString() : nullptr;
    return text != nullptr && *text == "1";
}

std::string FSNamesAndTags::userFSNameForPersonality(const std::string& personality) const {
    const auto found = _personalityLookup.find(personality);
    if (found != _personalityLookup.end()) return *found->second.name;
    systemLog(formatText("userFSNameForPersonality failed lookup for key %@", {personality}));
    return unknownName();
}

std::string FSNamesAndTags::userFSNameForContentHint(const std::string& contentHint) const {
    const auto found = _tagLookup.find(contentHint);
    if (found != _tagLookup.end()) return *found->second.name;
    systemLog(formatText("userFSNameForContentHint failed lookup for key %@", {contentHint}));
    return unknownName();
}

bool FSNamesAndTags::personalityIsFormattable(const std::string& personality) const {
    return isFormattable(_personalityLookup, personality);
}

bool FSNamesAndTags::contentHintIsFormattable(const std::string& contentHint) const {
    return isFormattable(_tagLookup, contentHint);
}

std::optional<std::string> FSNamesAndTags::ntfsFormatterName() const {
    std::optional<std::string> best;
    for (const auto& [name, personality] : _personalityLookup) {
        if (!name.starts_with("NTFS") && !name.ends_with("NTFS")) continue;
        if (name == ntfs3g && ntfs3gIsDisabled()) continue;
        if (personality.canFormat && (!best || name.size() < best->size())) best = name;
    }
    return best;
}

std::string FSNamesAndTags::fat32FormatterName() const {
    return "MS-DOS FAT32";
}

std::string FSNamesAndTags::preferredFormatterName() const {
    return ntfsFormatterName().value_or(fat32FormatterName());
}

std::string FSNamesAndTags::preferredFormatterUserName() const {
    return preferredFormatterName();
}

bool FSNamesAndTags::useFAT32Formatter() const {
    return preferredFormatterName() == fat32FormatterName();
}

std::string FSNamesAndTags::outputVolumeName() const {
    return "Theater";
}

} // namespace vt

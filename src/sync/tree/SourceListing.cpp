#include "sync/tree/SourceListing.h"

#include "base/Paths.h"
#include "base/Text.h"

#include <algorithm>

namespace vt {

std::optional<std::vector<DirectoryEntry>> SourceListing::list(const std::string& folder) {
    auto entries = _services.files.list(folder);
    if (entries) return std::move(*entries);
    _services.log.logMessage(
        localisedText("Unable to list \"%1$@\" - %2$@.", {paths::displayText(folder), entries.error().text}));
    _calls.pathFailed(folder, false);
    return std::nullopt;
}

std::optional<std::vector<DirectoryEntry>> SourceListing::listFailuresLast(const std::string& folder) {
    auto entries = list(folder);
    if (!entries) return entries;
    std::stable_partition(entries->begin(), entries->end(), [&](const DirectoryEntry& entry) {
        if (entry.attributes.isLink()) return false;
        return !_services.failedBefore || !_services.failedBefore(paths::join(folder, entry.name));
    });
    return entries;
}

std::optional<SourceListing::Acceptable> SourceListing::firstAcceptable(const std::string& folder,
                                                                        const std::vector<DirectoryEntry>& entries) {
    for (std::size_t i = 0; i < entries.size(); ++i) {
        const auto& [name, attributes] = entries[i];
        if (_questions.isClosed(attributes)) continue;
        const std::string path = paths::join(folder, name);
        if (_questions.accepts(path, name, attributes, false)) return Acceptable{i, true};
        if (attributes.isDirectory() && anyAcceptableBelow(path)) return Acceptable{i, false};
    }
    return std::nullopt;
}

bool SourceListing::anyAcceptableBelow(const std::string& folder) {
    std::vector<std::string> folders{folder};
    while (!folders.empty()) {
        const std::string current = std::move(folders.back());
        folders.pop_back();
        const auto entries = _services.files.list(current);
        if (!entries) continue;
        for (const auto& [name, attributes] : *entries) {
            if (_questions.isClosed(attributes)) continue;
            const std::string path = paths::join(current, name);
            if (_questions.accepts(path, name, attributes, false)) return true;
            if (attributes.isDirectory()) folders.push_back(path);
        }
    }
    return false;
}

} // namespace vt

#include "sync/tree/SourceListing.h"

#include "base/Paths.h"
#include "base/Text.h"
#include "config/utilities/TreeWalk.h"

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
    bool found = false;
    walkTree(_services.files, folder, [&](const std::string& current, const DirectoryEntry& entry) {
        if (_questions.isClosed(entry.attributes)) return TreeStep::pass;
        found = _questions.accepts(paths::join(current, entry.name), entry.name, entry.attributes, false);
        if (found) return TreeStep::stop;
        return entry.attributes.isDirectory() ? TreeStep::enter : TreeStep::pass;
    });
    return found;
}

} // namespace vt

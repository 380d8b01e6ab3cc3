#include "config/SyncItems.h"

#include "base/Text.h"

#include <algorithm>

namespace vt {
namespace {

bool isHomeRelative(std::string_view item) {
    return item == "~" || item.substr(0, 2) == "~/";
}

} // namespace

std::optional<std::string> normaliseSyncItem(std::string_view item, const HomePaths& home) {
    if (item.empty() || item.find('\0') != std::string_view::npos || !paths::isValidUtf8(item)) return std::nullopt;
    if (isHomeRelative(item)) {
        const std::string tidy = home.abbreviate(home.standardise(item));
        return tidy == "~" ? "~/" : tidy;
    }
    // An absolute item keeps its own form, below the home folder too.
    std::string tidy = paths::clean(item);
    const auto parts = paths::components(tidy);
    if (parts.empty() || std::find(parts.begin(), parts.end(), "..") != parts.end()) return std::nullopt;
    return tidy;
}

std::string refusedSyncItemText(std::string_view item) {
    return localisedText("The sync item \"%@\" was left out: it is not a usable path.", {paths::displayText(item)});
}

SyncItems normaliseSyncItems(const std::vector<std::string>& items, const HomePaths& home) {
    SyncItems result;
    for (const auto& item : items) {
        if (auto tidy = normaliseSyncItem(item, home))
            result.items.push_back(std::move(*tidy));
        else
            result.refused.push_back(item);
    }
    return result;
}

} // namespace vt

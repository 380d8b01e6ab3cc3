#include "config/SyncItems.h"

#include "base/Text.h"

#include <algorithm>

namespace vt {
namespace {

bool isHomeRelative(std::string_view item) {
    return item == "~" || item.substr(0, 2) == "~/";
}

// The drive's configuration is XML, which other programs read too: one character that XML cannot hold, and to them the
// whole file is corrupt.
bool fitsIntoXml(std::string_view text) {
    const bool controls = std::any_of(text.begin(), text.end(), [](char c) {
        return static_cast<unsigned char>(c) < 0x20 && c != '\t' && c != '\n' && c != '\r';
    });
    return !controls && paths::isValidUtf8(text) && text.find("\xef\xbf\xbe") == std::string_view::npos &&
           text.find("\xef\xbf\xbf") == std::string_view::npos;
}

} // namespace

std::optional<std::string> normaliseSyncItem(std::string_view item, const HomePaths& home) {
    if (item.empty() || !fitsIntoXml(item)) return std::nullopt;
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

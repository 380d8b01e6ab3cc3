#include "sync/compare/ItemChoice.h"

#include <algorithm>

namespace vt {

std::vector<ChosenItem> chooseAllItems(const std::vector<std::string>& syncItems) {
    std::vector<ChosenItem> chosen;
    for (const std::string& item : syncItems) chosen.push_back({item, item});
    return chosen;
}

std::vector<ChosenItem> chooseChangedItems(std::vector<std::string> changedPaths,
                                           const std::vector<std::string>& syncItems, const HomePaths& home) {
    std::sort(changedPaths.begin(), changedPaths.end());
    std::vector<std::string> kept;
    for (std::string& path : changedPaths)
        if (kept.empty() || !path.starts_with(kept.back())) kept.push_back(std::move(path));

    std::vector<ChosenItem> chosen;
    for (const std::string& path : kept) {
        const std::string abbreviated = home.abbreviate(path);
        const auto item = std::find_if(syncItems.begin(), syncItems.end(), [&](const std::string& candidate) {
            // A list item "~/" is the home folder itself, whose own change is reported as "~".
            const std::string shortForm = home.abbreviate(candidate);
            return abbreviated.starts_with(shortForm) || (shortForm == "~/" && abbreviated == "~");
        });
        if (item != syncItems.end()) chosen.push_back({abbreviated == "~" ? "~/" : abbreviated, *item});
    }
    return chosen;
}

} // namespace vt

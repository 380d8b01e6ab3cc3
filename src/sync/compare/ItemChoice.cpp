#include "sync/compare/ItemChoice.h"

#include <algorithm>

namespace vt {

namespace {

// A path, and those behind it in order that begin with its text.
struct PrefixRun {
    std::string kept;
    std::vector<std::string> leftOut; // each once
};

std::vector<PrefixRun> prefixRuns(std::vector<std::string> changedPaths) {
    std::sort(changedPaths.begin(), changedPaths.end());
    changedPaths.erase(std::unique(changedPaths.begin(), changedPaths.end()), changedPaths.end());
    std::vector<PrefixRun> runs;
    for (std::string& path : changedPaths) {
        if (runs.empty() || !path.starts_with(runs.back().kept))
            runs.push_back({std::move(path), {}});
        else
            runs.back().leftOut.push_back(std::move(path));
    }
    return runs;
}

// The item that the path lies in, the innermost of several: what is remembered of the path is remembered for that one.
// Failing that, the first whose text it begins with. Null when there is none.
const std::string* itemOf(const std::string& path, const std::vector<std::string>& syncItems, const HomePaths& home) {
    const std::string* byText = nullptr;
    const std::string* innermost = nullptr;
    std::size_t depth = 0;
    for (const std::string& item : syncItems) {
        // A list item "~/" is the home folder itself, whose own change is reported as "~".
        const std::string shortForm = home.abbreviate(item);
        if (!path.starts_with(shortForm) && !(shortForm == "~/" && path == "~")) continue;
        if (byText == nullptr) byText = &item;
        const std::string place = home.expandTilde(shortForm);
        if (!paths::isAtOrBelow(home.expandTilde(path), paths::clean(place)) || place.size() < depth) continue;
        innermost = &item;
        depth = place.size();
    }
    return innermost != nullptr ? innermost : byText;
}

} // namespace

std::vector<ChosenItem> chooseAllItems(const std::vector<std::string>& syncItems) {
    std::vector<ChosenItem> chosen;
    for (const std::string& item : syncItems) chosen.push_back({item, item});
    return chosen;
}

std::vector<std::string> neighboursLeftOut(std::vector<std::string> changedPaths) {
    std::vector<std::string> neighbours;
    for (const PrefixRun& run : prefixRuns(std::move(changedPaths)))
        for (const std::string& path : run.leftOut)
            if (!paths::isAtOrBelow(path, run.kept)) neighbours.push_back(path);
    return neighbours;
}

std::vector<ChosenItem> chooseChangedItems(std::vector<std::string> changedPaths,
                                           const std::vector<std::string>& syncItems, const HomePaths& home) {
    std::vector<ChosenItem> chosen;
    for (const PrefixRun& run : prefixRuns(std::move(changedPaths))) {
        const std::string path = home.abbreviate(run.kept);
        if (const std::string* const item = itemOf(path, syncItems, home)) {
            chosen.push_back({path == "~" ? "~/" : path, *item});
            continue;
        }
        std::vector<std::string> below;
        for (const std::string& left : run.leftOut)
            if (paths::isAtOrBelow(left, run.kept)) below.push_back(left);
        if (below.empty()) continue;
        const auto more = chooseChangedItems(std::move(below), syncItems, home);
        chosen.insert(chosen.end(), more.begin(), more.end());
    }
    return chosen;
}

} // namespace vt

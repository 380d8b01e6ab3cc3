#include "sync/compare/ItemChoice.h"

#include <algorithm>

namespace vt {

namespace {

void sortEachOnce(std::vector<std::string>& paths) {
    std::sort(paths.begin(), paths.end());
    paths.erase(std::unique(paths.begin(), paths.end()), paths.end());
}

// The way down through sorted paths: those that the next one begins with, each below the one before it.
class WayDown {
  public:
    enum class Place { apart, below, beside };
    // Where `path` stands to the last of those that it begins with; beside it is what only begins alike.
    Place placeOf(const std::string& path) {
        while (!_way.empty() && !path.starts_with(*_way.back())) _way.pop_back();
        if (_way.empty()) return Place::apart;
        return paths::isAtOrBelow(path, *_way.back()) ? Place::below : Place::beside;
    }
    void add(const std::string& path) { _way.push_back(&path); }

  private:
    std::vector<const std::string*> _way; // the caller's
};

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
    sortEachOnce(changedPaths);
    std::vector<std::string> neighbours;
    WayDown way;
    for (const std::string& path : changedPaths) {
        if (way.placeOf(path) == WayDown::Place::beside)
            neighbours.push_back(path);
        else
            way.add(path);
    }
    return neighbours;
}

std::vector<ChosenItem> chooseChangedItems(std::vector<std::string> changedPaths,
                                           const std::vector<std::string>& syncItems, const HomePaths& home) {
    sortEachOnce(changedPaths);
    std::vector<ChosenItem> chosen;
    const std::string* kept = nullptr; // the last one chosen
    WayDown passed;                    // what lies in no item
    for (const std::string& changed : changedPaths) {
        if (kept != nullptr && changed.starts_with(*kept)) continue;
        if (passed.placeOf(changed) == WayDown::Place::beside) continue;
        const std::string path = home.abbreviate(changed);
        if (const std::string* const item = itemOf(path, syncItems, home)) {
            chosen.push_back({path == "~" ? "~/" : path, *item});
            kept = &changed;
        } else {
            passed.add(changed);
        }
    }
    return chosen;
}

} // namespace vt

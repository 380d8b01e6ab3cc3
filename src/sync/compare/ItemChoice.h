// Which items a pass compares. Thread: any; pure. Units: sync items and paths, abbreviated with "~" in the home folder.
#pragma once

#include "base/Paths.h"

#include <string>
#include <vector>

namespace vt {

struct ChosenItem {
    std::string path; // what is compared
    std::string item; // the sync item that it belongs to
};

// A full sync: every sync item. A sync item that cannot stand in a property list is left out by the caller.
[[nodiscard]] std::vector<ChosenItem> chooseAllItems(const std::vector<std::string>& syncItems);
// A continuous sync: the changed paths that lie in a sync item, without those that begin with one before them. Both
// tests are plain text prefixes, so behind "/A/B" a path "/A/BC" is left out too. One that lies in no sync item, as
// another drive's may, leaves out nothing below it.
[[nodiscard]] std::vector<ChosenItem> chooseChangedItems(std::vector<std::string> changedPaths,
                                                         const std::vector<std::string>& syncItems,
                                                         const HomePaths& home);
// The changed paths that begin with one before them and do not lie below it: whichever of them a drive keeps, a sync of
// `changedPaths` may not look at these. Sorted, each once. The first of the changed paths is never one of them, so
// asking again and again with nothing but the answer comes to an end.
[[nodiscard]] std::vector<std::string> neighboursLeftOut(std::vector<std::string> changedPaths);

} // namespace vt

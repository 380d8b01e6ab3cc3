// Brings sync items into the one form in which they are kept and compared. Thread: any; pure.
// Units: paths on the computer as UTF-8, those in the home folder with "~".
#pragma once

#include "base/Paths.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vt {

// "~" reads as "~/", any other trailing "/" goes, the path is standardised without following a link. Null for an item
// that no list can hold: empty, not UTF-8, with a character that XML cannot hold (control characters but tab and line
// ends, U+FFFE, U+FFFF), or still with a ".." component.
[[nodiscard]] std::optional<std::string> normaliseSyncItem(std::string_view item, const HomePaths& home);

struct SyncItems {
    std::vector<std::string> items;   // in the order given
    std::vector<std::string> refused; // as they were given
};
// The log line about an item that was refused.
[[nodiscard]] std::string refusedSyncItemText(std::string_view item);
[[nodiscard]] SyncItems normaliseSyncItems(const std::vector<std::string>& items, const HomePaths& home);

} // namespace vt

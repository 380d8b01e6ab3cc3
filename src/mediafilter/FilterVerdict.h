// The filter's answer about one item and how it came about.
// Thread: a plain value. The validators that it names live for the whole run.
#pragma once

#include "mediafilter/VTContainerValidator.h"
#include "platform/FileService.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace vt {

enum class FilterReason : std::uint8_t {
    workName,     // one of the agent's own temporary names
    excludedName, // of the exclusion tables
    excludedPath,
    folder,    // accepted: a folder that is no package
    noLists,   // there are no container validators
    noPattern, // no pattern matches the name
    refused,   // a pattern matches, and none accepts
    tooLarge,  // accepted but for the limit of 4 GiB
    accepted,  // by a container validator
};

[[nodiscard]] constexpr bool accepts(FilterReason reason) {
    return reason == FilterReason::folder || reason == FilterReason::accepted;
}

// A container validator whose pattern matches the item's name, with its answer.
struct FilterTrial {
    const VTContainerValidator* validator = nullptr;
    VTContainerValidator::Match match;
    bool tooLarge = false; // it accepts, and the limit forbids it
};

struct FilterVerdict {
    FilterReason reason = FilterReason::noLists;
    std::string path;                   // standardised
    std::optional<FileAttributes> item; // after following a link; null when it leads nowhere
    std::vector<FilterTrial> trials;    // in the order in which they were asked, the accepting one last
};

} // namespace vt

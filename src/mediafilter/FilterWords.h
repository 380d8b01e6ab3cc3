// What the filter says about one item, for people. Thread: any.
#pragma once

#include "mediafilter/FilterVerdict.h"
#include "mediafilter/MediaFileCharacterization.h"

#include <optional>
#include <string>
#include <vector>

namespace vt::filterwords {

// "29.97", "30": at most three decimals, none that are zero.
[[nodiscard]] std::string number(double value);

// One word or two that stay the same: "work name", "excluded name", "excluded path", "folder", "no lists",
// "no pattern", "refused", "too large"; for what a container validator accepts "name", "content" or "library".
[[nodiscard]] std::string keyOf(const FilterVerdict& verdict);

// "accepted", "refused", "declined" (every codec validator found that the file is not of its kind) or "too large".
[[nodiscard]] std::string answerOf(const FilterTrial& trial);

// The codec validators that were asked, in their order: the last one decided, if one did.
struct Asked {
    std::string name;
    std::string answer; // as above
    std::string reason;
};
[[nodiscard]] std::vector<Asked> askedIn(const FilterTrial& trial, const MediaFileCharacterization& record);

// Why the verdict is as it is, in one clause. `record`: null when nobody looked inside.
[[nodiscard]] std::string sentence(const FilterVerdict& verdict,
                                   const std::optional<MediaFileCharacterization>& record);

} // namespace vt::filterwords

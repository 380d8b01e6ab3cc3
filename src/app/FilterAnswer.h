// An explanation of the media filter as the bus carries it. Thread: any; questionFor() on the main thread.
#pragma once

#include "base/Paths.h"
#include "base/Result.h"
#include "base/Value.h"
#include "mediafilter/FilterVerdict.h"
#include "mediafilter/MediaClasses.h"
#include "platform/MediaProbe.h"

#include <optional>
#include <string>
#include <vector>

namespace vt {

class VTSyncController;

// The drive's settings, as they count for one file.
struct FilterQuestion {
    struct List {
        MediaKind kind = MediaKind::movies;
        bool enabled = false;
        const ContainerValidatorList* validators = nullptr; // of the class, enabled or not
    };
    std::int32_t deviceFilter = 0;
    VTMediaClass mediaClass = VTMediaClass::unlimited;
    std::vector<List> lists;
    std::vector<std::string> syncList; // absolute
};
[[nodiscard]] FilterQuestion questionFor(VTSyncController& controller, const HomePaths& homePaths);

struct FilterAnswer {
    FilterVerdict verdict;
    std::optional<MediaFileCharacterization> record;        // null: nobody looked inside
    Result<MediaDescription> contents = MediaDescription{}; // an error where the record is not valid
};

// `accepted`, `reason`, `explanation`, `path`, `kind`, `size`, `listed`, `deviceFilter`, `deviceClass`, `examined`,
// `patterns` and, where it was looked inside, `movie` with either `problem` or `duration` and `tracks`.
[[nodiscard]] Value::Dictionary answerDictionary(const FilterQuestion& question, const FilterAnswer& answer);
// What went wrong before there was a verdict, as the bus tells it.
[[nodiscard]] Error lookError(Error error);

} // namespace vt

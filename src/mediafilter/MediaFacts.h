// What a container validator may ask about the file that it judges, beyond the file's name.
// Thread: the worker that judges. Errors: what cannot be found out reads as a record that is not valid, or as null.
#pragma once

#include "mediafilter/MediaFileCharacterization.h"

#include <cstdint>
#include <optional>
#include <string>

namespace vt {

class MediaFacts {
  public:
    virtual ~MediaFacts() = default;
    [[nodiscard]] virtual MediaFileCharacterization characterization(const std::string& path,
                                                                     std::int32_t containerType) = 0;
    // Where Photo Booth keeps its pictures; null when it is not set.
    [[nodiscard]] virtual std::optional<std::string> photoBoothLibrary() = 0;
};

// Where nothing can be found out: no file is valid and no library is set.
class NoMediaFacts final : public MediaFacts {
  public:
    [[nodiscard]] MediaFileCharacterization characterization(const std::string&, std::int32_t containerType) override {
        MediaFileCharacterization record;
        record.containerType = containerType;
        return record;
    }
    [[nodiscard]] std::optional<std::string> photoBoothLibrary() override { return std::nullopt; }
};

} // namespace vt

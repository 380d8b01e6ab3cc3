// Reduces what a container tells about its tracks to the record that codec validators ask.
// Thread: main. Errors: unknown format codes become 0 with a line in the system log.
#pragma once

#include "mediafilter/MediaFileCharacterization.h"
#include "platform/MediaProbe.h"

#include <cstdint>

namespace vt {

[[nodiscard]] MediaFileCharacterization characterizationOf(const MediaDescription& movie, std::int32_t containerType);

} // namespace vt

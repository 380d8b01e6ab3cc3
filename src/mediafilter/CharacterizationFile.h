// The bytes of the characterisation cache: "VTMC", a version, a count, the records and a checksum over all of it, every
// number little-endian. A record is its key and only the audio entries that are filled.
// Thread: any. Errors: bytes that are not exactly such a file read as null.
#pragma once

#include "mediafilter/CharacterizationCache.h"

#include <list>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace vt::characterizationfile {

using Entry = std::pair<CharacterizationKey, MediaFileCharacterization>;

[[nodiscard]] std::string encode(const std::list<Entry>& entries);
[[nodiscard]] std::optional<std::list<Entry>> decode(std::string_view bytes);

} // namespace vt::characterizationfile

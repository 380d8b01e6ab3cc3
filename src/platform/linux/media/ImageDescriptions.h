// What a movie file's index says of the pictures of each track: the first sample description, which the demuxer
// replaces by a later one, or by what a decoder finds in the content.
// Thread: any. Errors: what is damaged or out of reach is left out.
#pragma once

#include "base/FourCharCode.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

namespace vt {

struct ImageDescription {
    std::int64_t track = 0; // its number in the file
    FourCharCode format;
    std::int64_t width = 0; // pixels
    std::int64_t height = 0;
};

// Fills `to` with exactly so many bytes of the file; false where they are not there.
using ReadBytes = std::function<bool(std::uint64_t offset, std::uint8_t* to, std::size_t length)>;

// One for each track that has a description, in the file's order; those of sound and text tracks say nothing of use.
// `size`: of the file.
[[nodiscard]] std::vector<ImageDescription> imageDescriptions(const ReadBytes& read, std::uint64_t size);

} // namespace vt

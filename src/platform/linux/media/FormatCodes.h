// The four-character format code of a stream: the container's own tag where it has one, else the code that stands for
// its codec.
// Thread: any.
#pragma once

#include "base/FourCharCode.h"

#include <optional>
#include <string_view>

struct AVCodecParameters;

namespace vt {

// `container` is the demuxer's name. Null: the stream has no sample description.
[[nodiscard]] std::optional<FourCharCode> formatCode(const AVCodecParameters& stream, std::string_view container);

// Of a sample description's type in a movie file: the usual code for a format that has two.
[[nodiscard]] FourCharCode movieFormatCode(FourCharCode code);

} // namespace vt

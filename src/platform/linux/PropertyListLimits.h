// What a property list may ask for before it is refused. Units: bytes, levels, values.
#pragma once

#include "base/Result.h"

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <string>

namespace vt::propertylist {

inline constexpr std::size_t mostBytes = std::size_t{64} << 20U;
inline constexpr std::size_t deepest = 512;                       // values inside values
inline constexpr std::uint64_t mostValues = 16'000'000;           // a binary list may name one value many times
inline constexpr std::uint64_t mostExpandedBytes = 512ULL << 20U; // likewise
inline constexpr std::uint64_t mostEntityWork = 1ULL << 30U;      // entities of a text times its length, summed

inline Error refuse(std::string text) {
    return {EINVAL, Disposition::skipItem, "", "property list: " + std::move(text)};
}

} // namespace vt::propertylist

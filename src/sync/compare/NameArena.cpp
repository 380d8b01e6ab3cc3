#include "sync/compare/NameArena.h"

#include <cstring>

namespace vt {

// A name's place is its block's number times the block size plus its place in the block.
std::uint32_t NameArena::add(std::string_view name) {
    const std::uint32_t length = lengthOf(name);
    if (_blocks.empty() || _used + length > blockSize) {
        _blocks.push_back(std::make_unique_for_overwrite<char[]>(blockSize));
        _used = 0;
    }
    std::memcpy(_blocks.back().get() + _used, name.data(), length);
    const std::uint32_t place = static_cast<std::uint32_t>(_blocks.size() - 1) * blockSize + _used;
    _used += length;
    return place;
}

} // namespace vt

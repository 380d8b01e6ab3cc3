// Names by the hundred thousand, one behind the other in blocks: a name costs its bytes and nothing more.
// Thread: any, one at a time. Owns: the bytes; a name stays where it is until clear().
#pragma once

#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

namespace vt {

class NameArena {
  public:
    // No name is longer than a block; what would be longer is cut.
    static constexpr std::uint32_t blockSize = 1U << 16U;

    // Where the name is kept; at() needs its length too.
    [[nodiscard]] std::uint32_t add(std::string_view name);
    [[nodiscard]] static std::uint16_t lengthOf(std::string_view name) {
        return static_cast<std::uint16_t>(name.size() < blockSize ? name.size() : blockSize - 1);
    }
    [[nodiscard]] std::string_view at(std::uint32_t place, std::uint16_t length) const {
        return {_blocks[place / blockSize].get() + place % blockSize, length};
    }
    void clear() {
        _blocks.clear();
        _used = 0;
    }

  private:
    std::vector<std::unique_ptr<char[]>> _blocks;
    std::uint32_t _used = 0; // of the last block
};

} // namespace vt

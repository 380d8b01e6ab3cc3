// Which validators of a list may match a name, in the list's order, found by the name's extension instead of trying
// every pattern.
// Thread: built by its owner, then any. Owns: positions only.
#pragma once

#include "mediafilter/VTFileValidator.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace vt {

class NameIndex {
  public:
    explicit NameIndex(const ContainerValidatorList& validators);
    // Positions in the list, rising. Holds every validator that matches the name, and may hold some that do not.
    [[nodiscard]] const std::vector<std::uint32_t>& candidates(std::string_view name) const;

  private:
    // Extensions that no pattern names are longer or stand here not at all.
    static constexpr std::size_t longestExtension = 16;

    struct Hash {
        using is_transparent = void;
        std::size_t operator()(std::string_view text) const { return std::hash<std::string_view>()(text); }
    };

    std::unordered_map<std::string, std::vector<std::uint32_t>, Hash, std::equal_to<>> _byExtension;
    std::vector<std::uint32_t> _others; // for every other name: validators whose pattern is no plain extension
};

} // namespace vt

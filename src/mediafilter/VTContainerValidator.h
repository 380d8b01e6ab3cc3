// One name pattern with what it means for a file whose name matches: an answer of its own, or codec and special-content
// validators that are asked about the file.
// Thread: built before main() runs, then any. Owns: its pattern; the attached validators live for the whole run.
#pragma once

#include "mediafilter/MediaFacts.h"
#include "mediafilter/NamePattern.h"
#include "mediafilter/VTCodecValidator.h"
#include "mediafilter/VTSpecialContentValidator.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace vt {

class VTContainerValidator {
  public:
    static constexpr std::size_t maximumCodecValidators = 16;
    static constexpr std::size_t maximumSpecialValidators = 5;

    VTContainerValidator() = default; // no pattern: matches nothing
    // `caseOff` ignores case. `defaultOnMatch` is the answer where no codec validator is attached.
    VTContainerValidator(std::string_view pattern, std::int32_t containerType, bool caseOff, bool defaultOnMatch);
    VTContainerValidator(const VTContainerValidator&) = delete;
    VTContainerValidator& operator=(const VTContainerValidator&) = delete;

    [[nodiscard]] static VTContainerValidator suffixMatch(std::string_view pattern, std::int32_t containerType,
                                                          bool defaultOnMatch);
    [[nodiscard]] static VTContainerValidator suffixMatch(std::string_view pattern, bool defaultOnMatch);

    // The new count; a full list stores nothing and answers its maximum.
    std::size_t addValidator(const VTCodecValidator* validator);
    std::size_t addSpecialValidator(const VTSpecialContentValidator* validator);

    // Whether the item matches; `shouldCopy` is the answer then. A name that does not match leaves it false. Codec
    // validators that all decline leave it at the default, but that is no match: the caller refuses the item.
    [[nodiscard]] bool matchItem(const std::string& path, std::string_view baseName, bool& shouldCopy,
                                 MediaFacts& facts) const;
    // The same answer, and how it came about.
    struct Match {
        bool name = false; // the pattern matches the name
        bool matched = false;
        bool shouldCopy = false;
        const VTCodecValidator* codec = nullptr;            // the one that decided, if one did
        const VTSpecialContentValidator* special = nullptr; // likewise
    };
    [[nodiscard]] Match match(const std::string& path, std::string_view baseName, MediaFacts& facts) const;

    [[nodiscard]] const NamePattern& pattern() const { return _pattern; }
    [[nodiscard]] const std::string& patternText() const { return _patternText; }
    [[nodiscard]] int regcompResult() const { return _pattern.compileResult(); }
    [[nodiscard]] bool defaultResult() const { return _defaultResult; }
    [[nodiscard]] std::int32_t containerType() const { return _containerType; }
    [[nodiscard]] std::size_t codecValidatorCount() const { return _codecValidatorCount; }
    [[nodiscard]] std::size_t specialContentValidatorCount() const { return _specialContentValidatorCount; }
    // Null at and past the count.
    [[nodiscard]] const VTCodecValidator* codecValidator(std::size_t index) const;
    [[nodiscard]] const VTSpecialContentValidator* specialContentValidator(std::size_t index) const;

  private:
    NamePattern _pattern;
    std::string _patternText;
    bool _defaultResult = false;
    std::size_t _codecValidatorCount = 0;
    std::size_t _specialContentValidatorCount = 0;
    std::int32_t _containerType = 0;
    std::array<const VTCodecValidator*, maximumCodecValidators> _codecValidators{};
    std::array<const VTSpecialContentValidator*, maximumSpecialValidators> _specialContentValidators{};
};

} // namespace vt

#include "mediafilter/VTContainerValidator.h"

namespace vt {

VTContainerValidator::VTContainerValidator(std::string_view pattern, std::int32_t containerType, bool caseOff,
                                           bool defaultOnMatch)
    : _pattern(pattern, caseOff), _patternText(pattern), _defaultResult(defaultOnMatch), _containerType(containerType) {
}

VTContainerValidator VTContainerValidator::suffixMatch(std::string_view pattern, std::int32_t containerType,
                                                       bool defaultOnMatch) {
    return VTContainerValidator(pattern, containerType, true, defaultOnMatch);
}

VTContainerValidator VTContainerValidator::suffixMatch(std::string_view pattern, bool defaultOnMatch) {
    return suffixMatch(pattern, 0, defaultOnMatch);
}

std::size_t VTContainerValidator::addValidator(const VTCodecValidator* validator) {
    if (_codecValidatorCount < maximumCodecValidators) _codecValidators.at(_codecValidatorCount++) = validator;
    return _codecValidatorCount;
}

std::size_t VTContainerValidator::addSpecialValidator(const VTSpecialContentValidator* validator) {
    if (_specialContentValidatorCount < maximumSpecialValidators)
        _specialContentValidators.at(_specialContentValidatorCount++) = validator;
    return _specialContentValidatorCount;
}

const VTCodecValidator* VTContainerValidator::codecValidator(std::size_t index) const {
    return index < _codecValidatorCount ? _codecValidators.at(index) : nullptr;
}

const VTSpecialContentValidator* VTContainerValidator::specialContentValidator(std::size_t index) const {
    return index < _specialContentValidatorCount ? _specialContentValidators.at(index) : nullptr;
}

bool VTContainerValidator::matchItem(const std::string& path, std::string_view baseName, bool& shouldCopy,
                                     MediaFacts& facts) const {
    shouldCopy = false;
    if (!_pattern.matches(baseName)) return false;

    for (std::size_t i = 0; i < _specialContentValidatorCount; ++i) {
        const bool matched = _specialContentValidators[i]->matchSpecialContent(path, shouldCopy, facts);
        if (shouldCopy) return matched;
    }
    if (_codecValidatorCount == 0) {
        shouldCopy = _defaultResult;
        return true;
    }
    const MediaFileCharacterization record = facts.characterization(path, _containerType);
    for (std::size_t i = 0; i < _codecValidatorCount; ++i)
        if (_codecValidators[i]->matchCharacterization(record, shouldCopy)) return true;
    shouldCopy = _defaultResult;
    return false;
}

} // namespace vt

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
    const Match result = match(path, baseName, facts);
    shouldCopy = result.shouldCopy;
    return result.matched;
}

VTContainerValidator::Match VTContainerValidator::match(const std::string& path, std::string_view baseName,
                                                        MediaFacts& facts) const {
    Match result;
    result.name = _pattern.matches(baseName);
    if (!result.name) return result;

    for (std::size_t i = 0; i < _specialContentValidatorCount; ++i) {
        result.matched = _specialContentValidators[i]->matchSpecialContent(path, result.shouldCopy, facts);
        if (!result.shouldCopy) continue;
        result.special = _specialContentValidators[i];
        return result;
    }
    if (_codecValidatorCount == 0) {
        result.shouldCopy = _defaultResult;
        result.matched = true;
        return result;
    }
    const MediaFileCharacterization record = facts.characterization(path, _containerType);
    for (std::size_t i = 0; i < _codecValidatorCount; ++i) {
        result.matched = _codecValidators[i]->matchCharacterization(record, result.shouldCopy);
        if (!result.matched) continue;
        result.codec = _codecValidators[i];
        return result;
    }
    result.shouldCopy = _defaultResult;
    return result;
}

} // namespace vt

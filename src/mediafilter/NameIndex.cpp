#include "mediafilter/NameIndex.h"

#include "mediafilter/VTContainerValidator.h"

#include <algorithm>
#include <array>

namespace vt {

NameIndex::NameIndex(const ContainerValidatorList& validators) {
    const auto isIndexed = [](const std::string& extension) {
        return !extension.empty() && extension.size() <= longestExtension;
    };
    for (const VTContainerValidator* validator : validators) {
        const std::string& extension = validator->pattern().plainExtension();
        if (isIndexed(extension)) _byExtension.try_emplace(extension);
    }
    for (std::uint32_t position = 0; position < validators.size(); ++position) {
        const std::string& extension = validators[position]->pattern().plainExtension();
        if (isIndexed(extension)) {
            _byExtension.at(extension).push_back(position);
            continue;
        }
        _others.push_back(position);
        for (auto& [other, positions] : _byExtension) positions.push_back(position);
    }
}

const std::vector<std::uint32_t>& NameIndex::candidates(std::string_view name) const {
    const std::size_t dot = name.rfind('.');
    if (dot == std::string_view::npos) return _others;
    const std::string_view extension = name.substr(dot + 1);
    if (extension.empty() || extension.size() > longestExtension) return _others;

    std::array<char, longestExtension> lowerCase{};
    std::transform(extension.begin(), extension.end(), lowerCase.begin(), foldedByte);
    const auto found = _byExtension.find(std::string_view(lowerCase.data(), extension.size()));
    return found == _byExtension.end() ? _others : found->second;
}

} // namespace vt

#include "mediafilter/VTFileValidator.h"

#include "config/utilities/Packages.h"
#include "mediafilter/FilterVerdict.h"
#include "mediafilter/MediaPass.h"
#include "mediafilter/NameIndex.h"
#include "mediafilter/VTContainerValidator.h"

#include <optional>

namespace vt {

namespace {

constexpr std::size_t usualListCapacity = 4;
constexpr std::uint64_t fourGiB = 1ULL << 32U;

// Whether standardising would change nothing: by far the most paths, recognised without building a new text.
bool isStandard(std::string_view path) {
    if (path.size() < 2 || path.front() != '/' || path.back() == '/') return false;
    if (path.find("//") != std::string_view::npos) return false;
    for (std::size_t at = path.find("/."); at != std::string_view::npos; at = path.find("/.", at + 1)) {
        const std::string_view rest = path.substr(at + 2);
        if (rest.empty() || rest.front() == '/') return false;
        if (rest.front() == '.' && (rest.size() == 1 || rest[1] == '/')) return false;
    }
    return true;
}

// Names of the agent's own temporary files and folders.
bool isWorkName(std::string_view baseName) {
    return baseName.starts_with(".d$f.") || baseName.starts_with(".d$d.");
}

} // namespace

VTFileValidator::VTFileValidator(const ExclusionTables& exclusions, HomePaths homePaths, FileService& files)
    : _homePaths(std::move(homePaths)), _files(files),
      _filteredNames(exclusions.filteredFileNames().begin(), exclusions.filteredFileNames().end()),
      _filteredPaths(exclusions.filteredFilePaths().begin(), exclusions.filteredFilePaths().end()) {
    flushValidators();
}

VTFileValidator::~VTFileValidator() = default;

void VTFileValidator::setOwner(std::weak_ptr<const ValidatorOwner> owner) {
    _owner = std::move(owner);
}

std::size_t VTFileValidator::addContainerValidator(const VTContainerValidator* validator) {
    return addContainerValidators({validator});
}

std::size_t VTFileValidator::addContainerValidators(const ContainerValidatorList& validators) {
    _containerValidators.insert(_containerValidators.end(), validators.begin(), validators.end());
    _index = std::make_unique<NameIndex>(_containerValidators);
    return _containerValidators.size();
}

void VTFileValidator::flushValidators() {
    _containerValidators = {};
    _containerValidators.reserve(usualListCapacity);
    _index = std::make_unique<NameIndex>(_containerValidators);
}

void VTFileValidator::setMediaServices(MediaServices* services) {
    _media = services != nullptr ? std::make_unique<MediaPass>(*services) : nullptr;
}

void VTFileValidator::beginPass() {
    if (_media != nullptr) _media->begin();
}

bool VTFileValidator::shouldCopyItem(const std::string& path, bool limitTo4G) const {
    const std::string standardPath = _homePaths.standardise(path);
    return shouldCopyItem(standardPath, paths::lastComponent(standardPath), limitTo4G);
}

bool VTFileValidator::shouldCopyItem(const std::string& path, std::string_view baseName, bool limitTo4G) const {
    return shouldCopyKnownItem(path, baseName, limitTo4G, nullptr);
}

bool VTFileValidator::shouldCopyKnownItem(const std::string& path, std::string_view baseName, bool limitTo4G,
                                          const FileAttributes* known) const {
    if (const auto owner = _owner.lock(); owner != nullptr && owner->cancelPending()) return false;

    std::string standardised;
    if (!isStandard(path)) standardised = _homePaths.standardise(path);
    const std::string& standardPath = standardised.empty() ? path : standardised;
    NoMediaFacts noFacts;
    if (_media == nullptr) return accepts(judge(standardPath, baseName, limitTo4G, known, noFacts, nullptr));
    MediaPass::Item facts(*_media, known);
    return accepts(judge(standardPath, baseName, limitTo4G, known, facts, nullptr));
}

Result<FilterVerdict> VTFileValidator::explain(const std::string& path, bool limitTo4G, MediaFacts& facts) const {
    FilterVerdict verdict;
    verdict.path = _homePaths.standardise(path);
    const auto itself = _files.attributes(verdict.path);
    if (!itself.ok()) return itself.error();
    if (const auto followed = _files.attributesFollowing(verdict.path)) verdict.item = *followed;
    verdict.reason = judge(verdict.path, paths::lastComponent(verdict.path), limitTo4G,
                           verdict.item ? &*verdict.item : nullptr, facts, &verdict.trials);
    return verdict;
}

FilterReason VTFileValidator::judge(const std::string& path, std::string_view baseName, bool limitTo4G,
                                    const FileAttributes* known, MediaFacts& facts,
                                    std::vector<FilterTrial>* trials) const {
    if (isWorkName(baseName)) return FilterReason::workName;
    if (_filteredNames.contains(baseName)) return FilterReason::excludedName;
    if (_filteredPaths.contains(path)) return FilterReason::excludedPath;

    std::optional<FileAttributes> found;
    if (known == nullptr) {
        if (auto attributes = _files.attributesFollowing(path)) found = *attributes;
        known = found ? &*found : nullptr;
    }
    if (known != nullptr && known->isDirectory() && !isPackage(path)) return FilterReason::folder;
    if (_containerValidators.empty()) return FilterReason::noLists;
    return askValidators(path, baseName, limitTo4G, known, facts, trials);
}

// Of a path that is known to lead to a folder. Only a package's name costs a look: a link to a package is none itself.
bool VTFileValidator::isPackage(const std::string& path) const {
    if (!isPackageName(path)) return false;
    const auto attributes = _files.attributes(path);
    return !attributes.ok() || !attributes->isLink();
}

FilterReason VTFileValidator::askValidators(const std::string& path, std::string_view baseName, bool limitTo4G,
                                            const FileAttributes* known, MediaFacts& facts,
                                            std::vector<FilterTrial>* trials) const {
    FilterReason reason = FilterReason::noPattern;
    for (const std::uint32_t position : _index->candidates(baseName)) {
        const VTContainerValidator* validator = _containerValidators[position];
        const VTContainerValidator::Match match = validator->match(path, baseName, facts);
        if (!match.name) continue;
        const bool accepted = match.matched && match.shouldCopy;
        const bool tooLarge = accepted && limitTo4G && !isBelow4G(path, known);
        // A pattern that goes by the path matches every name: only its yes says something.
        if (!accepted && validator->specialContentValidatorCount() > 0 && validator->codecValidatorCount() == 0)
            continue;
        if (trials != nullptr) trials->push_back({validator, match, tooLarge});
        if (accepted && !tooLarge) return FilterReason::accepted;
        // A refusal goes on too: a later list may accept what an earlier one refused.
        if (reason != FilterReason::tooLarge) reason = tooLarge ? FilterReason::tooLarge : FilterReason::refused;
    }
    return reason;
}

bool VTFileValidator::isBelow4G(const std::string& path, const FileAttributes* known) const {
    if (known != nullptr && known->size < fourGiB) return true;
    // What is known is the end of a link; the item itself may be the link, which is small. An unreadable size is 0.
    const auto attributes = _files.attributes(path);
    if (attributes.ok()) return attributes->size < fourGiB;
    return known == nullptr;
}

} // namespace vt

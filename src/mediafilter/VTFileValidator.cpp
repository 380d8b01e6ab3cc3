#include "mediafilter/VTFileValidator.h"

#include "config/utilities/Packages.h"
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
    if (isExcluded(standardPath, baseName)) return false;

    std::optional<FileAttributes> found;
    if (known == nullptr) {
        if (auto attributes = _files.attributesFollowing(standardPath)) found = *attributes;
        known = found ? &*found : nullptr;
    }
    if (known != nullptr && known->isDirectory() && !isPackage(standardPath)) return true;
    return anyValidatorAccepts(standardPath, baseName, limitTo4G, known);
}

bool VTFileValidator::isExcluded(const std::string& standardPath, std::string_view baseName) const {
    if (isWorkName(baseName)) return true;
    return _filteredNames.contains(baseName) || _filteredPaths.contains(standardPath);
}

// Of a path that is known to lead to a folder. Only a package's name costs a look: a link to a package is none itself.
bool VTFileValidator::isPackage(const std::string& path) const {
    if (!isPackageName(path)) return false;
    const auto attributes = _files.attributes(path);
    return !attributes.ok() || !attributes->isLink();
}

bool VTFileValidator::anyValidatorAccepts(const std::string& path, std::string_view baseName, bool limitTo4G,
                                          const FileAttributes* known) const {
    NoMediaFacts noFacts;
    std::optional<MediaPass::Item> item;
    if (_media != nullptr) item.emplace(*_media, known);
    MediaFacts& facts = item ? static_cast<MediaFacts&>(*item) : noFacts;

    for (const std::uint32_t position : _index->candidates(baseName)) {
        bool shouldCopy = false;
        const bool matched = _containerValidators[position]->matchItem(path, baseName, shouldCopy, facts);
        // A refusal goes on too: a later list may accept what an earlier one refused.
        if (matched && shouldCopy && (!limitTo4G || isBelow4G(path, known))) return true;
    }
    return false;
}

bool VTFileValidator::isBelow4G(const std::string& path, const FileAttributes* known) const {
    if (known != nullptr && known->size < fourGiB) return true;
    // What is known is the end of a link; the item itself may be the link, which is small. An unreadable size is 0.
    const auto attributes = _files.attributes(path);
    if (attributes.ok()) return attributes->size < fourGiB;
    return known == nullptr;
}

} // namespace vt

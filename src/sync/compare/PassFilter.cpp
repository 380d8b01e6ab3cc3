#include "sync/compare/PassFilter.h"

#include <utility>

namespace vt {

void PassFilter::beginPass(std::shared_ptr<VTFileValidator> validator, bool limitTo4G) {
    _validator = std::move(validator);
    _limitTo4G = limitTo4G;
    if (_validator) _validator->beginPass();
}

bool PassFilter::shouldCopyItem(const std::string& path, std::string_view baseName, bool limitTo4G,
                                const FileAttributes* known) const {
    return _validator && _validator->shouldCopyKnownItem(path, baseName, limitTo4G, known);
}

bool PassFilter::shouldCopyMediaFile(const std::string& path, std::string_view baseName,
                                     const FileAttributes* known) const {
    if (_cancel.pending()) return false;
    if (known != nullptr) return !known->isLink() && shouldCopyItem(path, baseName, known);
    const auto attributes = _files.attributes(path);
    if (attributes && attributes->isLink()) return false;
    return shouldCopyItem(path, baseName, attributes ? &*attributes : nullptr);
}

} // namespace vt

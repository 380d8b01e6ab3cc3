#include "sync/tree/ItemQuestions.h"

#include "base/Paths.h"
#include "config/utilities/Packages.h"

namespace vt {

std::optional<FileAttributes> ItemQuestions::look(const std::string& path) {
    const auto attributes = _services.files.attributes(path);
    _lastCode = attributes.code();
    if (!attributes) return std::nullopt;
    return *attributes;
}

bool ItemQuestions::isPlainFolder(const std::string& path, const FileAttributes& item) {
    return item.isDirectory() && !isPackageName(std::string_view(path).substr(path.rfind('/') + 1));
}

bool ItemQuestions::accepts(const std::string& path, std::string_view name, const FileAttributes& item,
                            bool limitTo4G) const {
    if (!item.isLink()) return _services.filter.shouldCopyItem(path, name, limitTo4G, &item);
    const auto followed = _services.files.attributesFollowing(path);
    return _services.filter.shouldCopyItem(path, name, limitTo4G, followed ? &*followed : nullptr);
}

bool ItemQuestions::isLimited(const std::string& destination, const FileAttributes& present) {
    // A link's own device says nothing of the volume that it leads to.
    if (!present.isLink() && _device == present.device) return _deviceIsFat;
    const auto volume = _services.volumes.statVolume(destination);
    const bool fat = volume && volume->typeName == "msdos";
    if (!present.isLink()) {
        _device = present.device;
        _deviceIsFat = fat;
    }
    return fat;
}

const DestinationCapabilities& ItemQuestions::capabilities(const std::string& destinationFolder) {
    if (_services.destination != nullptr) return *_services.destination;
    if (!_capabilities) _capabilities = _services.volumes.capabilities(destinationFolder);
    return *_capabilities;
}

} // namespace vt

#include "sync/tree/TreeOperations.h"

#include "base/Paths.h"
#include "config/utilities/FileCreation.h"
#include "sync/tree/MergingCopy.h"
#include "sync/tree/MergingMove.h"
#include "sync/tree/PlainCopy.h"

namespace vt {

bool TreeOperations::copyPathOntoPath(const std::string& source, const std::string& destination, bool copyingToPushkey,
                                      MRLErrorReporter* handler, const FileAttributes* known) {
    return MergingCopy(_services, handler, copyingToPushkey).copy(source, destination, known);
}

bool TreeOperations::movePathOntoPath(const std::string& source, const std::string& destination, bool movingToPushkey,
                                      MRLErrorReporter* handler, const FileAttributes* known) {
    return MergingMove(_services, handler, movingToPushkey).move(source, destination, known);
}

bool TreeOperations::copyPathToPath(const std::string& source, const std::string& destination, bool recurse,
                                    bool copyingToPushkey, MRLErrorReporter* handler) {
    return PlainCopy(_services, handler, copyingToPushkey).copy(source, destination, recurse);
}

bool TreeOperations::createDirectoryAtPath(const std::string& path, const std::uint32_t* mode, bool recurse,
                                           bool creatingOnPushkey) {
    return vt::createDirectoryAtPath(_services.files, path, mode, recurse, creatingOnPushkey);
}

bool TreeOperations::shouldCopyItem(const std::string& path, bool limitTo4G) const {
    return _services.filter.shouldCopyItem(path, paths::lastComponent(path), limitTo4G, nullptr);
}

std::uint64_t TreeOperations::fastPathSize(const std::string& path) const {
    return vt::fastPathSize(_services.files, path, nullptr, _services.closed);
}

std::uint64_t TreeOperations::fastFolderSizeAtPath(const std::string& path) const {
    return vt::fastFolderSize(_services.files, path, _services.closed);
}

bool TreeOperations::isFolderEmptyAtPath(const std::string& path) const {
    return isFolderEmpty(_services.files, path);
}

bool TreeOperations::changeLockAtFileAtPath(const std::string& path, bool locked) {
    return _services.files.setImmutable(path, locked).ok();
}

} // namespace vt

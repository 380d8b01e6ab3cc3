#include "mediafilter/MediaPass.h"

namespace vt {

void MediaPass::begin() {
    _services.passBegins();
    const std::lock_guard guard(_lock);
    _libraryIsRead = false;
    _library.reset();
    _outOfTime.clear();
}

MediaFileCharacterization MediaPass::characterization(const std::string& path, std::int32_t containerType,
                                                      const FileAttributes* known) {
    {
        const std::lock_guard guard(_lock);
        if (_outOfTime.contains(path)) return NoMediaFacts().characterization(path, containerType);
    }
    const MediaServices::Answer answer = _services.characterize(path, containerType, known);
    if (answer.outOfTime) {
        const std::lock_guard guard(_lock);
        _outOfTime.insert(path);
    }
    return answer.record;
}

std::optional<std::string> MediaPass::photoBoothLibrary() {
    {
        const std::lock_guard guard(_lock);
        if (_libraryIsRead) return _library;
    }
    auto library = _services.photoBoothLibrary(); // asks the main thread: the lock is not held
    const std::lock_guard guard(_lock);
    _library = std::move(library);
    _libraryIsRead = true;
    return _library;
}

MediaFileCharacterization MediaPass::Item::characterization(const std::string& path, std::int32_t containerType) {
    if (!_record) _record = _pass.characterization(path, containerType, _known);
    return *_record;
}

} // namespace vt

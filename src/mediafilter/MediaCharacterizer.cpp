#include "mediafilter/MediaCharacterizer.h"

#include "base/LogSink.h"
#include "base/Paths.h"
#include "base/Text.h"
#include "mediafilter/Characterization.h"

#include <cerrno>
#include <exception>

namespace vt {

namespace {

constexpr const char* photoBoothDomain = "com.apple.PhotoBooth";
constexpr const char* libraryPathKey = "LibraryPath";

bool isSameContent(const FileAttributes& a, const FileAttributes& b) {
    return CharacterizationKey::of(a) == CharacterizationKey::of(b);
}

void logOutOfTime(const std::string& path) {
    systemLog(formatText("%@ took too long to examine and is left out of this pass", {paths::displayText(path)}));
}

} // namespace

MediaCharacterizer::MediaCharacterizer(RunLoop& runLoop, MediaProbe& probe, Preferences& preferences,
                                       FileService& files, CharacterizationCache* cache)
    : _runLoop(runLoop), _probe(probe), _preferences(preferences), _files(files), _cache(cache) {}

MediaServices::Answer MediaCharacterizer::characterize(const std::string& path, std::int32_t containerType,
                                                       const FileAttributes* known) {
    if (known != nullptr)
        if (auto record = remembered(path, *known)) return {*record, false};

    // What is kept is kept for the file as it is now, which may be newer than what the caller knows.
    const auto before = _files.attributesFollowing(path);
    if (before.ok())
        if (auto record = remembered(path, *before)) return {*record, false};

    MediaFileCharacterization record;
    record.containerType = containerType;
    const Outcome outcome = characterizeVideo(path, record, containerType);
    if (outcome == Outcome::outOfTime) logOutOfTime(path);
    if (outcome == Outcome::certain && before.ok()) {
        const auto after = _files.attributesFollowing(path);
        if (after.ok() && isSameContent(*before, *after)) remember(path, *after, record);
    }
    return {record, outcome == Outcome::outOfTime};
}

MediaCharacterizer::Outcome MediaCharacterizer::characterizeVideo(const std::string& path,
                                                                  MediaFileCharacterization& record,
                                                                  std::int32_t containerType) {
    const auto outcomeOf = [](int code) {
        if (code == ETIMEDOUT) return Outcome::outOfTime;
        return code == EINVAL || code == EFBIG ? Outcome::certain : Outcome::unreadable;
    };
    auto file = _probe.open(path);
    if (!file.ok()) return outcomeOf(file.code());
    while (true) {
        Result<void> described;
        const bool served =
            _runLoop.performAndWait([&] { described = characterizeVideoInner(path, **file, record, containerType); });
        if (!served) return Outcome::unreadable; // the process is ending
        if (described.ok()) return Outcome::certain;
        if (described.code() != EAGAIN) return outcomeOf(described.code());
        if (const auto read = (*file)->readMore(); !read.ok()) return outcomeOf(read.code());
    }
}

Result<void> MediaCharacterizer::characterizeVideoInner(const std::string& path, MediaFile& file,
                                                        MediaFileCharacterization& record, std::int32_t containerType) {
    try {
        const auto movie = _probe.describe(file);
        if (!movie.ok()) return movie.error();
        record = characterizationOf(*movie, containerType);
        return {};
    } catch (const std::exception& exception) { // memory, most likely; nothing crosses to the worker
        systemLog(
            formatText("QTMovie generated exception %@ for path %@", {exception.what(), paths::displayText(path)}));
        return Error::fromErrno(ENOMEM, path);
    }
}

std::optional<std::string> MediaCharacterizer::photoBoothLibrary() {
    std::optional<std::string> library;
    const bool served = _runLoop.performAndWait([&] {
        const auto value = _preferences.value(photoBoothDomain, PreferenceHost::any, libraryPathKey);
        if (value && value->asString() != nullptr) library = *value->asString();
    });
    return served ? library : std::nullopt;
}

void MediaCharacterizer::passBegins() {
    if (_cache != nullptr) _cache->save();
}

std::optional<MediaFileCharacterization> MediaCharacterizer::remembered(const std::string& path,
                                                                        const FileAttributes& file) {
    {
        const std::lock_guard guard(_lock);
        if (_last && _last->path == path && _last->size == file.size && _last->modified == file.modified)
            return _last->record;
    }
    return _cache != nullptr ? _cache->find(CharacterizationKey::of(file)) : std::nullopt;
}

void MediaCharacterizer::remember(const std::string& path, const FileAttributes& file,
                                  const MediaFileCharacterization& record) {
    if (_cache != nullptr) _cache->store(CharacterizationKey::of(file), record);
    const std::lock_guard guard(_lock);
    _last = Remembered{path, file.size, file.modified, record};
}

} // namespace vt

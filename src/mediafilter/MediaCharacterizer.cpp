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
    const auto examined =
        examine(path, [&](const MediaDescription& movie) { record = characterizationOf(movie, containerType); });
    if (examined.ok()) return Outcome::certain;
    if (examined.code() == ETIMEDOUT) return Outcome::outOfTime;
    return examined.code() == EINVAL || examined.code() == EFBIG ? Outcome::certain : Outcome::unreadable;
}

Result<MediaDescription> MediaCharacterizer::describe(const std::string& path) {
    MediaDescription description;
    const auto examined = examine(path, [&](const MediaDescription& movie) { description = movie; });
    if (!examined.ok()) return examined.error();
    return description;
}

Result<void> MediaCharacterizer::examine(const std::string& path, const Take& take) {
    auto file = _probe.open(path);
    if (!file.ok()) return file.error();
    while (true) {
        Result<void> examined;
        const bool served = _runLoop.performAndWait([&] { examined = examineInner(path, **file, take); });
        if (!served) return Error{ECANCELED, Disposition::skipItem, path, "the agent is ending"};
        if (examined.ok() || examined.code() != EAGAIN) return examined;
        if (auto read = (*file)->readMore(); !read.ok()) return read;
    }
}

Result<void> MediaCharacterizer::examineInner(const std::string& path, MediaFile& file, const Take& take) {
    try {
        const auto movie = _probe.describe(file);
        if (!movie.ok()) return movie.error();
        take(*movie);
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

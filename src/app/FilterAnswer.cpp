#include "app/FilterAnswer.h"

#include "app/MediaSettings.h"
#include "base/Text.h"
#include "mediafilter/CodecNumbers.h"
#include "mediafilter/FilterWords.h"

#include <algorithm>
#include <cerrno>
#include <utility>

namespace vt {

namespace {

std::string kindOf(const std::optional<FileAttributes>& item) {
    if (!item) return "broken link";
    switch (item->kind) {
    case FileKind::regular:
        return "file";
    case FileKind::directory:
        return "folder";
    case FileKind::link:
        return "link";
    case FileKind::other:
        break;
    }
    return "special file";
}

// Which list of the class holds the validator; a class has each in one list only.
std::string listOf(const FilterQuestion& question, const VTContainerValidator* validator) {
    for (const FilterQuestion::List& list : question.lists)
        if (list.enabled &&
            std::find(list.validators->begin(), list.validators->end(), validator) != list.validators->end())
            return mediaKindName(list.kind);
    return {};
}

// Lists that are switched off and have a pattern for the name.
std::vector<std::string> listsThatWouldAsk(const FilterQuestion& question, const std::string& path) {
    std::vector<std::string> names;
    const std::string name = paths::lastComponent(path);
    for (const FilterQuestion::List& list : question.lists) {
        if (list.enabled) continue;
        const bool asks = std::any_of(list.validators->begin(), list.validators->end(), [&](const auto* validator) {
            return validator->specialContentValidatorCount() == 0 && validator->pattern().matches(name);
        });
        if (asks) names.emplace_back(mediaKindName(list.kind));
    }
    return names;
}

Value::Array patternsOf(const FilterQuestion& question, const FilterAnswer& answer) {
    const MediaFileCharacterization record = answer.record.value_or(MediaFileCharacterization{});
    Value::Array patterns;
    for (const FilterTrial& trial : answer.verdict.trials) {
        Value::Dictionary pattern;
        pattern.emplace("pattern", trial.validator->patternText());
        pattern.emplace("list", listOf(question, trial.validator));
        pattern.emplace("containerType", static_cast<std::int64_t>(trial.validator->containerType()));
        pattern.emplace("answer", filterwords::answerOf(trial));
        Value::Array validators;
        for (const filterwords::Asked& asked : filterwords::askedIn(trial, record))
            validators.emplace_back(
                Value::Dictionary{{"name", asked.name}, {"answer", asked.answer}, {"reason", asked.reason}});
        pattern.emplace("validators", std::move(validators));
        patterns.emplace_back(std::move(pattern));
    }
    return patterns;
}

Value::Dictionary trackOf(const MediaTrack& track) {
    const bool video = track.kind == MediaTrack::Kind::video;
    Value::Dictionary entry;
    entry.emplace("kind", video ? "video" : track.kind == MediaTrack::Kind::sound ? "sound" : "other");
    entry.emplace("enabled", track.enabled);
    if (track.kind == MediaTrack::Kind::other) return entry;
    if (track.format) {
        const char* name =
            video ? videoCodecName(videoCodecNumber(*track.format)) : audioCodecName(audioCodecNumber(*track.format));
        entry.emplace("format", paths::displayText(track.format->text()));
        entry.emplace("codec", name != nullptr ? name : "unknown");
    }
    if (!video) {
        entry.emplace("sampleRate", track.sampleRate);
        entry.emplace("channels", track.channels);
        return entry;
    }
    entry.emplace("width", track.width);
    entry.emplace("height", track.height);
    const double samples = static_cast<double>(track.sampleCount);
    const double duration = static_cast<double>(track.displayDuration);
    entry.emplace("frameRate", duration > 0 ? track.timeScale * samples / duration : 0.0);
    return entry;
}

void addContents(const Result<MediaDescription>& contents, Value::Dictionary& reply) {
    reply.emplace("movie", contents.ok());
    if (!contents.ok()) {
        reply.emplace("problem", contents.error().text);
        return;
    }
    reply.emplace("duration",
                  contents->timeScale > 0 ? static_cast<double>(contents->duration) / contents->timeScale : 0.0);
    Value::Array tracks;
    for (const MediaTrack& track : contents->tracks) tracks.emplace_back(trackOf(track));
    reply.emplace("tracks", std::move(tracks));
}

} // namespace

FilterQuestion questionFor(VTSyncController& controller, const HomePaths& homePaths) {
    FilterQuestion question;
    question.deviceFilter = controller.syncDeviceFilter();
    question.mediaClass = mediaClassForDeviceFilter(question.deviceFilter);
    for (const MediaKind kind : mediaKinds)
        question.lists.push_back({kind, mediaStateOf(&controller, kind), &mediaList(question.mediaClass, kind)});
    for (const std::string& item : controller.shadowedSyncList())
        question.syncList.push_back(homePaths.standardise(item));
    return question;
}

Value::Dictionary answerDictionary(const FilterQuestion& question, const FilterAnswer& answer) {
    const FilterVerdict& verdict = answer.verdict;
    std::string explanation = filterwords::sentence(verdict, answer.record);
    if (verdict.reason == FilterReason::noPattern)
        for (const std::string& list : listsThatWouldAsk(question, verdict.path))
            explanation += formatText("; the %@ list has a pattern for it and is switched off", {list});

    Value::Dictionary reply;
    reply.emplace("accepted", accepts(verdict.reason));
    reply.emplace("reason", filterwords::keyOf(verdict));
    reply.emplace("explanation", std::move(explanation));
    reply.emplace("path", verdict.path);
    reply.emplace("kind", kindOf(verdict.item));
    reply.emplace("size", verdict.item ? verdict.item->size : 0);
    reply.emplace("listed", std::any_of(question.syncList.begin(), question.syncList.end(),
                                        [&](const auto& item) { return paths::isAtOrBelow(verdict.path, item); }));
    reply.emplace("deviceFilter", static_cast<std::int64_t>(question.deviceFilter));
    reply.emplace("deviceClass", mediaClassName(question.mediaClass));
    reply.emplace("examined", answer.record.has_value());
    reply.emplace("patterns", patternsOf(question, answer));
    if (answer.record) addContents(answer.contents, reply);
    return reply;
}

Error lookError(Error error) {
    const std::string path = paths::displayText(error.path);
    if (error.code == ENOENT || error.code == ENOTDIR) {
        error.code = ENXIO;
        error.text = "no such file";
    }
    error.text = formatText("\"%@\": %@", {path, error.text});
    return error;
}

} // namespace vt

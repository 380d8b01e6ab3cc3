#include "mediafilter/FilterWords.h"

#include "base/Text.h"

#include <algorithm>
#include <cmath>

namespace vt::filterwords {

namespace {

// The trial that tells most: the accepting one, else the first that a codec validator decided, else the first.
const FilterTrial& mostTelling(const std::vector<FilterTrial>& trials) {
    if (const FilterTrial& last = trials.back(); last.match.matched && last.match.shouldCopy) return last;
    const auto decided = std::find_if(trials.begin(), trials.end(),
                                      [](const FilterTrial& trial) { return trial.match.codec != nullptr; });
    return decided != trials.end() ? *decided : trials.front();
}

std::string sentenceOf(const FilterTrial& trial, const MediaFileCharacterization& record) {
    if (trial.match.special != nullptr) return "it lies in the Photo Booth library";
    if (trial.validator->codecValidatorCount() == 0)
        return formatText("its name matches %@, which %@ without a look inside",
                          {trial.validator->patternText(), trial.match.shouldCopy ? "is enough" : "is refused"});
    const std::vector<Asked> asked = askedIn(trial, record);
    if (trial.match.codec != nullptr)
        return formatText("\"%@\" %@ it: %@",
                          {asked.back().name, trial.match.shouldCopy ? "accepts" : "refuses", asked.back().reason});
    const bool alike =
        std::all_of(asked.begin(), asked.end(), [&](const Asked& each) { return each.reason == asked.front().reason; });
    if (alike) return asked.front().reason;
    std::string text = "it is of no kind that is taken: ";
    for (const Asked& each : asked) {
        if (&each != &asked.front()) text += "; ";
        text += formatText("\"%@\": %@", {each.name, each.reason});
    }
    return text;
}

} // namespace

std::string number(double value) {
    constexpr double steps = 1000;
    std::string text = formatText("%.3f", {std::round(value * steps) / steps});
    if (text.find('.') == std::string::npos) return text;
    text.erase(text.find_last_not_of('0') + 1);
    if (text.ends_with('.')) text.pop_back();
    return text;
}

std::string keyOf(const FilterVerdict& verdict) {
    switch (verdict.reason) {
    case FilterReason::workName:
        return "work name";
    case FilterReason::excludedName:
        return "excluded name";
    case FilterReason::excludedPath:
        return "excluded path";
    case FilterReason::folder:
        return "folder";
    case FilterReason::noLists:
        return "no lists";
    case FilterReason::noPattern:
        return "no pattern";
    case FilterReason::refused:
        return "refused";
    case FilterReason::tooLarge:
        return "too large";
    case FilterReason::accepted:
        break;
    }
    const FilterTrial& trial = verdict.trials.back();
    if (trial.match.special != nullptr) return "library";
    return trial.match.codec != nullptr ? "content" : "name";
}

std::string answerOf(const FilterTrial& trial) {
    if (trial.tooLarge) return "too large";
    if (!trial.match.matched) return "declined";
    return trial.match.shouldCopy ? "accepted" : "refused";
}

std::vector<Asked> askedIn(const FilterTrial& trial, const MediaFileCharacterization& record) {
    std::vector<Asked> asked;
    if (trial.match.special != nullptr) return asked;
    for (std::size_t i = 0; i < trial.validator->codecValidatorCount(); ++i) {
        const VTCodecValidator& codec = *trial.validator->codecValidator(i);
        const bool decided = &codec == trial.match.codec;
        const char* answer = !decided ? "declined" : trial.match.shouldCopy ? "accepted" : "refused";
        asked.push_back({std::string(codec.name()), answer, codec.reason(record)});
        if (decided) break;
    }
    return asked;
}

std::string sentence(const FilterVerdict& verdict, const std::optional<MediaFileCharacterization>& record) {
    switch (verdict.reason) {
    case FilterReason::workName:
        return "its name is one of the agent's own temporary names";
    case FilterReason::excludedName:
        return "nothing of this name is ever copied";
    case FilterReason::excludedPath:
        return "nothing at this path is ever copied";
    case FilterReason::folder:
        return "folders always pass; each file in them is judged on its own";
    case FilterReason::noLists:
        return "movies, music, pictures and documents are all switched off";
    case FilterReason::noPattern:
        return "no pattern of the lists that are switched on matches its name";
    case FilterReason::tooLarge:
        return "the drive's file system holds no file of 4 GiB or more";
    case FilterReason::refused:
    case FilterReason::accepted:
        break;
    }
    return sentenceOf(mostTelling(verdict.trials), record.value_or(MediaFileCharacterization{}));
}

} // namespace vt::filterwords

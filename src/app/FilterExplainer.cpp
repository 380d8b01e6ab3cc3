#include "app/FilterExplainer.h"

#include "app/FilterAnswer.h"
#include "base/Paths.h"
#include "base/Text.h"
#include "mediafilter/Characterization.h"
#include "mediafilter/VTFileValidator.h"

#include <cerrno>
#include <cstddef>
#include <exception>
#include <map>
#include <utility>

namespace vt {

namespace {

constexpr std::size_t mostAtOnce = 4; // a file on a disk that hangs holds its thread
constexpr std::size_t stackBytes = 1U << 20U;

// Looks into the file at most once, and keeps everything that it told.
class FreshFacts final : public MediaFacts {
  public:
    FreshFacts(MediaServices* media, FilterAnswer& answer) : _media(media), _answer(answer) {}

    [[nodiscard]] MediaFileCharacterization characterization(const std::string& path,
                                                             std::int32_t containerType) override {
        if (!_answer.record) look(path, containerType);
        return *_answer.record;
    }
    [[nodiscard]] std::optional<std::string> photoBoothLibrary() override {
        return _media != nullptr ? _media->photoBoothLibrary() : std::nullopt;
    }

  private:
    void look(const std::string& path, std::int32_t containerType) {
        _answer.record.emplace().containerType = containerType;
        _answer.contents = _media != nullptr ? _media->describe(path)
                                             : Error{ENOSYS, Disposition::skipItem, path, "no media file can be read"};
        if (_answer.contents.ok()) _answer.record = characterizationOf(*_answer.contents, containerType);
    }
    MediaServices* _media;
    FilterAnswer& _answer;
};

} // namespace

struct FilterExplainer::Question {
    FilterQuestion asked;
    std::unique_ptr<VTFileValidator> validator;
    std::string path;
    bool limitTo4G = false;
};

struct FilterExplainer::Open {
    std::map<std::size_t, Completion> completions;
    std::size_t next = 0;
    void answer(std::size_t number, const Result<Value::Dictionary>& reply) {
        const auto waiting = completions.extract(number);
        waiting.mapped()(reply);
    }
};

FilterExplainer::FilterExplainer(Services services) : _services(std::move(services)), _open(std::make_shared<Open>()) {}

FilterExplainer::~FilterExplainer() = default;

Result<Value::Dictionary> FilterExplainer::answerTo(const Question& question, MediaServices* media) {
    try {
        FilterAnswer answer;
        FreshFacts facts(media, answer);
        auto verdict = question.validator->explain(question.path, question.limitTo4G, facts);
        if (!verdict.ok()) return lookError(verdict.error());
        answer.verdict = std::move(*verdict);
        return answerDictionary(question.asked, answer);
    } catch (const std::exception& exception) { // memory, most likely; nothing crosses the thread's entry
        return Error{ENOMEM, Disposition::skipItem, question.path, exception.what()};
    }
}

void FilterExplainer::explain(VTSyncController& controller, const std::string& path, Completion done) {
    if (!paths::isAbsolute(path)) {
        done(Error{EINVAL, Disposition::skipItem, path,
                   formatText("\"%@\" is not an absolute path", {paths::displayText(path)})});
        return;
    }
    if (_open->completions.size() >= mostAtOnce) {
        done(Error{EBUSY, Disposition::skipItem, path, "other files are still being looked at"});
        return;
    }
    auto question = std::make_shared<Question>();
    question->asked = questionFor(controller, HomePaths(_services.home));
    question->validator =
        std::make_unique<VTFileValidator>(_services.exclusions, HomePaths(_services.home), _services.files);
    for (const FilterQuestion::List& list : question->asked.lists)
        if (list.enabled) question->validator->addContainerValidators(*list.validators);
    question->path = path;
    question->limitTo4G = controller.fsLimit4G();

    const std::size_t number = _open->next++;
    _open->completions.emplace(number, std::move(done));
    auto look = [question, number, media = _services.media, &runLoop = _services.runLoop,
                 open = std::weak_ptr<Open>(_open)] {
        runLoop.performLater([open, number, reply = answerTo(*question, media)] {
            if (const auto still = open.lock()) still->answer(number, reply);
        });
    };
    if (_services.threads == nullptr || !_services.threads->start(stackBytes, std::move(look)))
        _open->answer(number, Error{EAGAIN, Disposition::skipItem, path, "there is no thread to look at the file"});
}

} // namespace vt

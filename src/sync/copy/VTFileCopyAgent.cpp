#include "sync/copy/VTFileCopyAgent.h"

#include "base/Text.h"

namespace vt {

VTFileCopyAgent::VTFileCopyAgent(ItemCopyService& copier, std::optional<HomePaths> homePaths)
    : _copier(copier), _homePaths(std::move(homePaths)) {}

VTFileCopyAgent::~VTFileCopyAgent() {
    _cancelled.store(true);
}

bool VTFileCopyAgent::performCopy() {
    if (_state.load() == State::copying) return false;
    _state.store(State::copying);
    _errorsAsked = 0;
    _itemsSkipped = 0;
    _askedAbout.clear();
    const CopyOutcome outcome = _copier.copyItem(expanded(_sourcePath), expanded(_destinationPath), *this);
    logMessage(formatText("Copy success:%d", {outcome.done ? 1 : 0}));
    _state.store(State::finished);
    return outcome.done;
}

void VTFileCopyAgent::logMessage(std::string_view) {}

std::string VTFileCopyAgent::expanded(const std::string& path) const {
    return _homePaths ? _homePaths->expandTilde(path) : path;
}

CopyAnswer VTFileCopyAgent::copyEvent(const CopyEvent& event) {
    if (_cancelled.load()) {
        _state.store(State::cancelled);
        return CopyAnswer::quit;
    }
    switch (event.what) {
    case CopyWhat::file:
        return fileEvent(event);
    case CopyWhat::folder:
        return folderEvent(event);
    case CopyWhat::data:
        return dataEvent(event);
    case CopyWhat::folderCleanup:
    case CopyWhat::extendedAttribute:
        break;
    }
    return event.stage == CopyStage::error ? askDelegate(event) : CopyAnswer::goOn;
}

CopyAnswer VTFileCopyAgent::fileEvent(const CopyEvent& event) {
    switch (event.stage) {
    case CopyStage::start:
        logMessage(formatText("File Start %s", {event.source}));
        _totalInProgress = 0;
        break;
    case CopyStage::finish:
        _totalFinished = _totalFinished.value_or(0) + static_cast<std::int64_t>(event.sourceSize);
        logMessage(formatText("File Finish %s", {event.source}));
        break;
    case CopyStage::error:
        logMessage(formatText("File Error %i", {event.error.code}));
        return askDelegate(event);
    case CopyStage::progress:
        break;
    }
    return CopyAnswer::goOn;
}

CopyAnswer VTFileCopyAgent::folderEvent(const CopyEvent& event) {
    switch (event.stage) {
    case CopyStage::start:
        logMessage(formatText("Dir Start %s", {event.source}));
        break;
    case CopyStage::finish:
        logMessage(formatText("Dir Finish %s", {event.source}));
        break;
    case CopyStage::error:
        logMessage(formatText("Dir Error %s", {event.source}));
        return askDelegate(event);
    case CopyStage::progress:
        break;
    }
    return CopyAnswer::goOn;
}

CopyAnswer VTFileCopyAgent::dataEvent(const CopyEvent& event) {
    if (event.stage == CopyStage::error) return askDelegate(event);
    if (event.stage != CopyStage::progress) return CopyAnswer::goOn;
    _totalInProgress = static_cast<std::int64_t>(event.copiedBytes);
    if (_delegate != nullptr) _delegate->agentUpdate(*this, _totalFinished.value_or(0) + *_totalInProgress);
    return CopyAnswer::goOn;
}

CopyAnswer VTFileCopyAgent::askDelegate(const CopyEvent& event) {
    if (_delegate == nullptr) return CopyAnswer::goOn;
    // One failed item asks one question, not one for its data and one for the file.
    if (_errorsAsked > 0 && event.source == _askedAbout) return _lastAnswer;
    ++_errorsAsked;
    _askedAbout = event.source;
    const int answer =
        _delegate->agentActionRequired(*this, {event.error.code, event.source, event.destination, event.error.text});
    _lastAnswer = answer == 1 ? CopyAnswer::skip : answer == 2 ? CopyAnswer::quit : CopyAnswer::goOn;
    if (_lastAnswer == CopyAnswer::skip) ++_itemsSkipped;
    return _lastAnswer;
}

} // namespace vt

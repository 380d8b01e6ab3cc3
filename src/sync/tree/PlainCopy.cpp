#include "sync/tree/PlainCopy.h"

#include "base/Paths.h"
#include "base/Text.h"
#include "config/utilities/DateConversions.h"
#include "config/utilities/FileCreation.h"
#include "sync/report/MRLErrorReporter.h"
#include "sync/tree/ItemQuestions.h"

namespace vt {
namespace {

class HandlerObserver : public CopyObserver {
  public:
    explicit HandlerObserver(MRLErrorReporter* handler) : _handler(handler) {}
    CopyAnswer copyEvent(const CopyEvent& event) override {
        if (event.stage != CopyStage::error) return CopyAnswer::goOn;
        const bool goesOn = _handler != nullptr &&
                            _handler->shouldProceedAfterErrorCopyingItem(event.error, event.source, event.destination);
        return goesOn ? CopyAnswer::skip : CopyAnswer::quit;
    }

  private:
    MRLErrorReporter* _handler;
};

} // namespace

bool PlainCopy::copy(const std::string& source, const std::string& destination, bool makeParents) {
    if (makeParents) createDirectoryAtPath(_services.files, paths::parent(destination), nullptr, true, _toPushkey);
    ItemQuestions questions(_services);
    const auto present = questions.look(destination);
    const bool limit = present && questions.isLimited(destination, *present);
    if (!_services.filter.shouldCopyItem(source, paths::lastComponent(source), limit, nullptr)) return true;
    const auto item = questions.look(source);
    if (item && item->isLink()) {
        if (!copyLink(source, destination)) return false;
    } else {
        HandlerObserver observer(_handler);
        _services.copier.copyItem(source, destination, observer);
    }
    if (_toPushkey) setSyncBackupDateTo(Date::missing(), destination);
    return true;
}

// Both readings are of the source, deliberately: a link is made again only when it changes in between.
bool PlainCopy::copyLink(const std::string& source, const std::string& destination) {
    FileService& files = _services.files;
    const auto target = files.readLink(source);
    const auto again = files.readLink(source);
    if (!target || !again || *target == *again) return true;
    files.remove(destination, {}).ignore();
    const auto made = files.makeLink(destination, *again);
    if (made) return true;
    _services.log.logMessage(
        localisedText("Copy of %@ to %@ failed with error: %@.",
                      {paths::displayText(source), paths::displayText(destination), made.error().text}));
    return false;
}

} // namespace vt

#include "sync/report/MRLRemoveSyncItemsErrorReporter.h"

#include "base/Paths.h"
#include "base/Text.h"

namespace vt {

std::shared_ptr<MRLRemoveSyncItemsErrorReporter>
MRLRemoveSyncItemsErrorReporter::create(std::weak_ptr<TreeDelegate> delegate) {
    return std::make_shared<MRLRemoveSyncItemsErrorReporter>(std::move(delegate));
}

void MRLRemoveSyncItemsErrorReporter::willProcessPath(const std::string& path) {
    if (const auto controller = delegate())
        controller->debugMessage(
            formatText("MRLRemoveSyncItemsErrorReporter: deleting \"%@\"...", {paths::displayText(path)}));
}

// The keys hold the trade-mark sign as its escape, six characters, which the catalogue's entries render.
bool MRLRemoveSyncItemsErrorReporter::shouldProceedAfterError(const ErrorDictionary& error) {
    incrementErrorCount();
    const auto controller = delegate();
    if (controller)
        controller->syncThreadLogMessage(
            localisedText("Unable to remove \"%1$@\" from the Pushkey\\U2122 drive - %2$@.",
                          {paths::displayText(error.path), error.error}));
    if (errorHandling() != 0) return errorHandling() > 0;
    if (!controller) return false;
    const std::string name = paths::displayText(controller->displayNameAtPath(error.path));
    const bool goesOn = controller->syncThreadPerformAlertWithTitle(
        localised("Update Sync Items Failed."),
        localisedText("There was a problem removing \"%1$@\" (%2$@) from the Pushkey\\U2122 drive.",
                      {name, error.error}),
        false, false);
    if (!goesOn) controller->setCancelPending(true, false);
    return goesOn;
}

} // namespace vt

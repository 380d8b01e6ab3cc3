#include "sync/report/MRLDeleteErrorReporter.h"

#include "base/Paths.h"
#include "base/Text.h"

namespace vt {

std::shared_ptr<MRLDeleteErrorReporter> MRLDeleteErrorReporter::create(std::weak_ptr<TreeDelegate> delegate) {
    return std::make_shared<MRLDeleteErrorReporter>(std::move(delegate));
}

void MRLDeleteErrorReporter::willProcessPath(const std::string& path) {
    if (const auto controller = delegate())
        controller->debugMessage(formatText("MRLDeleteErrorReporter: deleting \"%@\"...", {paths::displayText(path)}));
}

bool MRLDeleteErrorReporter::shouldProceedAfterError(const ErrorDictionary& error) {
    incrementErrorCount();
    const auto controller = delegate();
    if (controller)
        controller->syncThreadLogMessage(
            localisedText("Unable to delete \"%1$@\" - %2$@.", {paths::displayText(error.path), error.error}));
    if (errorHandling() != 0) return errorHandling() > 0;
    if (!controller) return false;
    const std::string name = paths::displayText(controller->displayNameAtPath(error.path));
    return askPerson(localised("Delete Failed."),
                     localisedText("There was a problem deleting \"%1$@\" (%2$@).  "
                                   "Do you want to continue with the sync operation?",
                                   {name, error.error}),
                     false);
}

} // namespace vt

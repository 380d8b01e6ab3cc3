#include "sync/report/MRLErrorReporter.h"

namespace vt {

MRLErrorReporter::MRLErrorReporter(std::weak_ptr<TreeDelegate> delegate) : _delegate(std::move(delegate)) {}

bool MRLErrorReporter::cancelPending() const {
    const auto controller = delegate();
    return controller && controller->cancelPending();
}

bool MRLErrorReporter::shouldProceedAfterErrorRemovingItem(const Error& error, const std::string& path) {
    return shouldProceedAfterError({path, std::nullopt, error.text, error.code});
}

bool MRLErrorReporter::shouldProceedAfterErrorCopyingItem(const Error&, const std::string&, const std::string&) {
    return false;
}

bool MRLErrorReporter::shouldProceedAfterErrorMovingItem(const Error&, const std::string&, const std::string&) {
    return false;
}

bool MRLErrorReporter::askPerson(const std::string& title, const std::string& message, bool withLogButton) const {
    const auto controller = delegate();
    if (!controller) return false;
    if (controller->syncThreadPerformAlertWithTitle(title, message, true, withLogButton)) return true;
    controller->setCancelPending(true, false);
    return false;
}

} // namespace vt

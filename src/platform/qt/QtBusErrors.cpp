#include "platform/qt/QtBusErrors.h"

#include <algorithm>
#include <cerrno>
#include <iterator>

namespace vt::qtbus {

namespace {

struct Name {
    int code;
    const char* name;
};

constexpr Name names[] = {
    {ENOENT, "NotServed"},    {EBUSY, "Busy"},         {ENOSYS, "UnknownEvent"},  {EACCES, "AccessDenied"},
    {EPERM, "AccessDenied"},  {ENOTDIR, "NotAFolder"}, {EINVAL, "Invalid"},       {ENODEV, "DriveGone"},
    {EROFS, "ReadOnly"},      {ETIMEDOUT, "TimedOut"}, {EEXIST, "AlreadyServed"}, {ENOTSUP, "NotSupported"},
    {ECANCELED, "Cancelled"}, {ENXIO, "NoSuchFile"},
};

} // namespace

QString errorName(const char* name) {
    return QStringLiteral("com.corvane.vantaro.Error.") + QString::fromLatin1(name);
}

QString errorNameFor(const Error& error) {
    const auto* found =
        std::find_if(std::begin(names), std::end(names), [&](const Name& entry) { return entry.code == error.code; });
    return errorName(found == std::end(names) ? "Failed" : found->name);
}

} // namespace vt::qtbus

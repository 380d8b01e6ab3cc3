#include "base/Result.h"

#include <cerrno>
#include <cstring>

namespace vt {

Error Error::fromErrno(int code, std::string path) {
    Error error;
    error.code = code;
    error.disposition = code == ENODEV ? Disposition::driveGone : Disposition::skipItem;
    error.path = std::move(path);
    // The description that does not follow the locale: error texts are English everywhere.
    const char* description = strerrordesc_np(code);
    error.text = description != nullptr ? description : "Unknown error " + std::to_string(code);
    return error;
}

std::string Error::describe() const {
    if (path.empty()) return text;
    return path + ": " + text;
}

} // namespace vt

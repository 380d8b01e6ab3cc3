// What one message may carry, and the first error that was met while its content is walked. Thread: any; a value.
// Errors: E2BIG past qtvalues::largestContent, ELOOP where it is nested too deeply.
#pragma once

#include "base/Result.h"
#include "platform/qt/QtValues.h"

#include <cerrno>
#include <cstddef>
#include <optional>
#include <string>
#include <utility>

namespace vt::qtvalues {

[[nodiscard]] inline Error refused(int code, std::string text) {
    return Error{code, Disposition::skipItem, {}, std::move(text)};
}

class ContentBudget {
  public:
    // Every item counts `bytesPerItem` besides its own bytes, so that a flood of empty ones is large too.
    ContentBudget(std::size_t bytesPerItem, const char* tooLarge) : _bytesPerItem(bytesPerItem), _tooLarge(tooLarge) {}

    // These answer whether all is well so far.
    bool take(std::size_t bytes) {
        _used += bytes + _bytesPerItem;
        if (_used > largestContent) fail(E2BIG, _tooLarge);
        return ok();
    }
    bool enter(int depth, int deepest, const char* tooDeep) {
        if (depth > deepest) fail(ELOOP, tooDeep);
        return ok();
    }
    void fail(int code, std::string text) {
        if (!_error) _error = refused(code, std::move(text));
    }
    [[nodiscard]] bool ok() const { return !_error; }
    [[nodiscard]] const Error& error() const { return *_error; }

  private:
    std::size_t _bytesPerItem;
    const char* _tooLarge;
    std::size_t _used = 0;
    std::optional<Error> _error;
};

} // namespace vt::qtvalues

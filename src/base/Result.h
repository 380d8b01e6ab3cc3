// The outcome of an operation that touches disk, bus or network: a value or an error, never an exception.
// Errors: `code` is an errno value; `disposition` tells the caller how far the damage reaches.
#pragma once

#include <cassert>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <variant>

namespace vt {

enum class Disposition : std::uint8_t {
    goOn,      // the caller may carry on as if nothing happened
    skipItem,  // this item is lost, the next one may work
    driveGone, // nothing on this drive can work any more
    fatal,     // the whole task has failed
};

struct Error {    // NOLINT(clang-analyzer-core.uninitialized.Assign): it cannot follow what a variant holds
    int code = 0; // errno
    Disposition disposition = Disposition::skipItem;
    std::string path; // raw bytes, the item in error; may be empty
    std::string text; // English, one clause without a full stop; the system's text for `code` unless set

    // An error with the system's own text for `code`. ENODEV becomes driveGone, everything else skipItem.
    [[nodiscard]] static Error fromErrno(int code, std::string path);
    // "path: text", for a log line.
    [[nodiscard]] std::string describe() const;
};

template <typename T> class [[nodiscard]] Result {
  public:
    Result(T value) : _state(std::in_place_index<0>, std::move(value)) {}
    Result(Error error) : _state(std::in_place_index<1>, std::move(error)) {}

    [[nodiscard]] bool ok() const { return _state.index() == 0; }
    explicit operator bool() const { return ok(); }
    [[nodiscard]] const T& value() const& { return checked(), std::get<0>(_state); }
    [[nodiscard]] T& value() & { return checked(), std::get<0>(_state); }
    [[nodiscard]] T&& value() && { return checked(), std::get<0>(std::move(_state)); }
    [[nodiscard]] const T& operator*() const& { return value(); }
    [[nodiscard]] T& operator*() & { return value(); }
    [[nodiscard]] T&& operator*() && { return std::move(*this).value(); }
    const T* operator->() const { return &value(); }
    T* operator->() { return &value(); }
    [[nodiscard]] T valueOr(T other) const& { return ok() ? value() : std::move(other); }
    [[nodiscard]] const Error& error() const { return std::get<1>(_state); }
    [[nodiscard]] int code() const { return ok() ? 0 : error().code; }

  private:
    void checked() const { assert(ok()); }
    std::variant<T, Error> _state;
};

template <> class [[nodiscard]] Result<void> {
  public:
    Result() = default;
    Result(Error error) : _error(std::move(error)) {}

    [[nodiscard]] bool ok() const { return !_error.has_value(); }
    explicit operator bool() const { return ok(); }
    [[nodiscard]] const Error& error() const { return *_error; }
    [[nodiscard]] int code() const { return ok() ? 0 : _error->code; }
    // For places where the rules say that a failure is ignored; says so at the call.
    void ignore() const {}

  private:
    std::optional<Error> _error;
};

} // namespace vt

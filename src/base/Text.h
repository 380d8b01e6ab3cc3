// The system's own texts: looked up in the message catalogue with the English text as key, then formatted.
// Placeholders: "%@" text or value description, "%d" "%i" "%ld" "%lld" signed, "%u" "%lu" unsigned, "%x" "%lx"
// hexadecimal,
// "%o" octal, "%s" text, "%f" real, each also with a position ("%1$@"), flags and width ("%03X", "%02hX"); "%%" is a
// percent sign. An argument's own percent signs are never looked at, and control characters of a text argument are
// shown, not obeyed (base/VisibleText.h): only the format's own line ends and those of a described value end a line. A
// placeholder without an argument is left as it stands.
#pragma once

#include "base/Value.h"

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <type_traits>
#include <variant>

namespace vt {

class TextArgument {
  public:
    TextArgument(const char* text) : _value(std::string_view(text)) {}
    TextArgument(std::string_view text) : _value(text) {}
    TextArgument(const std::string& text) : _value(std::string_view(text)) {}
    TextArgument(double number) : _value(number) {}
    TextArgument(const Value& value) : _value(&value) {}
    template <typename Integer, typename = std::enable_if_t<std::is_integral_v<Integer>>> TextArgument(Integer number) {
        if constexpr (std::is_signed_v<Integer>)
            _value = static_cast<std::int64_t>(number);
        else
            _value = static_cast<std::uint64_t>(number);
    }
    using Storage = std::variant<std::string_view, std::int64_t, std::uint64_t, double, const Value*>;
    [[nodiscard]] const Storage& storage() const { return _value; }

  private:
    Storage _value; // views only: an argument lives no longer than the call that it is written in
};

[[nodiscard]] std::string formatText(std::string_view format, std::initializer_list<TextArgument> arguments);

// The catalogue's text for `key`; a key without an entry is returned unchanged.
[[nodiscard]] std::string localised(const std::string& key);
// formatText(localised(key), arguments).
[[nodiscard]] std::string localisedText(const std::string& key, std::initializer_list<TextArgument> arguments);

} // namespace vt

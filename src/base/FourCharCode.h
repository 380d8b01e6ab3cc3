// A four-character code as scripting events, descriptors and media tracks use it.
#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace vt {

class FourCharCode {
  public:
    constexpr FourCharCode() = default;
    explicit constexpr FourCharCode(std::uint32_t value) : _value(value) {}
    // Exactly four bytes, first one most significant; null for any other length.
    [[nodiscard]] static std::optional<FourCharCode> fromText(std::string_view text);

    [[nodiscard]] constexpr std::uint32_t value() const { return _value; }
    [[nodiscard]] std::string text() const; // the four bytes

    constexpr auto operator<=>(const FourCharCode&) const = default;

  private:
    std::uint32_t _value = 0;
};

namespace literals {
// "vnTR"_fcc; a literal of any other length does not compile.
consteval FourCharCode operator""_fcc(const char* text, std::size_t length) {
    if (length != 4) throw "a four-character code has four characters";
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < 4; ++i) value = (value << 8U) | static_cast<unsigned char>(text[i]);
    return FourCharCode(value);
}
} // namespace literals

} // namespace vt

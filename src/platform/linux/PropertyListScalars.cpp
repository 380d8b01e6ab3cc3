#include "platform/linux/PropertyListScalars.h"

#include "base/Date.h"

#include <charconv>
#include <cstdint>
#include <string>
#include <system_error>

namespace vt::propertylist {
namespace {

constexpr std::string_view blanks = " \t\r\n";

std::string_view trimmed(std::string_view text) {
    const std::size_t start = text.find_first_not_of(blanks);
    if (start == std::string_view::npos) return {};
    return text.substr(start, text.find_last_not_of(blanks) - start + 1);
}

template <typename Number> bool readsWhole(std::string_view text, Number& number, int base) {
    const auto [end, failure] = std::from_chars(text.data(), text.data() + text.size(), number, base);
    return failure == std::errc() && end == text.data() + text.size();
}

std::string lowerCase(std::string_view text) {
    std::string lower(text);
    for (char& c : lower)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return lower;
}

} // namespace

bool isInteger(std::string_view text) {
    text = trimmed(text);
    if (text.starts_with('-')) {
        std::int64_t number = 0;
        return readsWhole(text, number, 10);
    }
    if (text.starts_with('+')) text.remove_prefix(1);
    std::uint64_t number = 0;
    if (text.starts_with("0x") || text.starts_with("0X")) return readsWhole(text.substr(2), number, 16);
    return readsWhole(text, number, 10);
}

bool isReal(std::string_view text) {
    text = trimmed(text);
    std::string_view unsignedText = text;
    if (text.starts_with('+') || text.starts_with('-')) unsignedText.remove_prefix(1);
    const std::string word = lowerCase(unsignedText);
    if (word == "nan" || word == "inf" || word == "infinity") return true;
    if (unsignedText.starts_with('+') || unsignedText.starts_with('-')) return false;
    double number = 0;
    const auto [end, failure] = std::from_chars(unsignedText.data(), unsignedText.data() + unsignedText.size(), number);
    return failure == std::errc() && end == unsignedText.data() + unsignedText.size();
}

bool isDate(std::string_view text) {
    text = trimmed(text);
    return text.size() == std::string_view("2013-05-21T14:03:07Z").size() && text[10] == 'T' && text.back() == 'Z' &&
           Date::parse(text).has_value();
}

bool isBase64(std::string_view text) {
    std::size_t digits = 0;
    std::size_t padding = 0;
    for (const char c : text) {
        if (blanks.find(c) != std::string_view::npos) continue;
        if (c == '=') {
            ++padding;
            continue;
        }
        const bool digit =
            (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '+' || c == '/';
        if (!digit || padding > 0) return false;
        ++digits;
    }
    return padding <= 2 && (digits + padding) % 4 == 0;
}

bool hasGoodReferences(std::string_view text) {
    for (std::size_t at = text.find("&#"); at != std::string_view::npos; at = text.find("&#", at + 1)) {
        const std::size_t end = text.find(';', at);
        if (end == std::string_view::npos) return false;
        std::string_view digits = text.substr(at + 2, end - at - 2);
        const bool hexadecimal = digits.starts_with('x') || digits.starts_with('X');
        if (hexadecimal) digits.remove_prefix(1);
        std::uint32_t character = 0;
        if (!readsWhole(digits, character, hexadecimal ? 16 : 10)) return false;
        if (character == 0 || character > 0x10ffff || (character >= 0xd800 && character <= 0xdfff)) return false;
    }
    return true;
}

} // namespace vt::propertylist

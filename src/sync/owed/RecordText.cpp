#include "sync/owed/RecordText.h"

namespace vt::recordtext {

namespace {
constexpr std::string_view digits = "0123456789ABCDEF";

std::string_view nextUpTo(char separator, std::string_view& text) {
    const auto end = text.find(separator);
    const std::string_view piece = text.substr(0, end);
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    return piece;
}
} // namespace

std::string escaped(std::string_view bytes) {
    std::string text;
    text.reserve(bytes.size());
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte <= 0x20 || byte == 0x7F || byte == '%') {
            text += '%';
            text += digits[byte >> 4U];
            text += digits[byte & 15U];
        } else {
            text += c;
        }
    }
    return text;
}

std::string unescaped(std::string_view text) {
    std::string bytes;
    bytes.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto high = text[i] == '%' && i + 2 < text.size() ? digits.find(text[i + 1]) : std::string_view::npos;
        const auto low = high != std::string_view::npos ? digits.find(text[i + 2]) : std::string_view::npos;
        if (low != std::string_view::npos) {
            bytes += static_cast<char>(high * 16 + low);
            i += 2;
        } else {
            bytes += text[i];
        }
    }
    return bytes;
}

std::string_view nextWord(std::string_view& line) {
    return nextUpTo(' ', line);
}

std::string_view nextLine(std::string_view& text) {
    return nextUpTo('\n', text);
}

} // namespace vt::recordtext

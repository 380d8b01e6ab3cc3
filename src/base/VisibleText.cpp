#include "base/VisibleText.h"

#include "base/Paths.h"

#include <cstddef>

namespace vt {
namespace {

constexpr std::string_view digits = "0123456789ABCDEF";
constexpr std::string_view lineSeparator = "\xe2\x80\xa8";
constexpr std::string_view paragraphSeparator = "\xe2\x80\xa9";

// A control character at the front: its code point, and its length in bytes. A length of 0: none.
struct Control {
    unsigned code = 0;
    std::size_t length = 0;
};

Control controlAt(std::string_view bytes) {
    const auto first = static_cast<unsigned char>(bytes.front());
    if (first < 0x20 || first == 0x7f) return {first, 1};
    if (first == 0xc2 && bytes.size() > 1) {
        const auto second = static_cast<unsigned char>(bytes[1]);
        if (second >= 0x80 && second <= 0x9f) return {second, 2};
    }
    if (bytes.starts_with(lineSeparator)) return {0x2028, lineSeparator.size()};
    if (bytes.starts_with(paragraphSeparator)) return {0x2029, paragraphSeparator.size()};
    return {};
}

std::string escapeOf(unsigned code) {
    if (code > 0xff) return code == 0x2028 ? "\\u2028" : "\\u2029";
    return {'\\', 'x', digits[code >> 4U], digits[code & 0x0fU]};
}

// `bytes` begins with a backslash: whether it reads as one of the escapes.
bool looksEscaped(std::string_view bytes) {
    if (bytes.starts_with("\\u2028") || bytes.starts_with("\\u2029")) return true;
    if (bytes.size() < 4 || bytes[1] != 'x') return false;
    const std::size_t high = digits.find(bytes[2]);
    const std::size_t low = digits.find(bytes[3]);
    if (high == std::string_view::npos || low == std::string_view::npos) return false;
    const std::size_t code = high * 16 + low;
    return code < 0x20 || (code >= 0x7f && code <= 0x9f) || code == '\\';
}

} // namespace

std::string visibleText(std::string_view bytes) {
    std::string text;
    text.reserve(bytes.size());
    while (!bytes.empty()) {
        const Control control = controlAt(bytes);
        if (control.length > 0)
            text += escapeOf(control.code);
        else if (bytes.front() == '\\' && looksEscaped(bytes))
            text += escapeOf('\\');
        else
            text += bytes.front();
        bytes.remove_prefix(control.length > 0 ? control.length : 1);
    }
    return text;
}

std::string messageText(std::string_view bytes) {
    const std::string valid = paths::displayText(bytes);
    std::string text;
    text.reserve(valid.size());
    for (std::string_view rest = valid; !rest.empty();) {
        const Control control = controlAt(rest);
        if (control.length > 0 && rest.front() != '\n' && rest.front() != '\t')
            text += escapeOf(control.code);
        else
            text += rest.front();
        rest.remove_prefix(control.length > 0 ? control.length : 1);
    }
    return text;
}

} // namespace vt

#include "sync/compare/NameRule.h"

#include <cstdint>

namespace vt {

namespace {

// The lower-case letter of a two-byte UTF-8 character, or the character itself.
std::uint32_t lowered(std::uint32_t c) {
    if (c >= 0xC0 && c <= 0xDE && c != 0xD7) return c + 0x20; // Latin-1
    if ((c >= 0x100 && c <= 0x137) || (c >= 0x14A && c <= 0x177)) return c | 1U;
    if ((c >= 0x139 && c <= 0x148) || (c >= 0x179 && c <= 0x17E)) return c + (c & 1U);
    if (c == 0x178) return 0xFF;
    if (c >= 0x391 && c <= 0x3A9) return c + 0x20; // Greek
    if (c == 0x386) return 0x3AC;
    if (c >= 0x388 && c <= 0x38A) return c + 0x25;
    if (c >= 0x410 && c <= 0x42F) return c + 0x20; // Cyrillic
    if (c >= 0x400 && c <= 0x40F) return c + 0x50;
    return c;
}

} // namespace

std::string NameRule::key(std::string_view text) const {
    std::string key(text);
    if (_caseSensitive) return key;
    for (std::size_t i = 0; i < key.size(); ++i) {
        const auto first = static_cast<unsigned char>(key[i]);
        if (first >= 'A' && first <= 'Z') {
            key[i] = static_cast<char>(first + 0x20);
        } else if (first >= 0xC3 && first <= 0xDF && i + 1 < key.size()) {
            const auto second = static_cast<unsigned char>(key[i + 1]);
            if ((second & 0xC0U) != 0x80) continue;
            const std::uint32_t c = lowered((static_cast<std::uint32_t>(first & 0x1FU) << 6U) | (second & 0x3FU));
            key[i] = static_cast<char>(0xC0U | (c >> 6U));
            key[i + 1] = static_cast<char>(0x80U | (c & 0x3FU));
            ++i;
        }
    }
    return key;
}

} // namespace vt

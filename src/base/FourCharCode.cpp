#include "base/FourCharCode.h"

namespace vt {

std::optional<FourCharCode> FourCharCode::fromText(std::string_view text) {
    if (text.size() != 4) return std::nullopt;
    std::uint32_t value = 0;
    for (const char c : text) value = (value << 8U) | static_cast<unsigned char>(c);
    return FourCharCode(value);
}

std::string FourCharCode::text() const {
    std::string bytes(4, '\0');
    for (std::size_t i = 0; i < 4; ++i) bytes[i] = static_cast<char>((_value >> (24U - 8U * i)) & 0xffU);
    return bytes;
}

} // namespace vt

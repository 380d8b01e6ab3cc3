#include "base/FileUrl.h"

#include "base/Paths.h"

namespace vt {

namespace {

constexpr std::string_view hexDigits = "0123456789ABCDEF";

bool isUnreserved(unsigned char byte) {
    return (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') || (byte >= '0' && byte <= '9') ||
           byte == '-' || byte == '.' || byte == '_' || byte == '~' || byte == '/';
}

int hexValue(char digit) {
    if (digit >= '0' && digit <= '9') return digit - '0';
    if (digit >= 'a' && digit <= 'f') return digit - 'a' + 10;
    if (digit >= 'A' && digit <= 'F') return digit - 'A' + 10;
    return -1;
}

bool equalsIgnoringCase(std::string_view text, std::string_view lowerCase) {
    if (text.size() != lowerCase.size()) return false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char byte = text[i];
        const char lower = byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte - 'A' + 'a') : byte;
        if (lower != lowerCase[i]) return false;
    }
    return true;
}

std::optional<std::string> unescape(std::string_view text) {
    std::string bytes;
    bytes.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        char byte = text[i];
        if (byte == '%') {
            if (i + 2 >= text.size()) return std::nullopt;
            const int high = hexValue(text[i + 1]);
            const int low = hexValue(text[i + 2]);
            if (high < 0 || low < 0) return std::nullopt;
            byte = static_cast<char>(high * 16 + low);
            i += 2;
        }
        if (byte == '\0') return std::nullopt;
        bytes.push_back(byte);
    }
    return bytes;
}

} // namespace

std::optional<std::string> fileUrlOfPath(std::string_view path) {
    if (path.empty() || path.front() != '/' || path.find('\0') != std::string_view::npos) return std::nullopt;
    std::string url = "file://";
    for (const char byte : path) {
        const auto value = static_cast<unsigned char>(byte);
        if (isUnreserved(value)) {
            url.push_back(byte);
        } else {
            url.push_back('%');
            url.push_back(hexDigits[value >> 4U]);
            url.push_back(hexDigits[value & 0x0FU]);
        }
    }
    return url;
}

std::optional<std::string> pathOfFileUrl(std::string_view url) {
    // A name that is not UTF-8 comes escaped.
    if (!paths::isValidUtf8(url)) return std::nullopt;
    constexpr std::string_view scheme = "file:";
    if (url.size() <= scheme.size() || !equalsIgnoringCase(url.substr(0, scheme.size()), scheme)) return std::nullopt;
    std::string_view rest = url.substr(scheme.size());
    if (rest.starts_with("//")) {
        rest.remove_prefix(2);
        const std::size_t slash = rest.find('/');
        if (slash == std::string_view::npos) return std::nullopt;
        const std::string_view host = rest.substr(0, slash);
        if (!host.empty() && !equalsIgnoringCase(host, "localhost")) return std::nullopt;
        rest.remove_prefix(slash);
    }
    if (rest.empty() || rest.front() != '/') return std::nullopt;
    // A query or a fragment is no part of a path, and a file URL has no use for either.
    if (rest.find_first_of("?#") != std::string_view::npos) return std::nullopt;
    return unescape(rest);
}

} // namespace vt

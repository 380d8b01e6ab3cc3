#include "base/Paths.h"

#include <cstddef>
#include <utility>

namespace vt {
namespace paths {
namespace {

std::string_view withoutTrailingSlashes(std::string_view path) {
    while (path.size() > 1 && path.back() == '/') path.remove_suffix(1);
    return path;
}

// Length of the well-formed character at the front of `bytes`, 0 when there is none: no overlong form, no surrogate,
// nothing above U+10FFFF.
std::size_t utf8Length(std::string_view bytes) {
    const auto at = [&](std::size_t i) { return static_cast<unsigned char>(bytes[i]); };
    const unsigned char first = at(0);
    if (first < 0x80) return 1;
    std::size_t length = 0;
    unsigned char low = 0x80;
    unsigned char high = 0xbf;
    if (first >= 0xc2 && first <= 0xdf) {
        length = 2;
    } else if (first >= 0xe0 && first <= 0xef) {
        length = 3;
        if (first == 0xe0) low = 0xa0;
        if (first == 0xed) high = 0x9f;
    } else if (first >= 0xf0 && first <= 0xf4) {
        length = 4;
        if (first == 0xf0) low = 0x90;
        if (first == 0xf4) high = 0x8f;
    } else {
        return 0;
    }
    if (bytes.size() < length || at(1) < low || at(1) > high) return 0;
    for (std::size_t i = 2; i < length; ++i)
        if ((at(i) & 0xc0U) != 0x80) return 0;
    return length;
}

} // namespace

std::string join(std::string_view base, std::string_view component) {
    while (!component.empty() && component.front() == '/' && !base.empty()) component.remove_prefix(1);
    base = withoutTrailingSlashes(base);
    if (component.empty()) return std::string(base);
    std::string path(base);
    if (!path.empty() && path.back() != '/') path += '/';
    path += component;
    return path;
}

std::string lastComponent(std::string_view path) {
    path = withoutTrailingSlashes(path);
    if (path == "/") return "/";
    const std::size_t slash = path.rfind('/');
    return std::string(slash == std::string_view::npos ? path : path.substr(slash + 1));
}

std::string parent(std::string_view path) {
    path = withoutTrailingSlashes(path);
    const std::size_t slash = path.rfind('/');
    if (slash == std::string_view::npos) return "";
    return std::string(withoutTrailingSlashes(path.substr(0, slash + 1)));
}

std::vector<std::string> components(std::string_view path) {
    std::vector<std::string> result;
    if (isAbsolute(path)) result.emplace_back("/");
    while (!path.empty()) {
        const std::size_t slash = path.find('/');
        const std::string_view component = path.substr(0, slash);
        if (!component.empty()) result.emplace_back(component);
        if (slash == std::string_view::npos) break;
        path.remove_prefix(slash + 1);
    }
    return result;
}

std::string joinComponents(const std::vector<std::string>& components) {
    std::string path;
    for (const std::string& component : components) {
        if (!path.empty() && path.back() != '/') path += '/';
        path += component;
    }
    return path;
}

std::string extension(std::string_view path) {
    const std::string name = lastComponent(path);
    const std::size_t dot = name.rfind('.');
    if (dot == std::string::npos || dot == 0) return "";
    return name.substr(dot + 1);
}

bool isAbsolute(std::string_view path) {
    return !path.empty() && path.front() == '/';
}

bool isAtOrBelow(std::string_view path, std::string_view ancestor) {
    if (ancestor.empty()) return false;
    path = withoutTrailingSlashes(path);
    ancestor = withoutTrailingSlashes(ancestor);
    if (ancestor == "/") return isAbsolute(path);
    if (!path.starts_with(ancestor)) return false;
    return path.size() == ancestor.size() || path[ancestor.size()] == '/';
}

std::string clean(std::string_view path) {
    std::vector<std::string> kept;
    for (std::string& component : components(path)) {
        if (component == ".") continue;
        if (component == "..") {
            const bool nothingToDrop = kept.empty() || kept.back() == "..";
            if (!nothingToDrop && kept.back() != "/") kept.pop_back();
            // Only a relative path keeps what leads out of it.
            if (nothingToDrop) kept.push_back(std::move(component));
            continue;
        }
        kept.push_back(std::move(component));
    }
    return joinComponents(kept);
}

bool isValidUtf8(std::string_view bytes) {
    while (!bytes.empty()) {
        const std::size_t length = utf8Length(bytes);
        if (length == 0) return false;
        bytes.remove_prefix(length);
    }
    return true;
}

std::string displayText(std::string_view bytes) {
    std::string text;
    text.reserve(bytes.size());
    while (!bytes.empty()) {
        const std::size_t length = utf8Length(bytes);
        if (length == 0)
            text += "\xef\xbf\xbd";
        else
            text += bytes.substr(0, length);
        bytes.remove_prefix(length == 0 ? 1 : length);
    }
    return text;
}

} // namespace paths

HomePaths::HomePaths(std::string home) : _home(std::move(home)) {
    while (_home.size() > 1 && _home.back() == '/') _home.pop_back();
}

std::string HomePaths::expandTilde(std::string_view path) const {
    if (path == "~") return _home;
    if (!path.starts_with("~/")) return std::string(path);
    if (_home == "/") return std::string(path.substr(1));
    return _home + std::string(path.substr(1));
}

std::string HomePaths::abbreviate(std::string_view path) const {
    // A home folder at the root would turn every path of the computer into one of the user.
    if (_home.empty() || _home == "/" || !path.starts_with(_home)) return std::string(path);
    const std::string_view rest = path.substr(_home.size());
    if (!rest.empty() && rest.front() != '/') return std::string(path);
    return "~" + std::string(rest);
}

std::string HomePaths::standardise(std::string_view path) const {
    return paths::clean(expandTilde(path));
}

} // namespace vt

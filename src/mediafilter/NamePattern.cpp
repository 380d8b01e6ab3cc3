#include "mediafilter/NamePattern.h"

#include <algorithm>
#include <clocale>

namespace vt {

namespace {

// The C locale for this thread while it lives.
class CLocale {
  public:
    CLocale() : _before(uselocale(theCLocale())) {}
    ~CLocale() { uselocale(_before); }
    CLocale(const CLocale&) = delete;
    CLocale& operator=(const CLocale&) = delete;

  private:
    static locale_t theCLocale() {
        static const locale_t locale = newlocale(LC_ALL_MASK, "C", nullptr);
        return locale;
    }
    locale_t _before;
};

bool isWordByte(char byte) {
    return (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') || (byte >= '0' && byte <= '9') || byte == '_';
}

std::string folded(std::string_view text) {
    std::string result(text);
    std::transform(result.begin(), result.end(), result.begin(), foldedByte);
    return result;
}

bool endsWithFolded(std::string_view name, std::string_view lowerCaseEnd) {
    if (name.size() < lowerCaseEnd.size()) return false;
    const std::string_view end = name.substr(name.size() - lowerCaseEnd.size());
    return std::equal(end.begin(), end.end(), lowerCaseEnd.begin(), [](char a, char b) { return foldedByte(a) == b; });
}

bool holdsFolded(std::string_view name, std::string_view lowerCaseText) {
    return std::search(name.begin(), name.end(), lowerCaseText.begin(), lowerCaseText.end(),
                       [](char a, char b) { return foldedByte(a) == b; }) != name.end();
}

// "mp4" from ".*\.mp4$"; empty for every other shape.
std::string extensionOfSuffixPattern(std::string_view pattern) {
    constexpr std::string_view start = R"(.*\.)";
    if (!pattern.starts_with(start) || !pattern.ends_with('$')) return {};
    const std::string_view extension = pattern.substr(start.size(), pattern.size() - start.size() - 1);
    const bool plain = !extension.empty() && std::all_of(extension.begin(), extension.end(), isWordByte);
    return plain ? folded(extension) : std::string();
}

// The first run of plain bytes of a pattern without alternatives and groups: no name matches without it. The byte
// before a repetition sign may be absent and does not count.
std::string textRequiredBy(std::string_view pattern) {
    if (pattern.find_first_of("|(){}") != std::string_view::npos) return {};
    const std::size_t start =
        static_cast<std::size_t>(std::find_if(pattern.begin(), pattern.end(), isWordByte) - pattern.begin());
    if (pattern.substr(0, start).find('[') != std::string_view::npos) return {};
    if (start > 0 && pattern[start - 1] == '\\') return {};
    std::size_t end = start;
    while (end < pattern.size() && isWordByte(pattern[end])) ++end;
    if (end < pattern.size() && (pattern[end] == '?' || pattern[end] == '*' || pattern[end] == '+')) --end;
    return end > start ? folded(pattern.substr(start, end - start)) : std::string();
}

} // namespace

NamePattern::NamePattern(std::string_view pattern, bool ignoreCase) {
    auto expression = std::make_unique<regex_t>();
    {
        const CLocale locale;
        _compileResult = regcomp(expression.get(), std::string(pattern).c_str(),
                                 REG_EXTENDED | REG_NOSUB | (ignoreCase ? REG_ICASE : 0));
    }
    if (_compileResult != 0) return; // nothing to free then
    _expression.reset(expression.release());
    _matchesEverything = pattern == ".*";
    if (ignoreCase) _plainExtension = extensionOfSuffixPattern(pattern);
    _requiredText = textRequiredBy(pattern);
}

void NamePattern::Free::operator()(regex_t* expression) const {
    regfree(expression);
    delete expression;
}

bool NamePattern::matches(std::string_view name) const {
    if (_compileResult != 0) return false;
    if (_matchesEverything) return true;
    if (!_plainExtension.empty()) {
        if (!endsWithFolded(name, _plainExtension)) return false;
        return name.size() > _plainExtension.size() && name[name.size() - _plainExtension.size() - 1] == '.';
    }
    return holdsFolded(name, _requiredText) && matchesByEngine(name);
}

bool NamePattern::matchesByEngine(std::string_view name) const {
    if (_expression == nullptr) return false;
    const CLocale locale; // the engine folds case by the locale of the call, not of the compilation
    return regexec(_expression.get(), std::string(name).c_str(), 0, nullptr, 0) == 0;
}

} // namespace vt

#include "platform/linux/DesktopSettings.h"

namespace vt {
namespace {

constexpr std::string_view blanks = " \t\r";

std::string_view trimmed(std::string_view text) {
    const std::size_t start = text.find_first_not_of(blanks);
    if (start == std::string_view::npos) return {};
    return text.substr(start, text.find_last_not_of(blanks) - start + 1);
}

std::string unquoted(std::string_view text) {
    const char quote = text.empty() ? '\0' : text.front();
    if (quote != '"' && quote != '\'') return std::string(text);
    std::string result;
    for (std::size_t i = 1; i < text.size() && text[i] != quote; ++i) {
        if (text[i] == '\\' && quote == '"' && i + 1 < text.size()) ++i;
        result += text[i];
    }
    return result;
}

} // namespace

std::map<std::string, std::string> readAssignments(std::string_view text) {
    std::map<std::string, std::string> assignments;
    while (!text.empty()) {
        const std::size_t end = text.find('\n');
        const std::string_view line = trimmed(text.substr(0, end));
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
        const std::size_t equals = line.find('=');
        if (line.empty() || line.front() == '#' || equals == std::string_view::npos) continue;
        assignments.insert_or_assign(std::string(trimmed(line.substr(0, equals))),
                                     unquoted(trimmed(line.substr(equals + 1))));
    }
    return assignments;
}

} // namespace vt

#include "sync/journal/JournalText.h"

#include <charconv>

namespace vt::journaltext {
namespace {

constexpr std::string_view digits = "0123456789ABCDEF";

std::string escaped(std::string_view path) {
    std::string text;
    text.reserve(path.size());
    for (const char c : path) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte >= 0x20 && byte < 0x7F && c != '%') {
            text += c;
        } else {
            text += '%';
            text += digits[byte >> 4U];
            text += digits[byte & 15U];
        }
    }
    return text;
}

std::string unescaped(std::string_view text) {
    std::string path;
    path.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        unsigned value = 0;
        const bool code =
            text[i] == '%' && i + 2 < text.size() + 0U &&
            std::from_chars(text.data() + i + 1, text.data() + i + 3, value, 16).ptr == text.data() + i + 3;
        path += code ? static_cast<char>(value) : text[i];
        if (code) i += 2;
    }
    return path;
}

std::optional<Date> dateOf(std::string_view text) {
    std::int64_t nanoseconds = 0;
    const auto [end, code] = std::from_chars(text.data(), text.data() + text.size(), nanoseconds);
    if (code != std::errc() || end != text.data() + text.size()) return std::nullopt;
    return Date::fromNanoseconds(nanoseconds);
}

void take(JournalGroup& group, std::string_view line) {
    const std::size_t blank = line.find(' ');
    if (blank == std::string_view::npos) return;
    const std::string_view key = line.substr(0, blank);
    const std::string_view rest = line.substr(blank + 1);
    if (key == "boot") group.bootId = rest;
    if (key == "start") group.start = dateOf(rest).value_or(Date::missing());
    if (key == "item") group.items.push_back(unescaped(rest));
    if (key != "file" && key != "over") return;
    const std::size_t second = rest.find(' ');
    if (second == std::string_view::npos) return;
    auto& dates = key == "file" ? group.files : group.replaced;
    if (const auto date = dateOf(rest.substr(0, second))) dates[unescaped(rest.substr(second + 1))] = *date;
}

} // namespace

std::string header(const JournalGroup& group) {
    std::string text = "boot " + group.bootId + "\nstart " + std::to_string(group.start.nanoseconds()) + "\n";
    for (const auto& item : group.items) text += "item " + escaped(item) + "\n";
    return text;
}

std::string fileLines(const std::string& path, Date written, std::optional<Date> replaced) {
    const std::string end = " " + escaped(path) + "\n";
    std::string text = "file " + std::to_string(written.nanoseconds()) + end;
    if (replaced) text += "over " + std::to_string(replaced->nanoseconds()) + end;
    return text;
}

std::string whole(const JournalGroup& group) {
    std::string text = header(group);
    for (const auto& [path, written] : group.files) {
        const auto replaced = group.replaced.find(path);
        text +=
            fileLines(path, written, replaced == group.replaced.end() ? std::nullopt : std::optional(replaced->second));
    }
    return text;
}

JournalGroup parse(std::string_view text) {
    JournalGroup group;
    group.start = Date::missing(); // without a start everything below the items is in doubt
    while (!text.empty()) {
        const std::size_t end = text.find('\n');
        if (end == std::string_view::npos) break;
        take(group, text.substr(0, end));
        text.remove_prefix(end + 1);
    }
    return group;
}

} // namespace vt::journaltext

#include "base/Value.h"

#include "base/Paths.h"
#include "base/VisibleText.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <type_traits>

namespace vt {
namespace {

template <typename Integer> Integer saturated(double real) {
    if (std::isnan(real)) return 0;
    const double whole = std::trunc(real);
    if (whole <= static_cast<double>(std::numeric_limits<Integer>::min())) return std::numeric_limits<Integer>::min();
    if (whole >= static_cast<double>(std::numeric_limits<Integer>::max())) return std::numeric_limits<Integer>::max();
    return static_cast<Integer>(whole);
}

std::string realText(double real) {
    char text[64];
    const auto end = std::to_chars(text, text + sizeof text, real);
    return {text, end.ptr};
}

bool textIsTrue(std::string_view text) {
    const std::size_t start = text.find_first_not_of(" \t\r\n");
    if (start == std::string_view::npos) return false;
    text.remove_prefix(start);
    if (text.front() == '+' || text.front() == '-') text.remove_prefix(1);
    while (!text.empty() && text.front() == '0') text.remove_prefix(1);
    if (text.empty()) return false;
    return std::string_view("YyTt123456789").find(text.front()) != std::string_view::npos;
}

bool needsNoQuotes(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
}

// A text inside a container: bare when it is one plain word, else in quotes.
std::string quoted(const std::string& text) {
    if (!text.empty() && std::all_of(text.begin(), text.end(), needsNoQuotes)) return text;
    std::string result = "\"";
    for (const char c : paths::displayText(text)) {
        if (c == '"' || c == '\\') result += '\\';
        if (c == '\n')
            result += "\\n";
        else
            result += c;
    }
    return messageText(result + '"'); // what other control characters it holds
}

std::string dataText(const std::string& bytes) {
    static constexpr const char* digits = "0123456789abcdef";
    std::string text = "<";
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        if (i > 0 && i % 4 == 0) text += ' ';
        const auto byte = static_cast<unsigned char>(bytes[i]);
        text += digits[byte >> 4U];
        text += digits[byte & 0x0fU];
    }
    return text + '>';
}

void describe(const Value& value, std::size_t indent, bool inside, std::string& out);

void describeArray(const Value::Array& array, std::size_t indent, std::string& out) {
    out += "(\n";
    for (std::size_t i = 0; i < array.size(); ++i) {
        out.append(indent + 4, ' ');
        describe(array[i], indent + 4, true, out);
        out += i + 1 < array.size() ? ",\n" : "\n";
    }
    out.append(indent, ' ');
    out += ')';
}

void describeDictionary(const Value::Dictionary& dictionary, std::size_t indent, std::string& out) {
    out += "{\n";
    for (const auto& [key, value] : dictionary) {
        out.append(indent + 4, ' ');
        out += quoted(key) + " = ";
        describe(value, indent + 4, true, out);
        out += ";\n";
    }
    out.append(indent, ' ');
    out += '}';
}

void describe(const Value& value, std::size_t indent, bool inside, std::string& out) {
    std::visit(
        [&](const auto& held) {
            using Held = std::decay_t<decltype(held)>;
            if constexpr (std::is_same_v<Held, std::monostate>)
                out += "(null)";
            else if constexpr (std::is_same_v<Held, bool>)
                out += held ? '1' : '0';
            else if constexpr (std::is_integral_v<Held>)
                out += std::to_string(held);
            else if constexpr (std::is_same_v<Held, double>)
                out += inside ? quoted(realText(held)) : realText(held);
            else if constexpr (std::is_same_v<Held, std::string>)
                out += inside ? quoted(held) : held;
            else if constexpr (std::is_same_v<Held, Date>)
                out += inside ? quoted(held.standardText()) : held.standardText();
            else if constexpr (std::is_same_v<Held, Value::Data>)
                out += dataText(held.bytes);
            else if constexpr (std::is_same_v<Held, Value::Uid>)
                out += "<uid " + std::to_string(held.index) + '>';
            else if constexpr (std::is_same_v<Held, Value::Array>)
                describeArray(held, indent, out);
            else
                describeDictionary(held, indent, out);
        },
        value.storage());
}

} // namespace

bool Value::isNumber() const {
    return std::holds_alternative<bool>(_storage) || std::holds_alternative<std::int64_t>(_storage) ||
           std::holds_alternative<std::uint64_t>(_storage) || std::holds_alternative<double>(_storage);
}

std::int64_t Value::integerValue() const {
    if (const auto* held = std::get_if<bool>(&_storage)) return *held ? 1 : 0;
    if (const auto* held = std::get_if<std::int64_t>(&_storage)) return *held;
    if (const auto* held = std::get_if<std::uint64_t>(&_storage))
        return static_cast<std::int64_t>(
            std::min<std::uint64_t>(*held, static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())));
    if (const auto* held = std::get_if<double>(&_storage)) return saturated<std::int64_t>(*held);
    return 0;
}

std::uint64_t Value::unsignedValue() const {
    if (const auto* held = std::get_if<bool>(&_storage)) return *held ? 1 : 0;
    if (const auto* held = std::get_if<std::int64_t>(&_storage))
        return static_cast<std::uint64_t>(std::max<std::int64_t>(*held, 0));
    if (const auto* held = std::get_if<std::uint64_t>(&_storage)) return *held;
    if (const auto* held = std::get_if<double>(&_storage)) return saturated<std::uint64_t>(*held);
    return 0;
}

double Value::realValue() const {
    if (const auto* held = std::get_if<bool>(&_storage)) return *held ? 1 : 0;
    if (const auto* held = std::get_if<std::int64_t>(&_storage)) return static_cast<double>(*held);
    if (const auto* held = std::get_if<std::uint64_t>(&_storage)) return static_cast<double>(*held);
    if (const auto* held = std::get_if<double>(&_storage)) return *held;
    return 0;
}

bool Value::boolValue() const {
    if (const auto* text = asString()) return textIsTrue(*text);
    if (const auto* real = std::get_if<double>(&_storage)) return *real != 0;
    return unsignedValue() != 0 || integerValue() != 0;
}

std::string Value::description() const {
    std::string text;
    describe(*this, 0, false, text);
    return text;
}

Value::Array arrayOfStrings(const std::vector<std::string>& strings) {
    return {strings.begin(), strings.end()};
}

std::vector<std::string> stringsOfArray(const Value::Array& array) {
    std::vector<std::string> strings;
    for (const Value& value : array)
        if (const std::string* text = value.asString()) strings.push_back(*text);
    return strings;
}

} // namespace vt

#include "base/Text.h"

#include "base/VisibleText.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <libintl.h>
#include <mutex>
#include <optional>

namespace vt {
namespace {

// One placeholder as it stands in the format.
struct Placeholder {
    std::string_view source;  // the whole of it, from "%" to the conversion
    std::size_t position = 0; // 1-based; 0: the next argument in order
    bool left = false;
    bool zeros = false;
    bool plus = false;
    bool space = false;
    bool alternate = false;
    std::size_t width = 0;
    std::optional<std::size_t> precision;
    int bits = 0; // from the length modifier; 0: none given
    char conversion = 0;
};

constexpr std::size_t widest = 4096; // a catalogue's slip must not ask for gigabytes

class PlaceholderReader {
  public:
    explicit PlaceholderReader(std::string_view text) : _text(text) {}

    // `text` begins with "%". Null when what follows is no placeholder.
    std::optional<Placeholder> read() {
        Placeholder p;
        const std::size_t start = _at;
        if (const auto number = digits(); number && take('$'))
            p.position = *number;
        else
            _at = start;
        readFlags(p);
        p.width = digits().value_or(0);
        if (take('.')) p.precision = digits().value_or(0);
        readLength(p);
        if (_at >= _text.size() || p.width > widest || p.precision.value_or(0) > widest) return std::nullopt;
        p.conversion = _text[_at++];
        if (std::string_view("@diuxXosfFeg").find(p.conversion) == std::string_view::npos) return std::nullopt;
        p.source = _text.substr(0, _at);
        return p;
    }

  private:
    bool take(char wanted) {
        if (_at >= _text.size() || _text[_at] != wanted) return false;
        ++_at;
        return true;
    }
    std::optional<std::size_t> digits() {
        std::size_t number = 0;
        const char* begin = _text.data() + _at;
        const auto [end, failure] = std::from_chars(begin, _text.data() + _text.size(), number);
        if (failure != std::errc()) return std::nullopt;
        _at += static_cast<std::size_t>(end - begin);
        return number;
    }
    void readFlags(Placeholder& p) {
        for (bool more = true; more;) {
            if (take('-'))
                p.left = true;
            else if (take('0'))
                p.zeros = true;
            else if (take('+'))
                p.plus = true;
            else if (take(' '))
                p.space = true;
            else if (take('#'))
                p.alternate = true;
            else
                more = false;
        }
    }
    void readLength(Placeholder& p) {
        if (take('h'))
            p.bits = take('h') ? 8 : 16;
        else if (take('l') || take('q') || take('z') || take('j') || take('t'))
            p.bits = 64;
        take('l'); // "%lld" is "%ld" here
    }

    std::string_view _text;
    std::size_t _at = 1;
};

std::string plainText(const TextArgument& argument) {
    return std::visit(
        [](const auto& held) -> std::string {
            using Held = std::decay_t<decltype(held)>;
            if constexpr (std::is_same_v<Held, std::string_view>)
                return visibleText(held);
            else if constexpr (std::is_same_v<Held, const Value*>)
                return held->asString() != nullptr ? visibleText(*held->asString()) : held->description();
            else
                return Value(held).description();
        },
        argument.storage());
}

// The argument as a number; null for a text, which is then shown as it is.
std::optional<Value> numberOf(const TextArgument& argument) {
    return std::visit(
        [](const auto& held) -> std::optional<Value> {
            using Held = std::decay_t<decltype(held)>;
            if constexpr (std::is_same_v<Held, std::string_view>)
                return std::nullopt;
            else if constexpr (std::is_same_v<Held, const Value*>)
                return held->isNumber() ? std::optional<Value>(*held) : std::nullopt;
            else
                return Value(held);
        },
        argument.storage());
}

std::string padded(const std::string& sign, const std::string& body, const Placeholder& p, bool zerosAllowed) {
    const std::size_t length = sign.size() + body.size();
    if (length >= p.width) return sign + body;
    const std::size_t missing = p.width - length;
    if (p.left) return sign + body + std::string(missing, ' ');
    if (p.zeros && zerosAllowed) return sign + std::string(missing, '0') + body;
    return std::string(missing, ' ') + sign + body;
}

std::string signOf(bool negative, const Placeholder& p) {
    if (negative) return "-";
    if (p.plus) return "+";
    return p.space ? " " : "";
}

std::string withPrecision(const std::string& digits, const Placeholder& p) {
    const std::size_t least = p.precision.value_or(1);
    return digits.size() < least ? std::string(least - digits.size(), '0') + digits : digits;
}

std::string formatSigned(const Value& number, const Placeholder& p) {
    // A count above the signed range stays the count that it is.
    const bool large = number.unsignedValue() > static_cast<std::uint64_t>(INT64_MAX);
    std::string digits = large ? std::to_string(number.unsignedValue()) : std::to_string(number.integerValue());
    const bool negative = digits.front() == '-';
    if (negative) digits.erase(0, 1);
    return padded(signOf(negative, p), withPrecision(digits, p), p, !p.precision);
}

std::string formatUnsigned(const Value& number, const Placeholder& p, int base) {
    std::uint64_t bits = number.unsignedValue();
    const std::int64_t asSigned = number.integerValue();
    if (asSigned < 0) {
        bits = static_cast<std::uint64_t>(asSigned);
        // A negative number shows its two's complement in the width that the placeholder names.
        if (p.bits == 0 && asSigned >= INT32_MIN) bits &= 0xffffffffU;
    }
    if (p.bits == 16) bits &= 0xffffU;
    if (p.bits == 8) bits &= 0xffU;
    char text[32];
    const auto end = std::to_chars(text, text + sizeof text, bits, base);
    std::string digits(text, end.ptr);
    if (p.conversion == 'X')
        for (char& c : digits)
            if (c >= 'a') c = static_cast<char>(c - 'a' + 'A');
    std::string prefix;
    if (p.alternate && base == 16 && bits != 0) prefix = p.conversion == 'X' ? "0X" : "0x";
    return padded(prefix, withPrecision(digits, p), p, !p.precision);
}

std::string formatReal(const Value& number, const Placeholder& p) {
    std::string text(512 + p.precision.value_or(0), '\0');
    auto style = std::chars_format::fixed;
    if (p.conversion == 'e') style = std::chars_format::scientific;
    if (p.conversion == 'g') style = std::chars_format::general;
    // Not printf: the decimal point does not follow the locale.
    const auto end = std::to_chars(text.data(), text.data() + text.size(), number.realValue(), style,
                                   static_cast<int>(p.precision.value_or(6)));
    text.resize(static_cast<std::size_t>(end.ptr - text.data()));
    const bool negative = !text.empty() && text.front() == '-';
    if (negative) text.erase(0, 1);
    return padded(signOf(negative, p), text, p, true);
}

std::string formatArgument(const TextArgument& argument, const Placeholder& p) {
    const auto number = p.conversion == '@' || p.conversion == 's' ? std::nullopt : numberOf(argument);
    if (!number) {
        std::string text = plainText(argument);
        if (p.conversion == 's' && p.precision) text.resize(std::min(text.size(), *p.precision));
        return padded("", text, p, false);
    }
    switch (p.conversion) {
    case 'd':
    case 'i':
        return formatSigned(*number, p);
    case 'u':
        return formatUnsigned(*number, p, 10);
    case 'o':
        return formatUnsigned(*number, p, 8);
    case 'x':
    case 'X':
        return formatUnsigned(*number, p, 16);
    default:
        return formatReal(*number, p);
    }
}

} // namespace

std::string formatText(std::string_view format, std::initializer_list<TextArgument> arguments) {
    std::string result;
    std::size_t next = 0;
    while (!format.empty()) {
        const std::size_t percent = format.find('%');
        result += format.substr(0, percent);
        if (percent == std::string_view::npos) break;
        format.remove_prefix(percent);
        if (format.starts_with("%%")) {
            result += '%';
            format.remove_prefix(2);
            continue;
        }
        const auto placeholder = PlaceholderReader(format).read();
        if (!placeholder) {
            result += '%';
            format.remove_prefix(1);
            continue;
        }
        const std::size_t index = placeholder->position > 0 ? placeholder->position - 1 : next++;
        if (index < arguments.size())
            result += formatArgument(arguments.begin()[index], *placeholder);
        else
            result += placeholder->source;
        format.remove_prefix(placeholder->source.size());
    }
    return result;
}

std::string localised(const std::string& key) {
    static constexpr const char* domain = "vantaro";
    static std::once_flag bound;
    std::call_once(bound, [] {
        bindtextdomain(domain, VANTARO_LOCALE_DIR);
        bind_textdomain_codeset(domain, "UTF-8");
    });
    if (key.empty()) return key; // the empty key is the catalogue's own header
    return dgettext(domain, key.c_str());
}

std::string localisedText(const std::string& key, std::initializer_list<TextArgument> arguments) {
    return formatText(localised(key), arguments);
}

} // namespace vt

#include "sync/DiskSize.h"

#include <charconv>
#include <string>
#include <vector>

namespace vt {

namespace {

constexpr std::string_view blanks = " \t\r\n";

int shiftForUnit(std::string_view unit) {
    if (unit == "TB" || unit == "Ti") return 40;
    if (unit == "GB" || unit == "Gi") return 30;
    if (unit == "MB" || unit == "Mi") return 20;
    if (unit == "KB" || unit == "Ki") return 10;
    return 0;
}

int leadingNumber(std::string_view text) {
    int number = 0;
    std::from_chars(text.data(), text.data() + text.size(), number);
    return number;
}

} // namespace

std::int64_t parseDiskSize(std::string_view text) {
    const auto start = text.find_first_not_of(blanks);
    if (start == std::string_view::npos) return 0;
    text.remove_prefix(start);
    double number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || !(number > -9e17 && number < 9e17)) return 0;
    const auto tenths = static_cast<std::int64_t>(number * 10.0);

    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    const auto unitStart = text.find_first_not_of(blanks);
    std::string_view unit;
    if (unitStart != std::string_view::npos) {
        unit = text.substr(unitStart);
        unit = unit.substr(0, unit.find_first_of(blanks));
    }
    const int shift = shiftForUnit(unit);
    // Terabytes are shifted from 32 bits, as the size field that once held them had.
    const std::uint64_t scaled = shift == 40 ? static_cast<std::uint32_t>(tenths) : static_cast<std::uint64_t>(tenths);
    return static_cast<std::int64_t>(scaled << static_cast<unsigned>(shift)) / 10;
}

bool systemVersionAllowsExFat(std::string_view productVersion) {
    std::vector<int> parts;
    while (true) {
        const auto dot = productVersion.find('.');
        parts.push_back(leadingNumber(productVersion.substr(0, dot)));
        if (dot == std::string_view::npos) break;
        productVersion.remove_prefix(dot + 1);
    }
    if (parts.size() < 2) return false;
    if (parts[0] >= 10 && parts[1] > 6) return true;
    return parts.size() == 3 && parts[1] == 6 && parts[2] > 4;
}

} // namespace vt

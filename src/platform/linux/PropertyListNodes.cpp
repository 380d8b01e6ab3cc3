#include "platform/linux/PropertyListNodes.h"

#include "base/Paths.h"
#include "platform/linux/PropertyListLimits.h"

#include <bit>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace vt::propertylist {
namespace {

constexpr std::int64_t epoch2001 = 978'307'200; // seconds from 1970

struct Free {
    void operator()(void* memory) const { std::free(memory); }
};
template <typename T> using Allocated = std::unique_ptr<T, Free>;

std::string bigEndian(std::uint64_t number) {
    std::string bytes;
    for (unsigned shift = 64; shift > 0; shift -= 8) bytes += static_cast<char>((number >> (shift - 8)) & 0xffU);
    return bytes;
}

// One scalar as the library's binary form has it: marker and payload. Its own calls cut dates to 32 bits of seconds
// and make no difference between -1 and the largest unsigned number; the binary form is exact.
std::string binaryScalar(plist_t node) {
    char* bytes = nullptr;
    std::uint32_t length = 0;
    plist_to_bin(node, &bytes, &length);
    const Allocated<char> owner(bytes);
    constexpr std::uint32_t around = 8 + 1 + 32; // header, one offset, trailer
    if (bytes == nullptr || length <= around) return "";
    return {bytes + 8, length - around};
}

NodePtr nodeOfBinaryScalar(const std::string& scalar) {
    std::string bytes = "bplist00" + scalar;
    const std::uint64_t table = bytes.size();
    bytes += '\x08';
    bytes += std::string(6, '\0') + "\x01\x01" + bigEndian(1) + bigEndian(0) + bigEndian(table);
    plist_t node = nullptr;
    plist_from_bin(bytes.data(), static_cast<std::uint32_t>(bytes.size()), &node);
    return NodePtr(node);
}

std::uint64_t lastEightBytes(const std::string& scalar) {
    std::uint64_t number = 0;
    for (const char c : scalar.substr(scalar.size() - 8)) number = (number << 8U) | static_cast<unsigned char>(c);
    return number;
}

Value integerOf(plist_t node) {
    std::uint64_t number = 0;
    plist_get_uint_val(node, &number);
    if (number <= static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max()))
        return static_cast<std::int64_t>(number);
    const std::string scalar = binaryScalar(node);
    const bool large = !scalar.empty() && scalar.front() == '\x14';
    return large ? Value(number) : Value(static_cast<std::int64_t>(number));
}

Result<Value> dateOf(plist_t node) {
    const std::string scalar = binaryScalar(node);
    if (scalar.size() != 9) return refuse("a date without a value");
    const auto seconds = std::bit_cast<double>(lastEightBytes(scalar));
    if (!std::isfinite(seconds)) return refuse("a date that is no number");
    return Value(Date::fromSeconds(epoch2001).plusSeconds(seconds));
}

Result<Value> stringOf(plist_t node) {
    std::uint64_t length = 0;
    const char* text = plist_get_string_ptr(node, &length);
    if (text == nullptr) return Value("");
    const std::string_view view(text, length);
    if (!paths::isValidUtf8(view) || view.find('\0') != std::string_view::npos) return refuse("text that is not UTF-8");
    return Value(view);
}

Result<Value> arrayOf(plist_t node, bool xml) {
    Value::Array array;
    array.reserve(plist_array_get_size(node));
    plist_array_iter iterator = nullptr;
    plist_array_new_iter(node, &iterator);
    const Allocated<void> owner(iterator);
    for (;;) {
        plist_t item = nullptr;
        plist_array_next_item(node, iterator, &item);
        if (item == nullptr) return Value(std::move(array));
        auto value = valueOf(item, xml);
        if (!value) return value;
        array.push_back(std::move(*value));
    }
}

Result<Value> dictionaryOf(plist_t node, bool xml) {
    Value::Dictionary dictionary;
    plist_dict_iter iterator = nullptr;
    plist_dict_new_iter(node, &iterator);
    const Allocated<void> owner(iterator);
    for (;;) {
        char* key = nullptr;
        plist_t item = nullptr;
        plist_dict_next_item(node, iterator, &key, &item);
        const Allocated<char> keyOwner(key);
        if (item == nullptr) return Value(std::move(dictionary));
        if (key == nullptr || !paths::isValidUtf8(key)) return refuse("a key that is not UTF-8");
        auto value = valueOf(item, xml);
        if (!value) return value;
        dictionary.insert_or_assign(key, std::move(*value));
    }
}

NodePtr nodeOfDate(Date date) {
    const double seconds = date.secondsSince(Date::fromSeconds(epoch2001));
    return nodeOfBinaryScalar("\x33" + bigEndian(std::bit_cast<std::uint64_t>(seconds)));
}

NodePtr nodeOfUnsigned(std::uint64_t number) {
    if (number <= static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max()))
        return NodePtr(plist_new_uint(number));
    return nodeOfBinaryScalar("\x14" + bigEndian(0) + bigEndian(number));
}

class Checker {
  public:
    explicit Checker(bool references) : _references(references) {}

    Result<void> check(const Value& value) {
        if (value.isNull()) return refuseHere("no value");
        if (value.asUid() != nullptr && !_references) return refuseHere("a reference of a keyed archive");
        if (const auto* text = value.asString(); text != nullptr && !isGood(*text))
            return refuseHere("text that is not UTF-8");
        if (const auto* array = value.asArray()) return checkEach(*array);
        if (const auto* dictionary = value.asDictionary()) return checkEach(*dictionary);
        return {};
    }

  private:
    static bool isGood(const std::string& text) {
        return paths::isValidUtf8(text) && text.find('\0') == std::string::npos;
    }
    [[nodiscard]] Error refuseHere(const std::string& what) const {
        std::string where;
        for (const std::string_view key : _trail) where += "/" + paths::displayText(key);
        return refuse(what + " at \"" + where + "\"");
    }
    Result<void> checkEach(const Value::Array& array) {
        if (_trail.size() >= deepest) return refuse("nested too deeply");
        _trail.emplace_back("[]");
        for (const Value& value : array)
            if (auto result = check(value); !result) return result;
        _trail.pop_back();
        return {};
    }
    Result<void> checkEach(const Value::Dictionary& dictionary) {
        if (_trail.size() >= deepest) return refuse("nested too deeply");
        for (const auto& [key, value] : dictionary) {
            _trail.emplace_back(key);
            if (!isGood(key)) return refuseHere("a key that is not UTF-8");
            if (auto result = check(value); !result) return result;
            _trail.pop_back();
        }
        return {};
    }

    bool _references;
    std::vector<std::string_view> _trail;
};

} // namespace

Result<Value> valueOf(plist_t node, bool xml) {
    switch (plist_get_node_type(node)) {
    case PLIST_BOOLEAN: {
        std::uint8_t flag = 0;
        plist_get_bool_val(node, &flag);
        return Value(flag != 0);
    }
    case PLIST_UINT:
        return integerOf(node);
    case PLIST_REAL: {
        double real = 0;
        plist_get_real_val(node, &real);
        return Value(real);
    }
    case PLIST_STRING:
        return stringOf(node);
    case PLIST_DATE:
        return dateOf(node);
    case PLIST_DATA: {
        std::uint64_t length = 0;
        const char* bytes = plist_get_data_ptr(node, &length);
        return Value(Value::Data{bytes == nullptr ? std::string() : std::string(bytes, length)});
    }
    case PLIST_UID: {
        std::uint64_t index = 0;
        plist_get_uid_val(node, &index);
        if (xml) return Value(Value::Dictionary{{"CF$UID", Value(static_cast<std::int64_t>(index))}});
        return Value(Value::Uid{index});
    }
    case PLIST_ARRAY:
        return arrayOf(node, xml);
    case PLIST_DICT:
        return dictionaryOf(node, xml);
    default:
        return refuse("a value of an unknown kind");
    }
}

NodePtr nodeOf(const Value& value) {
    return std::visit(
        [](const auto& held) -> NodePtr {
            using Held = std::decay_t<decltype(held)>;
            if constexpr (std::is_same_v<Held, std::monostate>) {
                return nullptr;
            } else if constexpr (std::is_same_v<Held, bool>) {
                return NodePtr(plist_new_bool(held ? 1 : 0));
            } else if constexpr (std::is_same_v<Held, std::int64_t>) {
                return NodePtr(plist_new_uint(static_cast<std::uint64_t>(held)));
            } else if constexpr (std::is_same_v<Held, std::uint64_t>) {
                return nodeOfUnsigned(held);
            } else if constexpr (std::is_same_v<Held, double>) {
                return NodePtr(plist_new_real(held));
            } else if constexpr (std::is_same_v<Held, std::string>) {
                return NodePtr(plist_new_string(held.c_str()));
            } else if constexpr (std::is_same_v<Held, Date>) {
                return nodeOfDate(held);
            } else if constexpr (std::is_same_v<Held, Value::Data>) {
                return NodePtr(plist_new_data(held.bytes.data(), held.bytes.size()));
            } else if constexpr (std::is_same_v<Held, Value::Uid>) {
                return NodePtr(plist_new_uid(held.index));
            } else if constexpr (std::is_same_v<Held, Value::Array>) {
                NodePtr array(plist_new_array());
                for (const Value& item : held) plist_array_append_item(array.get(), nodeOf(item).release());
                return array;
            } else {
                NodePtr dictionary(plist_new_dict());
                for (const auto& [key, item] : held)
                    plist_dict_set_item(dictionary.get(), key.c_str(), nodeOf(item).release());
                return dictionary;
            }
        },
        value.storage());
}

Result<void> checkWritable(const Value& value, bool references) {
    return Checker(references).check(value);
}

} // namespace vt::propertylist

// A property-list value: what configuration files, preferences, notifications and descriptors are made of.
// Reading never raises: a missing key or a value of another kind reads as null (see config/utilities/TypedGetters.h).
// Owns: everything below it; copying copies the tree.
#pragma once

#include "base/Date.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace vt {

class Value {
  public:
    using Array = std::vector<Value>;
    // Sorted by key, so that what is written is the same on every run.
    using Dictionary = std::map<std::string, Value, std::less<>>;
    struct Data { // raw bytes
        std::string bytes;
        bool operator==(const Data&) const = default;
    };
    struct Uid { // a reference of a keyed archive
        std::uint64_t index = 0;
        bool operator==(const Uid&) const = default;
    };

    Value() = default; // null
    Value(bool value) : _storage(value) {}
    Value(int value) : _storage(static_cast<std::int64_t>(value)) {}
    Value(std::int64_t value) : _storage(value) {}
    Value(std::uint64_t value) : _storage(value) {}
    Value(double value) : _storage(value) {}
    Value(const char* value) : _storage(std::string(value)) {}
    Value(std::string_view value) : _storage(std::string(value)) {}
    Value(std::string value) : _storage(std::move(value)) {}
    Value(Date value) : _storage(value) {}
    Value(Data value) : _storage(std::move(value)) {}
    Value(Uid value) : _storage(value) {}
    Value(Array value) : _storage(std::move(value)) {}
    Value(Dictionary value) : _storage(std::move(value)) {}

    [[nodiscard]] bool isNull() const { return std::holds_alternative<std::monostate>(_storage); }
    [[nodiscard]] bool isBool() const { return std::holds_alternative<bool>(_storage); }
    // Booleans, integers and reals alike: a boolean is a number here.
    [[nodiscard]] bool isNumber() const;

    // Null when the value is of another kind. The pointers live as long as this value is unchanged.
    [[nodiscard]] const bool* asBool() const { return std::get_if<bool>(&_storage); }
    [[nodiscard]] const std::string* asString() const { return std::get_if<std::string>(&_storage); }
    [[nodiscard]] const Date* asDate() const { return std::get_if<Date>(&_storage); }
    [[nodiscard]] const Data* asData() const { return std::get_if<Data>(&_storage); }
    [[nodiscard]] const Uid* asUid() const { return std::get_if<Uid>(&_storage); }
    [[nodiscard]] const Array* asArray() const { return std::get_if<Array>(&_storage); }
    [[nodiscard]] const Dictionary* asDictionary() const { return std::get_if<Dictionary>(&_storage); }
    [[nodiscard]] Array* asArray() { return std::get_if<Array>(&_storage); }
    [[nodiscard]] Dictionary* asDictionary() { return std::get_if<Dictionary>(&_storage); }

    // A number's value, cut towards zero and saturated; 0 for every other kind.
    [[nodiscard]] std::int64_t integerValue() const;
    [[nodiscard]] std::uint64_t unsignedValue() const;
    [[nodiscard]] double realValue() const;
    // The value's own truth: a number is true unless 0; a text by its first character after blanks and zeros
    // ("YES", "true", "1" are true; "NO", "0", "" are not); every other kind is false.
    [[nodiscard]] bool boolValue() const;

    // The value as a log line shows it: ( … ) for arrays, { key = value; } for dictionaries, indented by four.
    [[nodiscard]] std::string description() const;

    using Storage = std::variant<std::monostate, bool, std::int64_t, std::uint64_t, double, std::string, Date, Data,
                                 Uid, Array, Dictionary>;
    [[nodiscard]] const Storage& storage() const { return _storage; }

    bool operator==(const Value&) const = default;

  private:
    Storage _storage;
};

// An array of the strings in `strings`; and back, leaving out what is not a string.
[[nodiscard]] Value::Array arrayOfStrings(const std::vector<std::string>& strings);
[[nodiscard]] std::vector<std::string> stringsOfArray(const Value::Array& array);

} // namespace vt

#include "config/utilities/TypedGetters.h"

namespace vt {
namespace {

const Value* lookUp(const Value::Dictionary& dictionary, std::string_view key) {
    const auto found = dictionary.find(key);
    return found == dictionary.end() ? nullptr : &found->second;
}

} // namespace

const Value::Array* arrayForKey(const Value::Dictionary& dictionary, std::string_view key) {
    const Value* value = lookUp(dictionary, key);
    return value == nullptr ? nullptr : value->asArray();
}

const Value::Data* dataForKey(const Value::Dictionary& dictionary, std::string_view key) {
    const Value* value = lookUp(dictionary, key);
    return value == nullptr ? nullptr : value->asData();
}

std::optional<Date> dateForKey(const Value::Dictionary& dictionary, std::string_view key) {
    const Value* value = lookUp(dictionary, key);
    const Date* date = value == nullptr ? nullptr : value->asDate();
    return date == nullptr ? std::nullopt : std::optional<Date>(*date);
}

const Value* numberForKey(const Value::Dictionary& dictionary, std::string_view key) {
    const Value* value = lookUp(dictionary, key);
    return value != nullptr && value->isNumber() ? value : nullptr;
}

const std::string* stringForKey(const Value::Dictionary& dictionary, std::string_view key) {
    const Value* value = lookUp(dictionary, key);
    return value == nullptr ? nullptr : value->asString();
}

const Value::Dictionary* dictionaryForKey(const Value::Dictionary& dictionary, std::string_view key) {
    const Value* value = lookUp(dictionary, key);
    return value == nullptr ? nullptr : value->asDictionary();
}

bool boolForKey(const Value::Dictionary& dictionary, std::string_view key) {
    const Value* value = lookUp(dictionary, key);
    return value != nullptr && value->boolValue();
}

void setBoolForKey(Value::Dictionary& dictionary, bool value, std::string_view key) {
    dictionary.insert_or_assign(std::string(key), Value(value));
}

} // namespace vt

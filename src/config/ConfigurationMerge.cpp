#include "config/ConfigurationMerge.h"

#include "config/ConfigurationKeys.h"
#include "config/utilities/TypedGetters.h"

#include <algorithm>

namespace vt {
namespace {

const Value* find(const Value::Dictionary& dictionary, std::string_view key) {
    const auto found = dictionary.find(key);
    return found == dictionary.end() ? nullptr : &found->second;
}

const Value::Dictionary& dictionaryOrEmpty(const Value* value) {
    static const Value::Dictionary empty;
    const auto* dictionary = value == nullptr ? nullptr : value->asDictionary();
    return dictionary == nullptr ? empty : *dictionary;
}

Value::Dictionary mergeDictionaries(const Value::Dictionary& base, const Value::Dictionary& mine,
                                    const Value::Dictionary& theirs) {
    Value::Dictionary result = theirs;
    for (const auto& [key, value] : mine) {
        const Value* before = find(base, key);
        if (before != nullptr && *before == value) continue;
        const Value* other = find(theirs, key);
        const auto* own = value.asDictionary();
        // A list of entries that has gone from the file still merges entry by entry; an entry that has gone comes back
        // whole, never as the few keys that were changed in it.
        const bool entries = key == configkeys::ptopList && other == nullptr;
        if (own != nullptr && (entries || (other != nullptr && other->asDictionary() != nullptr)))
            result[key] = mergeDictionaries(dictionaryOrEmpty(before), *own, dictionaryOrEmpty(other));
        else
            result[key] = value;
    }
    for (const auto& [key, value] : base)
        if (find(mine, key) == nullptr) result.erase(key);
    return result;
}

bool holds(const Value::Array* array, const Value& value) {
    return array != nullptr && std::find(array->begin(), array->end(), value) != array->end();
}

Value::Array mergeUsers(const Value::Array* base, const Value::Array& mine, const Value::Array& theirs) {
    Value::Array result;
    for (const auto& user : theirs)
        if (holds(&mine, user) || !holds(base, user)) result.push_back(user);
    for (const auto& user : mine)
        if (!holds(base, user) && !holds(&theirs, user)) result.push_back(user);
    return result;
}

} // namespace

Value::Dictionary mergeConfiguration(const Value::Dictionary& base, const Value::Dictionary& mine,
                                     const Value::Dictionary& theirs) {
    Value::Dictionary result = mergeDictionaries(base, mine, theirs);
    const auto* own = arrayForKey(mine, configkeys::syncUserList);
    const auto* before = arrayForKey(base, configkeys::syncUserList);
    const auto* other = arrayForKey(theirs, configkeys::syncUserList);
    // A list that has gone from the file comes back with the places only that this instance itself has changed.
    const bool changed = own != nullptr && (before == nullptr || *before != *own);
    if (own != nullptr && (other != nullptr || changed))
        result[configkeys::syncUserList] = mergeUsers(before, *own, other != nullptr ? *other : Value::Array());
    return result;
}

} // namespace vt

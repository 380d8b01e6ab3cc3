#include "sync/NameClashes.h"

#include "base/Text.h"
#include "config/utilities/TypedGetters.h"

#include <algorithm>

namespace vt {

namespace {

std::vector<std::string> itemsOf(const Value::Dictionary& list, const std::string& user) {
    const Value::Dictionary* entry = dictionaryForKey(list, user);
    const Value::Array* items = entry != nullptr ? arrayForKey(*entry, "items-to-sync") : nullptr;
    return items != nullptr ? stringsOfArray(*items) : std::vector<std::string>();
}

} // namespace

std::vector<std::string> nameClashes(const Value::Dictionary& configuration, const std::string& hostUserId,
                                     const std::string& machineName) {
    std::vector<std::string> lines;
    const auto computer = [](const std::string& identifier) { return identifier.substr(0, identifier.find('-')); };
    for (const auto& [key, value] : configuration) {
        const Value::Dictionary* user = value.asDictionary();
        if (user == nullptr || key == hostUserId || computer(key) == computer(hostUserId)) continue;
        const std::string* name = stringForKey(*user, "sync-computer-name");
        if (name != nullptr && *name == machineName)
            lines.push_back(
                localisedText("Another computer of this drive is named \"%1$@\" too (%2$@): their copies may mix.",
                              {machineName, key}));
    }
    const Value::Dictionary* list = dictionaryForKey(configuration, "ptop-list");
    if (list == nullptr) return lines;
    const auto mine = itemsOf(*list, hostUserId);
    for (const auto& [user, value] : *list) {
        if (user == hostUserId) continue;
        for (const std::string& item : itemsOf(*list, user))
            if (item.starts_with("/") && std::find(mine.begin(), mine.end(), item) != mine.end())
                lines.push_back(localisedText(
                    "\"%1$@\" is synchronized to this drive by another user too (%2$@): their copies may mix.",
                    {item, user}));
    }
    return lines;
}

} // namespace vt

#include "sync/process/DeletionMarkers.h"

#include "config/utilities/TypedGetters.h"

#include <algorithm>

namespace vt {

namespace {
constexpr const char* computersKey = "uniqueComputerIDS";
constexpr std::uint64_t largestMarker = 1ULL << 20U;
constexpr std::uint32_t markerMode = 0666; // every computer of the drive rewrites it
} // namespace

std::optional<Value::Dictionary> DeletionMarkers::read(const std::string& path) {
    const auto bytes = _services.contents.read(path, largestMarker);
    if (!bytes) return std::nullopt;
    const auto value = _services.propertyLists.parse(*bytes);
    if (!value || value->asDictionary() == nullptr) return std::nullopt;
    return *value->asDictionary();
}

bool DeletionMarkers::write(const std::string& path, const Value::Dictionary& marker) {
    const auto bytes = _services.propertyLists.xml(marker);
    return bytes && _services.contents.writeAtomically(path, *bytes, markerMode).ok();
}

std::optional<std::vector<std::string>> DeletionMarkers::trueDeleteComputerIDsFromFile(const std::string& path) {
    const auto marker = read(path);
    if (!marker) return std::nullopt;
    const Value::Array* computers = arrayForKey(*marker, computersKey);
    if (computers == nullptr) return std::nullopt;
    return stringsOfArray(*computers);
}

void DeletionMarkers::removeComputerID(const std::string& computer, const std::string& path) {
    if (auto marker = read(path)) {
        if (const Value::Array* computers = arrayForKey(*marker, computersKey)) {
            auto left = stringsOfArray(*computers);
            std::erase(left, computer);
            if (!left.empty()) {
                (*marker)[computersKey] = arrayOfStrings(left);
                (void)write(path, *marker);
                return;
            }
        }
    }
    _services.files.remove(path, {}).ignore();
}

bool DeletionMarkers::createTrueDeleteFileAtPath(const std::string& path) {
    auto users = _services.configSyncUserList();
    if (!users || _services.hostUserId.empty()) return false;
    std::erase(*users, _services.hostUserId);
    if (!users->empty()) return write(path, {{computersKey, arrayOfStrings(*users)}});
    _services.files.remove(path, {}).ignore();
    return true;
}

} // namespace vt

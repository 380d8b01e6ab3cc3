#include "sync/compare/ScanResultsFile.h"

#include "base/Paths.h"

#include <cerrno>

namespace vt {

namespace {
constexpr std::uint64_t largestFile = 1ULL << 30U;
constexpr std::uint32_t privateFile = 0600;
} // namespace

Result<void> ScanResultsFile::write(const ScanResults& results) {
    Value::Dictionary dictionary = results.toValue();
    for (auto& [key, value] : dictionary) {
        if (value.asDictionary() == nullptr) continue;
        Value::Dictionary entry = *value.asDictionary();
        for (auto& [name, member] : entry)
            if (const std::string* text = member.asString()) member = paths::displayText(*text);
        value = entry;
    }
    const auto text = _propertyLists.xml(dictionary);
    if (!text) return text.error();
    return _contents.writeAtomically(_path, *text, privateFile);
}

Result<ScanResults> ScanResultsFile::read() {
    const auto text = _contents.read(_path, largestFile);
    if (!text) return text.error();
    const auto value = _propertyLists.parse(*text);
    if (!value) return value.error();
    if (value->asDictionary() == nullptr) return Error::fromErrno(EINVAL, _path);
    return ScanResults::fromValue(*value->asDictionary());
}

} // namespace vt

#include "config/ConfigurationReader.h"

#include "base/Text.h"
#include "config/ConfigurationKeys.h"
#include "config/utilities/TypedGetters.h"

#include <cerrno>
#include <optional>
#include <utility>

namespace vt {
namespace {

constexpr std::uint64_t sizeLimit = 16ULL * 1024 * 1024;
constexpr int attempts = 3;
constexpr std::int64_t lastOldVersion = 2;

using Kind = ConfigurationContent::Kind;

std::optional<std::string> readWhole(FileContents& contents, const std::string& path) {
    for (int attempt = 0; attempt < attempts; ++attempt) {
        auto bytes = contents.read(path, sizeLimit);
        if (bytes && !bytes->empty()) return std::move(*bytes);
    }
    return std::nullopt;
}

ConfigurationContent parse(PropertyLists& propertyLists, const std::string& bytes, const std::string& path,
                           ConfigurationLog& log) {
    auto parsed = propertyLists.parse(bytes);
    const bool usable = parsed && parsed->asDictionary() != nullptr;
    if (!usable) {
        const std::string reason = parsed ? "the root is not a dictionary" : parsed.error().text;
        log.logMessage(localisedText("The configuration file on \"%@\" appears to be corrupt.", {path}));
        log.logMessage(formatText("errorString = \"%@\"", {reason}));
        return {Kind::corrupt, {}};
    }
    Value::Dictionary& root = *parsed->asDictionary();
    if (log.debugEnabled()) {
        const auto found = root.find(configkeys::version);
        log.debugMessage(formatText("-initializeConfigurationFile: configuration file read: %@.", {*parsed}));
        log.debugMessage(
            formatText("-initializeConfigurationFile: version = %@", {found == root.end() ? Value() : found->second}));
    }
    // A text "3" is no number, so such a file is of the old format.
    const Value* version = numberForKey(root, configkeys::version);
    const bool current = version != nullptr && version->integerValue() > lastOldVersion;
    return {current ? Kind::current : Kind::oldFormat, std::move(root)};
}

} // namespace

ConfigurationContent readConfiguration(FileService& files, FileContents& contents, PropertyLists& propertyLists,
                                       const std::string& path, ConfigurationLog& log) {
    const auto item = files.attributes(path);
    if (!item && (item.code() == ENOENT || item.code() == ENOTDIR)) return {Kind::missing, {}};
    if (item && item->isDirectory()) {
        log.logMessage(formatText("A directory exists where the configuration file %@ should go.", {path}));
        return {Kind::folder, {}};
    }
    // A link is not followed: the drive must not name files of this computer.
    std::optional<std::string> bytes;
    if (item && item->isRegular()) bytes = readWhole(contents, path);
    if (!bytes) {
        log.logMessage(localisedText("Unable to read configuration file from \"%@\".", {path}));
        return {Kind::unreadable, {}};
    }
    return parse(propertyLists, *bytes, path, log);
}

} // namespace vt

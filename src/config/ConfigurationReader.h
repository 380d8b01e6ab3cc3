// Reads a drive's configuration file, whatever stands in its place. Thread: any.
// Errors: the kind tells what was found; what is wrong goes to the log that is handed in.
// Units: `path` absolute; a file above 16 MiB counts as unreadable.
#pragma once

#include "base/Value.h"
#include "config/ConfigurationLog.h"
#include "platform/FileService.h"
#include "platform/PropertyLists.h"

#include <cstdint>
#include <string>

namespace vt {

struct ConfigurationContent {
    enum class Kind : std::uint8_t {
        missing,
        folder,
        unreadable, // refused, empty, a link, a pipe
        corrupt,    // no property list, or one whose root is no dictionary
        oldFormat,
        current,
    };
    Kind kind = Kind::missing;
    Value::Dictionary dictionary; // of the old and the current format

    [[nodiscard]] bool existsUnloaded() const { return kind == Kind::unreadable || kind == Kind::corrupt; }
};

[[nodiscard]] ConfigurationContent readConfiguration(FileService& files, FileContents& contents,
                                                     PropertyLists& propertyLists, const std::string& path,
                                                     ConfigurationLog& log);

} // namespace vt

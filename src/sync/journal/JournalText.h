// The journal's files as text. One record a line; a line without its end was never finished and does not count.
//   boot <boot id>            which start of the computer wrote the rest
//   start <nanoseconds>       when the group began
//   item <path>               below these final paths it copied
//   file <nanoseconds> <path> a copy and the date it was given
//   over <nanoseconds> <path> the date of what that copy is to replace
// In paths "%", control characters and what is not ASCII are written as "%XX". Thread: any.
#pragma once

#include "base/Date.h"

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vt {

struct JournalGroup {
    std::string bootId;
    Date start;
    std::vector<std::string> items;
    std::map<std::string, Date> files;
    std::map<std::string, Date> replaced; // of some of the files
};

namespace journaltext {
[[nodiscard]] std::string header(const JournalGroup& group);
[[nodiscard]] std::string fileLines(const std::string& path, Date written, std::optional<Date> replaced);
[[nodiscard]] std::string whole(const JournalGroup& group);
// Lines that say nothing known are passed over.
[[nodiscard]] JournalGroup parse(std::string_view text);
} // namespace journaltext

} // namespace vt

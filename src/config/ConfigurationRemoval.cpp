#include "config/ConfigurationRemoval.h"

#include "base/LocalTime.h"
#include "base/Paths.h"
#include "base/Text.h"
#include "config/utilities/TreeWalk.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace vt {
namespace {

bool isMark(std::string_view name) {
    return name.starts_with(".d$f.") || name.starts_with(".d$d.");
}

bool goOn(const Error& /*error*/) {
    return true;
}

bool isPlainName(std::string_view name) {
    return !name.empty() && name != "." && name.find("..") == std::string_view::npos &&
           name.find('/') == std::string_view::npos && name.find('\0') == std::string_view::npos;
}

bool isFolder(FileService& files, const std::string& path) {
    const auto item = files.attributes(path);
    return item && item->isDirectory();
}

// "March  5, 2012": the day is padded with a blank. The month is English whatever the process's language is.
std::string archiveDay(Date now) {
    static constexpr std::array<const char*, 12> months{"January",   "February", "March",    "April",
                                                        "May",       "June",     "July",     "August",
                                                        "September", "October",  "November", "December"};
    const auto local = localTime(now);
    if (!local) return {};
    return formatText("%@ %2d, %04d",
                      {months.at(static_cast<std::size_t>(local->tm_mon)), local->tm_mday, local->tm_year + 1900});
}

} // namespace

void removeDeletionMarks(FileService& files, const std::string& mountPoint) {
    const auto root = files.attributes(mountPoint);
    if (!root) return;
    walkTree(files, mountPoint, [&](const std::string& folder, const DirectoryEntry& entry) {
        if (entry.attributes.device != root->device) return TreeStep::pass;
        if (!isMark(entry.name)) return entry.attributes.isDirectory() ? TreeStep::enter : TreeStep::pass;
        files.remove(paths::join(folder, entry.name), goOn).ignore();
        return TreeStep::pass;
    });
}

void removeOldTempFolders(FileService& files, LogSink& log, const std::string& home, const std::string& mountPoint,
                          std::string_view uuid) {
    if (!isPlainName(uuid)) return;
    const std::string local = paths::join(paths::join(home, ".Z_VT_W"), uuid);
    if (isFolder(files, local)) {
        log.logMessage(formatText("convertOldSync: removing old local temp directory \"%@\"", {local}));
        systemLog(formatText("remove oldLocalTempPath %@", {local}));
        files.remove(local, goOn).ignore();
    }
    const std::string vantaro = paths::join(mountPoint, "Vantaro");
    const std::string work = paths::join(vantaro, ".Z_VT_W");
    const std::string global = paths::join(work, uuid);
    // A link of the drive in one of these places would lead the removal elsewhere.
    if (isFolder(files, vantaro) && isFolder(files, work) && isFolder(files, global)) {
        log.logMessage(formatText("convertOldSync: removing old global temp directory \"%@\"", {global}));
        systemLog(formatText("remove oldGlobalTempPath = %@", {global}));
        files.remove(global, goOn).ignore();
    }
}

std::string freeArchivePath(FileService& files, const std::string& mountPoint, Date now) {
    const std::string wanted = mountPoint + "Archived Vantaro Backups/" + archiveDay(now);
    std::string candidate = wanted;
    for (int n = 1; files.attributes(candidate); ++n) candidate = wanted + " -" + std::to_string(n);
    return candidate;
}

} // namespace vt

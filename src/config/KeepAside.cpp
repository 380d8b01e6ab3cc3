#include "config/KeepAside.h"

#include "base/Paths.h"

#include <array>
#include <cerrno>
#include <ctime>

namespace vt {
namespace {

constexpr std::uint32_t folderMode = 0777; // every user of every computer keeps things aside here
constexpr int mostSuffixes = 10'000;

std::string localDay(Date now) {
    const std::time_t seconds = now.wholeSeconds();
    std::tm local{};
    std::array<char, 32> text{};
    if (localtime_r(&seconds, &local) == nullptr) return "0000-00-00";
    return {text.data(), std::strftime(text.data(), text.size(), "%Y-%m-%d", &local)};
}

// Every folder of `relative` below `base`; a link or a file in one's place is an error.
Result<void> makeFolders(FileService& files, const std::string& base, const std::string& relative) {
    std::string folder = base;
    for (const auto& name : paths::components(relative)) {
        folder = paths::join(folder, name);
        auto item = files.attributes(folder);
        if (!item && item.code() == ENOENT) {
            const auto made = files.makeDirectory(folder, folderMode);
            if (!made && made.code() != EEXIST) return made;
            item = files.attributes(folder);
        }
        if (!item) return item.error();
        if (!item->isDirectory()) return Error::fromErrno(ENOTDIR, folder);
    }
    return {};
}

Result<std::string> moveToFreeName(FileService& files, const std::string& from, const std::string& wanted) {
    for (int n = 0; n < mostSuffixes; ++n) {
        const std::string to = n == 0 ? wanted : wanted + " -" + std::to_string(n);
        const auto moved = files.move(from, to, Replace::never);
        if (moved) return to;
        if (moved.code() != EEXIST) return moved.error();
    }
    return Error::fromErrno(EEXIST, wanted);
}

} // namespace

Result<std::string> keepAside(FileService& files, const std::string& mountPoint, const std::string& pathOnDrive,
                              Date now) {
    const std::string from = paths::join(mountPoint, pathOnDrive);
    const auto item = files.attributes(from);
    if (!item) return item.error();
    const std::string day = localDay(now);
    const std::string archived = paths::join(paths::join("Archived Vantaro Backups", day), pathOnDrive);
    if (makeFolders(files, mountPoint, paths::parent(archived))) {
        auto moved = moveToFreeName(files, from, paths::join(mountPoint, archived));
        if (moved) return moved;
    }
    return moveToFreeName(files, from, from + " (kept " + day + ")");
}

} // namespace vt

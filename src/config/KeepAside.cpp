#include "config/KeepAside.h"

#include "base/LocalTime.h"
#include "base/Paths.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <ctime>
#include <functional>

namespace vt {
namespace {

constexpr std::uint32_t keptFileMode = 0666;
constexpr std::uint32_t folderMode = 0777; // every user of every computer keeps things aside here
constexpr int mostSuffixes = 10'000;
constexpr std::size_t longestName = 255; // bytes

std::string localDay(Date now) {
    const auto local = localTime(now);
    std::array<char, 32> text{};
    if (!local) return "0000-00-00";
    return {text.data(), std::strftime(text.data(), text.size(), "%Y-%m-%d", &*local)};
}

// Every folder of `relative` below `base`; a link or a file in one's place is an error.
Result<void> makeFolders(FileService& files, const std::string& base, const std::string& relative) {
    std::string folder = base;
    for (const auto& name : paths::components(relative)) {
        folder = paths::join(folder, name);
        auto item = files.attributes(folder);
        if (!item && item.code() == ENOENT) {
            auto made = files.makeDirectory(folder, folderMode);
            if (!made && made.code() != EEXIST) return made;
            item = files.attributes(folder);
        }
        if (!item) return item.error();
        if (!item->isDirectory()) return Error::fromErrno(ENOTDIR, folder);
    }
    return {};
}

// `path` with the suffix, its name cut short, never within a character, where a file system would find it too long.
std::string withSuffix(const std::string& path, const std::string& suffix, bool cutShort) {
    if (!cutShort) return path + suffix;
    std::string name = paths::lastComponent(path);
    std::size_t length = std::min(name.size(), longestName - std::min(longestName, suffix.size()));
    while (length > 1 && length < name.size() && (static_cast<unsigned char>(name[length]) & 0xC0U) == 0x80U) --length;
    name.resize(length);
    return paths::join(paths::parent(path), name + suffix);
}

// Puts something at a path where nothing is; EEXIST when something is.
using Place = std::function<Result<void>(const std::string& to)>;

Result<std::string> placeAtFreeName(const Place& place, const std::string& path, const std::string& suffix) {
    bool cutShort = false;
    for (int n = 0; n < mostSuffixes; ++n) {
        const std::string ending = n == 0 ? suffix : suffix + " -" + std::to_string(n);
        std::string to = withSuffix(path, ending, cutShort);
        const auto placed = place(to);
        if (placed) return to;
        if (placed.code() == ENAMETOOLONG && !cutShort) {
            cutShort = true;
            --n;
        } else if (placed.code() != EEXIST) {
            return placed.error();
        }
    }
    return Error::fromErrno(EEXIST, path);
}

Result<std::string> keepBy(const Place& place, FileService& files, const std::string& mountPoint,
                           const std::string& pathOnDrive, Date now) {
    const std::string day = localDay(now);
    const std::string archived = paths::join(paths::join("Archived Vantaro Backups", day), pathOnDrive);
    if (makeFolders(files, mountPoint, paths::parent(archived))) {
        auto placed = placeAtFreeName(place, paths::join(mountPoint, archived), "");
        if (placed) return placed;
    }
    return placeAtFreeName(place, paths::join(mountPoint, pathOnDrive), " (kept " + day + ")");
}

} // namespace

Result<std::string> keepAside(FileService& files, const std::string& mountPoint, const std::string& pathOnDrive,
                              Date now) {
    return keepAsideFrom(files, mountPoint, paths::join(mountPoint, pathOnDrive), pathOnDrive, now);
}

Result<std::string> keepAsideFrom(FileService& files, const std::string& mountPoint, const std::string& from,
                                  const std::string& pathOnDrive, Date now) {
    const auto item = files.attributes(from);
    if (!item) return item.error();
    const auto place = [&](const std::string& to) { return files.move(from, to, Replace::never); };
    return keepBy(place, files, mountPoint, pathOnDrive, now);
}

Result<std::string> keepCopyAside(FileService& files, FileContents& contents, const std::string& mountPoint,
                                  const std::string& pathOnDrive, std::string_view bytes, Date now) {
    const auto place = [&](const std::string& to) { return contents.create(to, bytes, keptFileMode); };
    return keepBy(place, files, mountPoint, pathOnDrive, now);
}

} // namespace vt

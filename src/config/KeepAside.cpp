#include "config/KeepAside.h"

#include "base/Paths.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <ctime>

namespace vt {
namespace {

constexpr std::uint32_t folderMode = 0777; // every user of every computer keeps things aside here
constexpr int mostSuffixes = 10'000;
constexpr std::size_t longestName = 255; // bytes

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

Result<std::string> moveToFreeName(FileService& files, const std::string& from, const std::string& path,
                                   const std::string& suffix) {
    bool cutShort = false;
    for (int n = 0; n < mostSuffixes; ++n) {
        const std::string ending = n == 0 ? suffix : suffix + " -" + std::to_string(n);
        std::string to = withSuffix(path, ending, cutShort);
        const auto moved = files.move(from, to, Replace::never);
        if (moved) return to;
        if (moved.code() == ENAMETOOLONG && !cutShort) {
            cutShort = true;
            --n;
        } else if (moved.code() != EEXIST) {
            return moved.error();
        }
    }
    return Error::fromErrno(EEXIST, path);
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
    const std::string day = localDay(now);
    const std::string archived = paths::join(paths::join("Archived Vantaro Backups", day), pathOnDrive);
    if (makeFolders(files, mountPoint, paths::parent(archived))) {
        auto moved = moveToFreeName(files, from, paths::join(mountPoint, archived), "");
        if (moved) return moved;
    }
    return moveToFreeName(files, from, paths::join(mountPoint, pathOnDrive), " (kept " + day + ")");
}

} // namespace vt

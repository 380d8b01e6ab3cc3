#include "platform/linux/AbandonedFiles.h"

#include "platform/linux/DirectoryReader.h"
#include "platform/linux/OpenBeneath.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace vt {

namespace {

constexpr std::string_view prefix = ".vantaro-";
constexpr std::string_view suffix = ".tmp";
constexpr std::size_t digits = 16;

// One that was made just now may not be marked yet. A drive's clock may be off to either side.
bool isFresh(const struct stat& status) {
    return std::llabs(static_cast<long long>(::time(nullptr) - status.st_mtim.tv_sec)) < 1;
}

bool isAbandoned(int folder, const char* name) {
    UniqueFd file;
    if (beneath::openAt(folder, name, O_RDONLY | O_NONBLOCK | O_NOFOLLOW, 0, file) != 0) return false;
    struct stat status {};
    if (::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode) || isFresh(status)) return false;
    return ::flock(file.get(), LOCK_EX | LOCK_NB) == 0;
}

} // namespace

std::string temporaryName() {
    std::uint64_t number = 0;
    if (::getrandom(&number, sizeof number, 0) != static_cast<ssize_t>(sizeof number)) return {};
    std::array<char, 48> name{};
    (void)std::snprintf(name.data(), name.size(), ".vantaro-%016llx.tmp", static_cast<unsigned long long>(number));
    return name.data();
}

bool isTemporaryName(std::string_view name) {
    if (name.size() != prefix.size() + digits + suffix.size()) return false;
    if (!name.starts_with(prefix) || !name.ends_with(suffix)) return false;
    const std::string_view number = name.substr(prefix.size(), digits);
    return number.find_first_not_of("0123456789abcdef") == std::string_view::npos;
}

void markInUse(int file) {
    (void)::flock(file, LOCK_EX | LOCK_NB);
}

bool AbandonedFiles::isNew(int folder) {
    struct stat status {};
    if (::fstat(folder, &status) != 0) return false;
    const std::lock_guard lock(_mutex);
    return _looked.emplace(status.st_dev, status.st_ino).second;
}

void AbandonedFiles::sweep(int folder) {
    UniqueFd readable;
    if (beneath::openAt(folder, ".", O_RDONLY | O_DIRECTORY, 0, readable) != 0 || !isNew(readable.get())) return;
    std::vector<FolderName> names;
    if (readNames(readable.get(), names) != 0) return;
    for (const FolderName& entry : names) {
        if (!isTemporaryName(entry.name) || !isAbandoned(readable.get(), entry.name.c_str())) continue;
        (void)::unlinkat(readable.get(), entry.name.c_str(), 0);
    }
}

} // namespace vt

#include "platform/linux/volumes/MountTable.h"

#include "base/Paths.h"

#include <cerrno>
#include <libmount/libmount.h>
#include <memory>

namespace vt {

namespace {

constexpr const char* tableFile = "/proc/self/mountinfo";
constexpr int mostReadings = 8;

std::string textOf(const char* text) {
    return text ? text : "";
}

// A line that libmount does not understand is left out; the rest of the table counts.
int skipLine(libmnt_table*, const char*, int) {
    return 1;
}

struct TableRelease {
    void operator()(libmnt_table* table) const { mnt_unref_table(table); }
};
struct IteratorRelease {
    void operator()(libmnt_iter* iterator) const { mnt_free_iter(iterator); }
};

MountEntry entryOf(libmnt_fs* fs) {
    MountEntry entry;
    entry.id = static_cast<std::uint64_t>(mnt_fs_get_id(fs));
    entry.device = DeviceNumber::fromKernel(mnt_fs_get_devno(fs));
    entry.root = textOf(mnt_fs_get_root(fs));
    entry.target = textOf(mnt_fs_get_target(fs));
    entry.type = textOf(mnt_fs_get_fstype(fs));
    entry.source = textOf(mnt_fs_get_source(fs));
    entry.superOptions = textOf(mnt_fs_get_fs_options(fs));
    const char* options = mnt_fs_get_vfs_options(fs);
    entry.readOnly = mnt_optstr_get_option(options, "ro", nullptr, nullptr) == 0 ||
                     mnt_optstr_get_option(entry.superOptions.c_str(), "ro", nullptr, nullptr) == 0;
    return entry;
}

} // namespace

std::string MountEntry::option(std::string_view name) const {
    char* value = nullptr;
    std::size_t size = 0;
    const std::string key(name);
    if (mnt_optstr_get_option(superOptions.c_str(), key.c_str(), &value, &size) != 0 || !value) return {};
    return {value, size};
}

Result<MountTable> readMountTable() {
    const std::unique_ptr<libmnt_table, TableRelease> table(mnt_new_table());
    const std::unique_ptr<libmnt_iter, IteratorRelease> iterator(mnt_new_iter(MNT_ITER_FORWARD));
    if (!table || !iterator) return Error::fromErrno(ENOMEM, tableFile);
    mnt_table_set_parser_errcb(table.get(), skipLine);
    const int status = mnt_table_parse_file(table.get(), tableFile);
    if (status != 0) return Error::fromErrno(status < 0 ? -status : EIO, tableFile);
    MountTable entries;
    libmnt_fs* fs = nullptr;
    while (mnt_table_next_fs(table.get(), iterator.get(), &fs) == 0) entries.push_back(entryOf(fs));
    return entries;
}

Result<MountTable> readSettledMountTable() {
    auto previous = readMountTable();
    for (int reading = 1; reading < mostReadings; ++reading) {
        auto next = readMountTable();
        if (!previous || !next || *previous == *next) return next;
        previous = std::move(next);
    }
    return previous; // the table does not rest; the next change brings the next reading
}

const MountEntry* mountAt(const MountTable& table, std::string_view target) {
    const MountEntry* found = nullptr;
    for (const MountEntry& entry : table)
        if (entry.target == target) found = &entry; // a later one lies on top
    return found;
}

const MountEntry* mountAbove(const MountTable& table, std::string_view path) {
    const MountEntry* found = nullptr;
    for (const MountEntry& entry : table)
        if (paths::isAtOrBelow(path, entry.target) && (!found || entry.target.size() >= found->target.size()))
            found = &entry;
    return found;
}

} // namespace vt

#include "platform/linux/volumes/FileSystemTraits.h"

#include <algorithm>
#include <iterator>

namespace vt {

namespace {

using enum FileSystemNature;

// Date granularities in nanoseconds.
constexpr std::int64_t exact = 1;
constexpr std::int64_t hundredNanoseconds = 100;
constexpr std::int64_t tenMilliseconds = 10'000'000;
constexpr std::int64_t second = 1'000'000'000;
constexpr std::int64_t twoSeconds = 2 * second;

constexpr std::uint64_t unlimited = ~0ULL;
constexpr std::uint64_t fatLimit = 0xFFFF'FFFF;     // 4 GiB less one byte
constexpr std::uint64_t fuseFatLimit = 0x7FFF'FFFF; // fusefat counts with signed numbers
constexpr const char* fatReserved = "\\:*?\"<>|";

struct Row {
    const char* type;
    const char* statName;
    const char* kind;
    const char* content;
    FileSystemNature nature;
    bool native;
    bool caseSensitive;
    bool links;
    bool ownership;
    std::int64_t granularity;
    std::uint64_t largest;
    const char* reserved;
};

// Content hints of FAT tell the two partition types apart where the partition is known; this is the common one.
constexpr Row rows[] = {
    // clang-format off
    // type             statName  kind      content           nature   native case   links  owner  dates               largest       reserved
    {"ext2",            "ext2",   "ext2",   "Linux",          disk,    true,  true,  true,  true,  exact,              unlimited,    ""},
    {"ext3",            "ext3",   "ext3",   "Linux",          disk,    true,  true,  true,  true,  exact,              unlimited,    ""},
    {"ext4",            "ext4",   "ext4",   "Linux",          disk,    true,  true,  true,  true,  exact,              unlimited,    ""},
    {"xfs",             "xfs",    "xfs",    "Linux",          disk,    true,  true,  true,  true,  exact,              unlimited,    ""},
    {"btrfs",           "btrfs",  "btrfs",  "Linux",          disk,    true,  true,  true,  true,  exact,              unlimited,    ""},
    {"f2fs",            "f2fs",   "f2fs",   "Linux",          disk,    true,  true,  true,  true,  exact,              unlimited,    ""},
    {"jfs",             "jfs",    "jfs",    "Linux",          disk,    false, true,  true,  true,  exact,              unlimited,    ""},
    {"reiserfs",        "reiserfs","reiserfs","Linux",        disk,    false, true,  true,  true,  second,             unlimited,    ""},
    {"vfat",            "msdos",  "msdos",  "Windows_FAT_32", disk,    false, false, false, false, twoSeconds,         fatLimit,     fatReserved},
    {"msdos",           "msdos",  "msdos",  "Windows_FAT_32", disk,    false, false, false, false, twoSeconds,         fatLimit,     fatReserved},
    {"fuseblk.vfat",    "msdos",  "msdos",  "Windows_FAT_32", disk,    false, false, false, false, twoSeconds,         fatLimit,     fatReserved},
    {"fuse.fusefat",    "msdos",  "msdos",  "Windows_FAT_32", disk,    false, false, false, false, twoSeconds,         fuseFatLimit, fatReserved},
    {"exfat",           "exfat",  "exfat",  "Windows_exFAT",  disk,    false, false, false, false, tenMilliseconds,    unlimited,    fatReserved},
    {"fuseblk.exfat",   "exfat",  "exfat",  "Windows_exFAT",  disk,    false, false, false, false, second,             unlimited,    fatReserved},
    {"ntfs",            "ntfs",   "NTFS",   "Windows_NTFS",   disk,    false, true,  true,  false, hundredNanoseconds, unlimited,    ""},
    {"ntfs3",           "ntfs",   "NTFS",   "Windows_NTFS",   disk,    false, true,  true,  false, hundredNanoseconds, unlimited,    ""},
    {"fuseblk.ntfs",    "ntfs",   "NTFS",   "Windows_NTFS",   disk,    false, true,  true,  false, hundredNanoseconds, unlimited,    ""},
    {"hfs",             "hfs",    "hfs",    "Apple_HFS",      disk,    false, false, true,  true,  second,             fuseFatLimit, ":"},
    {"hfsplus",         "hfs",    "hfs",    "Apple_HFS",      disk,    false, false, true,  true,  second,             unlimited,    ":"},
    {"udf",             "udf",    "udf",    "UDF",            disk,    false, true,  true,  true,  exact,              unlimited,    ""},
    {"iso9660",         "cd9660", "cd9660", "CD_ROM_Mode_1",  disk,    false, true,  true,  true,  second,             fatLimit,     ""},
    {"tmpfs",           "tmpfs",  "tmpfs",  "",               memory,  true,  true,  true,  true,  exact,              unlimited,    ""},
    {"overlay",         "overlay","overlay","",               system,  true,  true,  true,  true,  exact,              unlimited,    ""},
    {"cifs",            "smbfs",  "smbfs",  "",               network, false, false, false, false, hundredNanoseconds, unlimited,    ""},
    {"smb3",            "smbfs",  "smbfs",  "",               network, false, false, false, false, hundredNanoseconds, unlimited,    ""},
    // The desktop's share mounts: whole-second dates, and the server's names.
    {"fuse.gvfsd-fuse", "smbfs",  "smbfs",  "",               network, false, false, false, false, second,             unlimited,    fatReserved},
    {"nfs",             "nfs",    "nfs",    "",               network, false, true,  true,  true,  exact,              unlimited,    ""},
    {"nfs4",            "nfs",    "nfs",    "",               network, false, true,  true,  true,  exact,              unlimited,    ""},
    {"9p",              "9p",     "9p",     "",               network, false, true,  true,  true,  exact,              unlimited,    ""},
    {"fuse.sshfs",      "sshfs",  "sshfs",  "",               network, false, true,  true,  false, second,             unlimited,    ""},
    // clang-format on
};

// Types of FUSE mounts that carry no drive; every other type outside the table that is on no block device is
// a system one too.
constexpr std::string_view systemFuse[] = {"fuse.portal", "fuse.lxcfs", "fuse.snapfuse", "fuse.vmware-vmblock",
                                           "fuse.xdg-document-portal"};

} // namespace

FileSystemTraits fileSystemTraits(std::string_view type) {
    const auto* row = std::find_if(std::begin(rows), std::end(rows), [&](const Row& r) { return type == r.type; });
    FileSystemTraits traits;
    if (row == std::end(rows)) {
        traits.type = traits.statName = traits.kind = type;
        const bool fuse = type.starts_with("fuse");
        const bool hidden = std::find(std::begin(systemFuse), std::end(systemFuse), type) != std::end(systemFuse);
        traits.nature = fuse && !hidden ? user : system;
        return traits;
    }
    traits.type = row->type;
    traits.statName = row->statName;
    traits.kind = row->kind;
    traits.content = row->content;
    traits.nature = row->nature;
    traits.native = row->native;
    traits.numberIsUuid = traits.statName != "msdos";
    traits.capabilities.caseSensitive = row->caseSensitive;
    traits.capabilities.holdsLinks = row->links;
    traits.capabilities.holdsOwnership = row->ownership;
    traits.capabilities.dateGranularity = row->granularity;
    traits.capabilities.largestFile = row->largest;
    traits.capabilities.reservedCharacters = row->reserved;
    return traits;
}

std::string fuseBlockType(std::string_view contentType) {
    return contentType.empty() ? "fuseblk" : "fuseblk." + std::string(contentType);
}

} // namespace vt

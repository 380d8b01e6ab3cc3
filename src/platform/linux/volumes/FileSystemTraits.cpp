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
// Control characters and what their rules forbid; in NTFS the driver's own rules allow all of it.
constexpr const char* fatReserved = "\x01\x02\x03\x04\x05\x06\x07\x08\x09\x0A\x0B\x0C\x0D\x0E\x0F"
                                    "\x10\x11\x12\x13\x14\x15\x16\x17\x18\x19\x1A\x1B\x1C\x1D\x1E\x1F"
                                    "\\:*?\"<>|";

enum class Names : std::uint8_t {
    bytes,   // whatever stands between two "/"
    text,    // UTF-8
    dotless, // UTF-8, and a dot at the end is cut off
    ascii,
};

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
    Names names;
};

// Content hints of FAT tell the two partition types apart where the partition is known; this is the common one.
constexpr Row rows[] = {
    // clang-format off
    // type             statName  kind      content           nature   native case   links  owner  dates               largest       reserved     names
    {"ext2",            "ext2",   "ext2",   "Linux",          disk,    true,  true,  true,  true,  exact,              unlimited,    "", Names::bytes},
    {"ext3",            "ext3",   "ext3",   "Linux",          disk,    true,  true,  true,  true,  exact,              unlimited,    "", Names::bytes},
    {"ext4",            "ext4",   "ext4",   "Linux",          disk,    true,  true,  true,  true,  exact,              unlimited,    "", Names::bytes},
    {"xfs",             "xfs",    "xfs",    "Linux",          disk,    true,  true,  true,  true,  exact,              unlimited,    "", Names::bytes},
    {"btrfs",           "btrfs",  "btrfs",  "Linux",          disk,    true,  true,  true,  true,  exact,              unlimited,    "", Names::bytes},
    {"f2fs",            "f2fs",   "f2fs",   "Linux",          disk,    true,  true,  true,  true,  exact,              unlimited,    "", Names::bytes},
    {"jfs",             "jfs",    "jfs",    "Linux",          disk,    false, true,  true,  true,  exact,              unlimited,    "", Names::bytes},
    {"reiserfs",        "reiserfs","reiserfs","Linux",        disk,    false, true,  true,  true,  second,             unlimited,    "", Names::bytes},
    {"vfat",            "msdos",  "msdos",  "Windows_FAT_32", disk,    false, false, false, false, twoSeconds,         fatLimit,     fatReserved, Names::dotless},
    {"msdos",           "msdos",  "msdos",  "Windows_FAT_32", disk,    false, false, false, false, twoSeconds,         fatLimit,     fatReserved, Names::dotless},
    {"fuseblk.vfat",    "msdos",  "msdos",  "Windows_FAT_32", disk,    false, false, false, false, twoSeconds,         fatLimit,     fatReserved, Names::dotless},
    {"fuse.fusefat",    "msdos",  "msdos",  "Windows_FAT_32", disk,    false, false, false, false, twoSeconds,         fuseFatLimit, fatReserved, Names::ascii},
    {"exfat",           "exfat",  "exfat",  "Windows_exFAT",  disk,    false, false, false, false, tenMilliseconds,    unlimited,    fatReserved, Names::dotless},
    {"fuseblk.exfat",   "exfat",  "exfat",  "Windows_exFAT",  disk,    false, false, false, false, second,             unlimited,    fatReserved, Names::text},
    {"ntfs",            "ntfs",   "NTFS",   "Windows_NTFS",   disk,    false, true,  true,  false, hundredNanoseconds, unlimited,    "", Names::text},
    {"ntfs3",           "ntfs",   "NTFS",   "Windows_NTFS",   disk,    false, true,  true,  false, hundredNanoseconds, unlimited,    "", Names::text},
    {"fuseblk.ntfs",    "ntfs",   "NTFS",   "Windows_NTFS",   disk,    false, true,  true,  false, hundredNanoseconds, unlimited,    "", Names::text},
    {"hfs",             "hfs",    "hfs",    "Apple_HFS",      disk,    false, false, true,  true,  second,             fuseFatLimit, "", Names::text},
    {"hfsplus",         "hfs",    "hfs",    "Apple_HFS",      disk,    false, false, true,  true,  second,             unlimited,    "", Names::text},
    {"udf",             "udf",    "udf",    "UDF",            disk,    false, true,  true,  true,  exact,              unlimited,    "", Names::text},
    {"iso9660",         "cd9660", "cd9660", "CD_ROM_Mode_1",  disk,    false, true,  true,  true,  second,             fatLimit,     "", Names::bytes},
    {"tmpfs",           "tmpfs",  "tmpfs",  "",               memory,  true,  true,  true,  true,  exact,              unlimited,    "", Names::bytes},
    {"overlay",         "overlay","overlay","",               system,  true,  true,  true,  true,  exact,              unlimited,    "", Names::bytes},
    {"cifs",            "smbfs",  "smbfs",  "",               network, false, false, false, false, hundredNanoseconds, unlimited,    "", Names::text},
    {"smb3",            "smbfs",  "smbfs",  "",               network, false, false, false, false, hundredNanoseconds, unlimited,    "", Names::text},
    // The desktop's share mounts: whole-second dates; which names it takes is the server's matter.
    {"fuse.gvfsd-fuse", "smbfs",  "smbfs",  "",               network, false, false, false, false, second,             unlimited,    "", Names::text},
    {"nfs",             "nfs",    "nfs",    "",               network, false, true,  true,  true,  exact,              unlimited,    "", Names::bytes},
    {"nfs4",            "nfs",    "nfs",    "",               network, false, true,  true,  true,  exact,              unlimited,    "", Names::bytes},
    {"9p",              "9p",     "9p",     "",               network, false, true,  true,  true,  exact,              unlimited,    "", Names::bytes},
    {"fuse.sshfs",      "sshfs",  "sshfs",  "",               network, false, true,  true,  false, second,             unlimited,    "", Names::bytes},
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
    if (row->names == Names::ascii)
        for (int byte = 0x7F; byte <= 0xFF; ++byte)
            traits.capabilities.reservedCharacters.push_back(static_cast<char>(byte));
    traits.capabilities.holdsAnyBytes = row->names == Names::bytes;
    traits.capabilities.holdsTrailingDots = row->names != Names::dotless;
    return traits;
}

std::string fuseBlockType(std::string_view contentType) {
    return contentType.empty() ? "fuseblk" : "fuseblk." + std::string(contentType);
}

} // namespace vt

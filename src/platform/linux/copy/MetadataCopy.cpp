#include "platform/linux/copy/MetadataCopy.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string_view>
#include <sys/xattr.h>
#include <unistd.h>

namespace vt {

namespace {

constexpr std::size_t largestList = 64 * 1024; // the system's limits of one list and one value
constexpr mode_t setIdBits = 06000;

std::array<timespec, 2> datesOf(const struct stat& status) {
    return {status.st_atim, status.st_mtim};
}

Date modifiedOf(const struct stat& status) {
    return Date::fromSeconds(status.st_mtim.tv_sec, status.st_mtim.tv_nsec);
}

} // namespace

MetadataCopy::MetadataCopy(CopyExperience& experience, const DestinationCapabilities& capabilities)
    : _experience(experience), _capabilities(capabilities), _user(experience.user()) {}

mode_t MetadataCopy::modeToCreateWith(const struct stat& wanted) const {
    // Another owner's file is nobody else's until it has its owner, so that no one reads it in between.
    return wanted.st_mode & (wanted.st_uid == _user ? 0777U : 0700U);
}

void MetadataCopy::copyRights(int source, const struct stat& wanted, int destination, const struct stat& made) {
    const bool owned = setOwner(destination, wanted, made);
    copyAttributes(source, wanted.st_dev, destination);
    mode_t mode = wanted.st_mode & 07777U;
    // A program must not run as somebody whom its owner never was.
    if (!owned) mode &= ~setIdBits;
    if (mode != (made.st_mode & 07777U)) (void)::fchmod(destination, mode);
}

bool MetadataCopy::setOwner(int destination, const struct stat& wanted, const struct stat& made) {
    if (wanted.st_uid == made.st_uid && wanted.st_gid == made.st_gid) return true;
    if (!_capabilities.holdsOwnership || _experience.ownerRefused(wanted.st_uid, wanted.st_gid)) return false;
    if (::fchown(destination, wanted.st_uid, wanted.st_gid) == 0) return true;
    _experience.setOwnerRefused(wanted.st_uid, wanted.st_gid);
    return false;
}

void MetadataCopy::copyLinkOwner(const ItemSpot& copy, const struct stat& wanted) {
    if (!_capabilities.holdsOwnership || _experience.ownerRefused(wanted.st_uid, wanted.st_gid)) return;
    if (_user != 0 && wanted.st_uid != _user) return;
    if (_user == wanted.st_uid && wanted.st_gid == ::getegid()) return;
    copy.setOwner(wanted.st_uid, wanted.st_gid).ignore();
}

void MetadataCopy::copyAttributes(int source, dev_t device, int destination) {
    if (!_experience.keepsAttributes(device)) return;
    std::array<char, 1024> few; // filled by the kernel
    ssize_t length = ::flistxattr(source, few.data(), few.size());
    if (length == 0) return;
    if (length < 0 && errno == EOPNOTSUPP) {
        _experience.setWithoutAttributes(device);
        return;
    }
    std::string names(few.data(), length > 0 ? static_cast<std::size_t>(length) : 0);
    if (length < 0) {
        if (errno != ERANGE) return;
        names.resize(largestList);
        length = ::flistxattr(source, names.data(), names.size());
        if (length < 0) return;
        names.resize(static_cast<std::size_t>(length));
    }
    for (std::size_t at = 0; at < names.size(); at += std::strlen(names.c_str() + at) + 1)
        if (isCopied(names.c_str() + at)) copyAttribute(source, destination, names.c_str() + at);
}

bool MetadataCopy::isCopied(const char* name) const {
    const std::string_view text = name;
    if (text.starts_with("user.") || text.starts_with("system.posix_acl_")) return true;
    return _user == 0 && (text.starts_with("trusted.") || text.starts_with("security."));
}

void MetadataCopy::copyAttribute(int source, int destination, const char* name) {
    char* value = _experience.buffer();
    const ssize_t length = ::fgetxattr(source, name, value, largestList);
    if (length >= 0) (void)::fsetxattr(destination, name, value, static_cast<std::size_t>(length), 0);
}

bool MetadataCopy::isLater(const struct stat& copy, const struct stat& wanted) const {
    return modifiedOf(copy) > modifiedOf(wanted);
}

std::array<timespec, 2> MetadataCopy::lowered(const struct stat& copy, const struct stat& wanted) const {
    const Date date = Date::fromNanoseconds(modifiedOf(copy).nanoseconds() - _capabilities.dateGranularity);
    return {wanted.st_atim, timespec{.tv_sec = date.wholeSeconds(), .tv_nsec = date.nanosecondsPart()}};
}

int MetadataCopy::setDates(int copy, const struct stat& wanted) {
    if (::futimens(copy, datesOf(wanted).data()) != 0) return errno;
    if (_capabilities.dateGranularity <= 1) return 0;
    // A copy must never look newer than its source, so a date that was rounded up goes down one step.
    struct stat got {};
    if (::fstat(copy, &got) != 0) return errno;
    if (!isLater(got, wanted)) return 0;
    if (::futimens(copy, lowered(got, wanted).data()) != 0 || ::fstat(copy, &got) != 0) return errno;
    return isLater(got, wanted) ? ERANGE : 0;
}

int MetadataCopy::setDates(const ItemSpot& copy, const struct stat& wanted) {
    if (const Result<void> set = copy.setTimes(datesOf(wanted)); !set) return set.code();
    if (_capabilities.dateGranularity <= 1) return 0;
    Result<struct stat> got = copy.status();
    if (!got || !isLater(*got, wanted)) return got.code();
    if (const Result<void> set = copy.setTimes(lowered(*got, wanted)); !set) return set.code();
    got = copy.status();
    if (!got) return got.code();
    return isLater(*got, wanted) ? ERANGE : 0;
}

} // namespace vt

// Mounted volumes and folder drives: who they are, what they can hold, and when they come and go.
// Thread: main for observers, adopt and forget; the asking operations on any.
#pragma once

#include "base/Result.h"
#include "base/Value.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vt {

// The answer of a volume about itself. Block devices read as "/dev/disk<major>s<minor>", a folder drive as
// "/dev/diskf<inode>", a share as "//GUEST:@<address>/<share>"; FAT reads as type "msdos", a share as "smbfs".
struct VolumeStat {
    std::string mountedOn;
    std::string mountedFrom;
    std::string typeName;
    std::uint64_t totalBytes = 0;
    std::uint64_t freeBytes = 0; // for the ordinary user
    bool readOnly = false;
};

// What the destination can hold; asked, never guessed from a name.
struct DestinationCapabilities {
    bool caseSensitive = true;
    bool holdsLinks = true;
    bool holdsOwnership = true;
    std::int64_t dateGranularity = 1;  // nanoseconds
    std::uint64_t largestFile = ~0ULL; // bytes
    std::string reservedCharacters;    // bytes that no name may hold, besides "/" and NUL
    bool holdsAnyBytes = true;         // false: names are text, UTF-8 here
    bool holdsTrailingDots = true;     // false: they are cut off, which makes another name

    // A file of exactly this name can stand there, as far as the kind of file system tells.
    [[nodiscard]] bool holdsName(std::string_view name) const;
};

// Disk descriptions are dictionaries with these keys; a key that is unknown for a disk is absent.
namespace diskdescription {
inline constexpr const char* volumePath = "DAVolumePath"; // string
inline constexpr const char* volumeName = "DAVolumeName"; // string
inline constexpr const char* volumeKind = "DAVolumeKind"; // string
inline constexpr const char* volumeUuid = "DAVolumeUUID"; // string
// The volume's own identity, also where the file system has no UUID (FAT's serial number); stable over mounts.
inline constexpr const char* volumeIdentity = "VTVolumeIdentity"; // string
inline constexpr const char* volumeNetwork = "DAVolumeNetwork";   // boolean
inline constexpr const char* mediaBsdName = "DAMediaBSDName";     // string, without "/dev/"
inline constexpr const char* mediaContent = "DAMediaContent";     // string
inline constexpr const char* mediaSize = "DAMediaSize";           // integer, bytes
inline constexpr const char* mediaWritable = "DAMediaWritable";   // boolean
inline constexpr const char* deviceInternal = "DADeviceInternal"; // boolean
inline constexpr const char* deviceVendor = "DADeviceVendor";     // string
inline constexpr const char* deviceModel = "DADeviceModel";       // string
inline constexpr const char* deviceRevision = "DADeviceRevision"; // string
} // namespace diskdescription

class VolumeObserver {
  public:
    virtual ~VolumeObserver() = default;
    virtual void diskAppeared(const Value::Dictionary& description) = 0;
    virtual void diskDisappeared(const Value::Dictionary& description) = 0;
    virtual void diskDescriptionChanged(const Value::Dictionary& description) = 0; // the volume path changed
};

class VolumeService {
  public:
    virtual ~VolumeService() = default;
    // Of the volume or folder drive that holds `path`. ENOENT when the path does not exist.
    [[nodiscard]] virtual Result<VolumeStat> statVolume(const std::string& path) = 0;
    [[nodiscard]] virtual DestinationCapabilities capabilities(const std::string& path) = 0;
    // Mount points of every volume a person would call a drive, folder drives included, the root and system mounts not.
    [[nodiscard]] virtual std::vector<std::string> mountedVolumes() = 0;
    [[nodiscard]] virtual std::optional<Value::Dictionary> describe(const std::string& mountPoint) = 0;
    // Starts the events: what is there already is reported as appeared, from the run loop, never inside the call.
    virtual void startObserving(VolumeObserver& observer) = 0;
    virtual void stopObserving() = 0;
    // Takes a plain folder as a folder drive (or lets it go). An event follows. Errors: ENOTDIR, EACCES; ENOENT: it is
    // not there now, but is remembered until it is removed, and its arrival is reported.
    [[nodiscard]] virtual Result<void> addFolderDrive(const std::string& path) = 0;
    virtual void removeFolderDrive(const std::string& path) = 0;
    // Unmounts a volume, or lets a folder drive go, on a thread of its own; `done` comes from the run loop, the event
    // before or after it. EBUSY while anything is open on it, EPERM, EINVAL: nothing is mounted there, ETIMEDOUT: what
    // is in memory is still being written out.
    using UnmountDone = std::function<void(const Result<void>&)>;
    virtual void unmount(const std::string& mountPoint, UnmountDone done) = 0;
    // A disk that was pulled while it was mounted leaves its mount behind. Takes it off `mountPoint`, lazily, but only
    // where it is that disk's and the disk is no longer there; a mount that is alive is never touched. `done` comes
    // from the run loop: whether a mount was taken off. EPERM: it is there and this user may not.
    using DetachDone = std::function<void(const Result<bool>&)>;
    virtual void detachGone(const std::string& mediaBsdName, const std::string& mountPoint, DetachDone done) = 0;
};

} // namespace vt

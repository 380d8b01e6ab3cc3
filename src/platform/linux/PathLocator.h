// Turns a path into what a system call can work on: below a drive's mount point relative to its directory handle and
// never leaving it, everywhere else by absolute path. Paths longer than the system's limit are walked in pieces.
// Thread: any. Errors: ENODEV when the drive is gone, ELOOP for a link that leads out of the drive, EXDEV for what lies
// on another volume mounted below it, EINVAL for a path that is not absolute, holds NUL or, on a drive, "..".
#pragma once

#include "base/Result.h"
#include "platform/DriveRoot.h"
#include "platform/linux/UniqueFd.h"

#include <cstdint>
#include <fcntl.h>
#include <string>
#include <sys/types.h>

namespace vt {

// A directory and a name in it, for an "at" call. Lives no longer than the path it was made of.
class Place {
  public:
    Place(int directory, const char* name, UniqueFd owner = {});
    Place(int directory, std::string name, UniqueFd owner = {}); // keeps the name

    [[nodiscard]] int directory() const { return _directory; }
    [[nodiscard]] const char* name() const { return _kept.empty() ? _name : _kept.c_str(); }

  private:
    int _directory = AT_FDCWD;
    const char* _name = nullptr;
    UniqueFd _owner;
    std::string _kept;
};

class PathLocator {
  public:
    // How a path is kept below the drive: by the kernel, or component by component where the kernel cannot.
    enum class Resolver : std::uint8_t { best, walk };
    // `drive` may be null and outlives the locator.
    explicit PathLocator(const DriveRoot* drive, Resolver resolver = Resolver::best);

    // The item itself is not looked at. The drive's own root is the name ".".
    [[nodiscard]] Result<Place> place(const std::string& path) const;
    // The same with a real handle on the parent folder, even for an ordinary path.
    [[nodiscard]] Result<Place> placeInFolder(const std::string& path) const;
    [[nodiscard]] Result<UniqueFd> open(const std::string& path, int flags, mode_t mode = 0) const;

    [[nodiscard]] bool isOnDrive(const std::string& path) const;
    [[nodiscard]] bool driveIsGone() const { return _drive != nullptr && _drive->isGone(); }
    // An error on `path`; whatever the code, it is ENODEV once the path's drive has gone.
    [[nodiscard]] Error error(int code, const std::string& path) const;

  private:
    struct Split { // a path as a starting handle and the part below it
        int start = AT_FDCWD;
        std::string rest; // "." for the drive's root
    };
    [[nodiscard]] Result<Split> onDrive(const std::string& path) const;
    [[nodiscard]] int openBelow(int start, const std::string& rest, int flags, mode_t mode, UniqueFd& opened) const;
    [[nodiscard]] int openLong(int start, const std::string& rest, bool beneath, int flags, mode_t mode,
                               UniqueFd& opened) const;
    [[nodiscard]] Result<Place> placeOnDrive(const std::string& path) const;

    const DriveRoot* _drive;
    bool _kernelResolves;
};

} // namespace vt

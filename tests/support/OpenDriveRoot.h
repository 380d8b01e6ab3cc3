// A drive root over any folder, open from the start until it is marked gone.
#pragma once

#include "platform/DriveRoot.h"

#include <atomic>
#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace vt::test {

class OpenDriveRoot final : public DriveRoot {
  public:
    explicit OpenDriveRoot(std::string mountPoint)
        : _mountPoint(std::move(mountPoint)), _handle(::open(_mountPoint.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
    }
    OpenDriveRoot(const OpenDriveRoot&) = delete;
    OpenDriveRoot& operator=(const OpenDriveRoot&) = delete;
    ~OpenDriveRoot() override {
        if (_handle >= 0) ::close(_handle);
    }
    [[nodiscard]] const std::string& mountPoint() const override { return _mountPoint; }
    [[nodiscard]] Result<int> handle() const override {
        if (_gone) return Error::fromErrno(ENODEV, _mountPoint);
        return _handle;
    }
    void markGone() override { _gone = true; }
    [[nodiscard]] bool isGone() const override { return _gone; }

  private:
    std::string _mountPoint;
    int _handle;
    std::atomic<bool> _gone = false;
};

} // namespace vt::test

// Keeps one controller's work on the drive that it was made for. The mount's identity is recorded at creation; each
// piece of work opens the root directory, verifies the identity and works relative to the handle until it is done.
// Thread: any; markGone() may come while a worker works. Owns: the open directory while a session lasts.
// Errors: ENODEV once the drive is gone, is another one, or no session is open.
#pragma once

#include "platform/DriveFiles.h"
#include "platform/DriveRoot.h"

#include <atomic>
#include <memory>
#include <mutex>
#include <string>

namespace vt {

class DriveGuard : public DriveRoot {
  public:
    DriveGuard(std::string mountPoint, DriveFilesFactory& factory);

    void recordIdentity(); // once, at creation
    [[nodiscard]] const std::string& mountPoint() const override { return _mountPoint; }
    [[nodiscard]] Result<int> handle() const override;
    void markGone() override { _gone.store(true); }
    [[nodiscard]] bool isGone() const override { return _gone.load(); }

    // Sessions nest; the directory stays open until the last one ends.
    [[nodiscard]] Result<void> beginSession();
    void endSession();

  private:
    [[nodiscard]] Error deviceGone() const;

    std::string _mountPoint;
    DriveFilesFactory& _factory;
    std::atomic<bool> _gone{false};
    mutable std::mutex _mutex;
    std::string _identity; // empty: could not be recorded
    std::unique_ptr<DirectoryHandle> _directory;
    int _sessions = 0;
};

// One piece of work on the drive. When it could not be opened every operation on the drive fails with ENODEV, so the
// holder may simply go on.
class DriveSession {
  public:
    explicit DriveSession(DriveGuard& guard) : _guard(guard), _open(guard.beginSession().ok()) {}
    ~DriveSession() {
        if (_open) _guard.endSession();
    }
    DriveSession(const DriveSession&) = delete;
    DriveSession& operator=(const DriveSession&) = delete;
    [[nodiscard]] bool isOpen() const { return _open; }

  private:
    DriveGuard& _guard;
    bool _open;
};

} // namespace vt

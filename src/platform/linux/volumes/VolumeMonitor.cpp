#include "platform/linux/volumes/VolumeMonitor.h"

#include "base/LogSink.h"

#include <array>
#include <cstdint>
#include <libmount/libmount.h>
#include <libudev.h>
#include <memory>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>
#include <utility>

namespace vt {

namespace {

// The kernel's mount table.
class MountEvents {
  public:
    MountEvents() : _monitor(mnt_new_monitor()) {
        if (!_monitor || mnt_monitor_enable_kernel(_monitor, 1) != 0 || mnt_monitor_get_fd(_monitor) < 0)
            systemLog("mounts cannot be watched: drives are noticed only at the start");
    }
    ~MountEvents() { mnt_unref_monitor(_monitor); }
    MountEvents(const MountEvents&) = delete;
    MountEvents& operator=(const MountEvents&) = delete;
    [[nodiscard]] int descriptor() const { return _monitor ? mnt_monitor_get_fd(_monitor) : -1; }
    void drain() { mnt_monitor_event_cleanup(_monitor); }

  private:
    libmnt_monitor* _monitor;
};

// Block devices that come, go or change their medium: from udev where it runs, else from the kernel.
class DeviceEvents {
  public:
    DeviceEvents() : _context(udev_new()) {
        const bool udevRuns = ::access("/run/udev/control", F_OK) == 0;
        _monitor = _context ? udev_monitor_new_from_netlink(_context, udevRuns ? "udev" : "kernel") : nullptr;
        if (!_monitor) return; // not allowed in some containers: mounts are seen all the same
        udev_monitor_filter_add_match_subsystem_devtype(_monitor, "block", nullptr);
        udev_monitor_enable_receiving(_monitor);
    }
    ~DeviceEvents() {
        udev_monitor_unref(_monitor);
        udev_unref(_context);
    }
    DeviceEvents(const DeviceEvents&) = delete;
    DeviceEvents& operator=(const DeviceEvents&) = delete;
    [[nodiscard]] int descriptor() const { return _monitor ? udev_monitor_get_fd(_monitor) : -1; }
    void drain() {
        while (udev_device* device = udev_monitor_receive_device(_monitor)) udev_device_unref(device);
    }

  private:
    udev* _context;
    udev_monitor* _monitor = nullptr;
};

} // namespace

VolumeMonitor::VolumeMonitor(Look look, std::chrono::milliseconds interval)
    : _look(std::move(look)), _interval(interval), _wake(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)),
      _thread([this] { run(); }) {}

VolumeMonitor::~VolumeMonitor() {
    _ending = true;
    lookAgain();
    _thread.join();
}

void VolumeMonitor::lookAgain() {
    const std::uint64_t one = 1;
    // A counter that is full wakes the thread too.
    [[maybe_unused]] const ssize_t written = ::write(_wake.get(), &one, sizeof one);
}

void VolumeMonitor::run() {
    MountEvents mounts; // before the first look, so that nothing falls between
    DeviceEvents devices;
    Since since = Since::mayHaveMounted;
    for (;;) {
        const bool again = _look(since);
        if (_ending) return;
        std::array<pollfd, 3> waits = {pollfd{_wake.get(), POLLIN, 0}, pollfd{mounts.descriptor(), POLLIN, 0},
                                       pollfd{devices.descriptor(), POLLIN, 0}};
        // Without a wake-up descriptor (none left) the end must be noticed by asking.
        const bool asks = again || !_wake.isOpen();
        const int woken = ::poll(waits.data(), waits.size(), asks ? static_cast<int>(_interval.count()) : -1);
        if (_ending) return;
        since = woken == 0 && mounts.descriptor() >= 0 ? Since::lastLook : Since::mayHaveMounted;
        std::uint64_t count = 0;
        if (waits[0].revents != 0 && ::read(_wake.get(), &count, sizeof count) < 0) count = 0;
        if (waits[1].revents != 0) mounts.drain();
        if (waits[2].revents != 0) devices.drain();
    }
}

} // namespace vt

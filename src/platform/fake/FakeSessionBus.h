// A session bus without a bus: a test calls the service itself and reads the signals here. Thread: main.
#pragma once

#include "platform/SessionBus.h"

#include <cerrno>
#include <functional>
#include <string>
#include <vector>

namespace vt {

class FakeSessionBus final : public SessionBus {
  public:
    int startError = 0;            // EEXIST: another agent owns the name; ENOTCONN: no bus
    BusService* service = nullptr; // while started
    std::vector<std::string> appeared;
    std::vector<std::string> disappeared;
    std::vector<DriveWaiting> waits;

    [[nodiscard]] Result<void> start(BusService& with) override {
        if (startError != 0) return Error{startError, Disposition::goOn, {}, "the bus refused"};
        service = &with;
        return {};
    }
    void driveAppeared(const std::string& mountPoint) override {
        if (service) appeared.push_back(mountPoint);
    }
    void driveDisappeared(const std::string& mountPoint) override {
        if (service) disappeared.push_back(mountPoint);
    }
    void changesWait(const DriveWaiting& drive) override {
        if (service) waits.push_back(drive);
    }
    void stop() override {
        if (service && ends) ends();
        service = nullptr;
    }
    std::function<void()> ends; // may be empty
};

} // namespace vt

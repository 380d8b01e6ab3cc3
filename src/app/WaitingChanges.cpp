#include "app/WaitingChanges.h"

#include "base/Paths.h"

#include <chrono>
#include <utility>

namespace vt {

namespace {
constexpr std::chrono::milliseconds moment{100};
}

std::map<std::string, DriveWaiting> WaitingChanges::current() const {
    std::map<std::string, DriveWaiting> waiting;
    const auto left = _continuous.quietTimeLeft();
    if (!left) return waiting;
    const double seconds = std::chrono::duration<double>(*left).count();
    for (const auto& [key, controller] : _registry.all()) {
        std::vector<std::string> folders = _continuous.waitingFoldersOf(*controller);
        if (folders.empty()) continue;
        const std::string& mountPoint = controller->deviceMountPoint();
        waiting.insert_or_assign(mountPoint, DriveWaiting{mountPoint, std::move(folders), seconds});
    }
    return waiting;
}

std::vector<Value::Dictionary> WaitingChanges::all() const {
    std::vector<Value::Dictionary> list;
    for (const auto& [mountPoint, drive] : current()) {
        Value::Array folders;
        for (const std::string& folder : drive.folders) folders.emplace_back(paths::displayText(folder));
        Value::Dictionary entry;
        entry.emplace("mountPoint", paths::displayText(mountPoint));
        entry.emplace("folders", std::move(folders));
        entry.emplace("secondsLeft", drive.secondsLeft);
        list.push_back(std::move(entry));
    }
    return list;
}

void WaitingChanges::tellSoon() {
    if (!_soon) _soon = _services.runLoop.after(moment, [this] { tell(); });
}

void WaitingChanges::tell() {
    const std::unique_ptr<Timer> fired = std::move(_soon);
    const auto before = std::exchange(_told, current());
    for (const auto& [mountPoint, drive] : _told) _services.bus.changesWait(drive);
    // What was told of and is over: nothing waits for that drive any more.
    for (const auto& [mountPoint, drive] : before)
        if (_told.count(mountPoint) == 0) _services.bus.changesWait({mountPoint, {}, 0});
}

} // namespace vt

#include "config/VTPushkeyManager.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace vt {

namespace {

using namespace literals;

constexpr std::chrono::milliseconds timeToLaunch{1'000};
constexpr FourCharCode typeApplicationBundleID = "bund"_fcc;
constexpr FourCharCode eventClass = "vnTR"_fcc;
constexpr FourCharCode openSyncSettingsEvent = "osse"_fcc;
constexpr FourCharCode keyDirectObject = "----"_fcc;
constexpr FourCharCode keyErrorNumber = "errn"_fcc;

} // namespace

bool VTPushkeyManager::openSyncSettingsForDevice(const std::optional<std::string>& drive) {
    if (isAppRunning(managerIdentifier)) {
        sendSyncSettingsForDevice(drive);
        return true;
    }
    if (!_services.applications.launch(managerIdentifier, launchAsync)) return false;
    const auto place = _timers.insert(_timers.end(), SyncSettingsTimer{nullptr, drive});
    place->timer = _services.runLoop.after(timeToLaunch, [this, place] { handleSyncSettingsTimer(place); });
    return true;
}

void VTPushkeyManager::handleSyncSettingsTimer(std::list<SyncSettingsTimer>::iterator timer) {
    // The timer lives until this call returns: it holds the closure.
    std::list<SyncSettingsTimer> fired;
    fired.splice(fired.end(), _timers, timer);
    sendSyncSettingsForDevice(fired.front().drive);
}

void VTPushkeyManager::sendSyncSettingsForDevice(const std::optional<std::string>& drive) {
    if (!drive) return;
    OutgoingEvent event;
    event.target = EventDescriptor(typeApplicationBundleID, managerIdentifier);
    event.eventClass = eventClass;
    event.eventId = openSyncSettingsEvent;
    event.parameters.emplace(keyDirectObject, EventDescriptor::descriptorWithText(*drive));
    const SentEvent sent = _services.events.send(event, waitReply);
    // Whether it succeeded is asked and, deliberately, not used.
    (void)checkStatus(sent.status, sent.reply, "openSyncSettingsForDevice");
}

bool VTPushkeyManager::isAppRunning(const std::string& bundleIdentifier) {
    const std::vector<std::string> running = _services.applications.runningApplications();
    return std::find(running.begin(), running.end(), bundleIdentifier) != running.end();
}

bool VTPushkeyManager::checkStatus(std::int32_t status, const std::optional<EventDescriptor::Record>& reply,
                                   const std::string& /*message*/) {
    if (status != 0 || !reply) return false;
    const auto number = reply->find(keyErrorNumber);
    return number == reply->end() || number->second.int32Value() == 0;
}

} // namespace vt

// Opens the sync settings of one drive in the manager application: starts it where it is not running, then sends it an
// event that names the drive. Thread: main. Errors: a failed launch is false; how the sending ends is judged, not told.
#pragma once

#include "platform/Applications.h"
#include "platform/EventSender.h"
#include "platform/RunLoop.h"

#include <list>
#include <memory>
#include <optional>
#include <string>

namespace vt {

class VTPushkeyManager {
  public:
    static constexpr const char* managerIdentifier = "com.Talmont.PushkeyManager";

    struct Services {
        Applications& applications;
        EventSender& events;
        RunLoop& runLoop;
    };
    explicit VTPushkeyManager(Services services) : _services(services) {}

    // `drive` is the text that the event carries, as a rule a mount point. One second after a launch, or at once.
    bool openSyncSettingsForDevice(const std::optional<std::string>& drive);
    // Nothing happens without a drive. The caller waits for the reply.
    void sendSyncSettingsForDevice(const std::optional<std::string>& drive);
    [[nodiscard]] bool isAppRunning(const std::string& bundleIdentifier);
    // Whether a sending succeeded: status 0 and a reply whose error number is missing or 0. `message` names the event.
    [[nodiscard]] static bool checkStatus(std::int32_t status, const std::optional<EventDescriptor::Record>& reply,
                                          const std::string& message);

  private:
    struct SyncSettingsTimer {
        std::unique_ptr<Timer> timer;
        std::optional<std::string> drive;
    };
    void handleSyncSettingsTimer(std::list<SyncSettingsTimer>::iterator timer);

    Services _services;
    std::list<SyncSettingsTimer> _timers; // the valid ones: one for each launch that is not a second old
};

} // namespace vt

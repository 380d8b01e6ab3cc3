// Continuous sync on fakes: drives in a registry, a run loop and a clock that a test moves, and folder events that it
// raises. Each drive's worker stands still, so that what was handed to it can be read.
#pragma once

#include "app/ContinuousSync.h"
#include "platform/fake/FakeFileEvents.h"
#include "platform/fake/FakeNotifications.h"
#include "platform/fake/FakeSessionBus.h"
#include "support/SyncWorld.h"

#include <chrono>
#include <memory>
#include <string>
#include <vector>

namespace vt::test {

inline constexpr const char* eventData = "com.corvane.vantaro.eventdata.notification.evt";
inline constexpr const char* helperSettings = "com.corvane.vantaro.helpersettings.notification";
inline constexpr const char* refreshRequest = "com.corvane.vantaro.helpersettings.refreshReq";
inline constexpr const char* activityName = "com.corvane.vantaro.syncInProgress.notification.evt";

class ContinuousWorld : public SyncWorld {
  public:
    FakeNotifications notifications{loop};
    FakeFileEvents events{loop};
    FakeSessionBus bus;
    ApplicationServices application{
        .runLoop = loop,
        .clock = clock,
        .system = system,
        .preferences = preferences,
        .propertyLists = propertyLists,
        .driveFiles = driveFiles,
        .volumes = volumes,
        .notifications = notifications,
        .fileEvents = &events,
        .workspace = workspace,
        .alerts = alerts,
        .bus = bus,
        .fileSystems = names,
        .threads = nullptr,
        .media = nullptr,
        .shell = nullptr,
        .makeLogWindow = {},
        .sleep = [](std::chrono::milliseconds) {},
        .quit = [](int) {},
        .version = "1.0.0",
    };
    SyncControllerRegistry registry{services, host};
    bool leopard = true; // the system watches by itself
    ContinuousSync continuous{application, registry, host, [this] { return leopard; }};

    ContinuousWorld() { continuous.setContinuousSyncNotificationsEnabled(true); }

    std::shared_ptr<VTSyncController> addDrive(const std::string& name, const std::vector<std::string>& list) {
        const std::string mountPoint = "/media/" + name;
        mountDrive(mountPoint, "disk-" + name);
        auto made = registry.createSyncControllerForMountPoint(mountPoint, "Talmont", std::nullopt, "disk-" + name);
        made->playWorkerByHand();
        join(*made, list);
        run(*made);
        return made;
    }
    // A drive that is kept up to date, with its folders watched.
    std::shared_ptr<VTSyncController> addContinuousDrive(const std::string& name,
                                                         const std::vector<std::string>& list) {
        auto made = addDrive(name, list);
        switchContinuous(*made, true);
        pass(1); // that began a pass
        watch();
        return made;
    }
    static void switchContinuous(VTSyncController& which, bool on) {
        which.setContinuousSyncState(on);
        run(which);
    }
    void watch() { continuous.updateContinuousSyncSettings(); }
    void change(const std::string& path) {
        events.fire(path);
        loop.runPending();
    }
    void pass(int seconds) { loop.advance(std::chrono::seconds(seconds)); }
    void passMilliseconds(int milliseconds) { loop.advance(std::chrono::milliseconds(milliseconds)); }

    // The paths of each continuous sync that waits for the drive's worker, in order; taken out of its queue.
    std::vector<std::vector<std::string>> handedTo(VTSyncController& which) {
        std::vector<std::vector<std::string>> handed;
        host.debug = true;
        host.forget();
        if (which.busy()) {
            const auto lines = host.lines();
            handed = pathsIn(lines.front());
        }
        host.debug = false;
        run(which);
        return handed;
    }

  private:
    // Reads them out of the log's text of the task list: each task's paths stand in parentheses after their key.
    static std::vector<std::vector<std::string>> pathsIn(const std::string& text) {
        std::vector<std::vector<std::string>> tasks;
        for (std::size_t at = text.find("pathsToSyncTo"); at != std::string::npos;
             at = text.find("pathsToSyncTo", at)) {
            const std::size_t open = text.find('(', at);
            const std::size_t close = text.find(')', open);
            std::vector<std::string> paths;
            for (std::size_t name = text.find('/', open); name < close; name = text.find('/', name)) {
                const std::size_t end = text.find_first_of("\",\n) ", name);
                paths.push_back(text.substr(name, end - name));
                name = end;
            }
            tasks.push_back(std::move(paths));
            at = close;
        }
        return tasks;
    }
};

} // namespace vt::test

#include "app/VTApplicationController.h"

#include "app/ApplicationExclusions.h"
#include "app/ApplicationHost.h"
#include "app/DriveCommands.h"
#include "app/DrivesService.h"
#include "app/SystemTasks.h"
#include "app/WaitingChanges.h"
#include "base/Paths.h"
#include "base/Text.h"
#include "base/ThreadChecker.h"

#include <algorithm>
#include <cerrno>

namespace vt {

namespace {
constexpr std::chrono::milliseconds pauseWhileAwaking{1'000};
constexpr std::chrono::milliseconds patienceAtTheEnd{2'000};
} // namespace

// Members are declared in the order of their dependence: each knows only what stands above it.
struct VTApplicationController::Parts {
    explicit Parts(ApplicationServices given);

    ApplicationServices services;
    ThreadChecker mainThread;
    ApplicationIdentity identity;
    ApplicationExclusions exclusions;
    LogFrontEnd log;
    VTUserDefaults userDefaults;
    ApplicationHost host;
    SyncServices syncServices;
    SyncControllerRegistry registry;
    MediaSettings media;
    ContinuousSync continuous;
    WaitingChanges waiting;
    DelayedCalls delayed;
    std::unique_ptr<DriveFiles> localFiles;
    DriveArrival arrival;
    DriveCommands commands;
    EventDispatcher events;
    ServedVolumes served;
    FilterExplainer explainer;
    DrivesService drives;
    SystemTasks tasks;

    DriveArrival::Collaborators collaborators() {
        return {services, log, registry, media, continuous, delayed, [this] { updateContinuousSyncSettings(); }};
    }
    ConfigurationServices configuration() {
        return {localFiles->files(),    localFiles->contents(),
                services.propertyLists, services.preferences,
                services.system,        host,
                services.clock,         log};
    }
    ServedVolumes::Service servedDrives() {
        return {[this](const std::string& key) { return registry.controllerForKey(key) != nullptr; },
                [this] { return syncedFolders(); },
                [this](std::uint64_t device, std::uint64_t inode) { return driveWithRoot(device, inode); }};
    }
    [[nodiscard]] std::vector<AdoptionRules::SyncedFolder> syncedFolders() const;
    [[nodiscard]] std::optional<std::string> driveWithRoot(std::uint64_t device, std::uint64_t inode) const;
    void updateContinuousSyncSettings() { continuous.updateContinuousSyncSettings(); }
};

std::vector<AdoptionRules::SyncedFolder> VTApplicationController::Parts::syncedFolders() const {
    const HomePaths homePaths(services.system.home());
    std::vector<AdoptionRules::SyncedFolder> folders;
    for (const auto& [key, controller] : registry.all())
        for (const std::string& item : controller->shadowedSyncList())
            folders.push_back({homePaths.standardise(item), controller->deviceMountPoint()});
    return folders;
}

std::optional<std::string> VTApplicationController::Parts::driveWithRoot(std::uint64_t device,
                                                                         std::uint64_t inode) const {
    for (const SyncProcess::Root& root : syncServices.process->servedRoots()) {
        if (root.device != device || root.inode != inode) continue;
        const auto controller = registry.syncControllerForMountPoint(root.mountPoint);
        if (controller && controller->deviceMountPoint() == root.mountPoint) return root.mountPoint;
    }
    return std::nullopt;
}

VTApplicationController::Parts::Parts(ApplicationServices given)
    : services(std::move(given)), identity(services.system), exclusions(HomePaths(services.system.home())),
      log(services), userDefaults(application::bundleIdentifier, services.preferences, services.system, services.clock),
      host({services, log, identity, userDefaults,
            [this](bool forced, const std::optional<Value::Dictionary>& dictionary) {
                continuous.sendActivityNotificationForced(forced, dictionary);
            },
            [this](const std::string& mountPoint) { arrival.replaceController(mountPoint); }}),
      syncServices{host,
                   services.driveFiles,
                   services.volumes,
                   services.propertyLists,
                   services.preferences,
                   services.system,
                   services.clock,
                   services.runLoop,
                   services.workspace,
                   services.alerts,
                   exclusions,
                   services.fileSystems,
                   services.threads,
                   services.media,
                   services.shell},
      registry(syncServices, log), media(registry),
      continuous(services, registry, log, [this] { return host.runningOnLeopardOrLater(); }),
      waiting(services, registry, continuous), delayed(services.runLoop, registry),
      localFiles(services.driveFiles.bind(nullptr)), arrival(collaborators()),
      commands(collaborators(), configuration()), events(commands),
      served(services, identity, log, arrival, servedDrives()),
      explainer({services.runLoop, services.threads, services.media, exclusions, localFiles->files(),
                 services.system.home()}),
      drives(collaborators(), arrival, served, events, explainer, waiting), tasks(services.children) {
    continuous.waitingMayHaveChanged = [this] { waiting.tellSoon(); };
    registry.appeared = [this](const std::string& mountPoint) { services.bus.driveAppeared(mountPoint); };
    arrival.arrived = [this](const std::string& mountPoint) { drives.driveArrived(mountPoint); };
    registry.disappeared = [this](const std::string& mountPoint) {
        services.bus.driveDisappeared(mountPoint);
        drives.driveLeft(mountPoint);
    };
}

VTApplicationController::VTApplicationController(ApplicationServices services)
    : _parts(std::make_unique<Parts>(std::move(services))) {
    _parts->continuous.startActivityTimer();
}

VTApplicationController::~VTApplicationController() {
    cleanup();
}

void VTApplicationController::awakeFromNib() {
    VT_ASSERT_THREAD(_parts->mainThread);
    systemLog("entering awakeFromNib");
    whackSavedState();
    systemLog("awakeFromNib");
    _parts->services.sleep(pauseWhileAwaking);
    systemLog("awakeFromNib2");
    _parts->continuous.setContinuousSyncNotificationsEnabled(true);
}

bool VTApplicationController::applicationWillFinishLaunching() {
    VT_ASSERT_THREAD(_parts->mainThread);
    _parts->log.setupLog();
    _parts->served.start();
    const auto started = _parts->services.bus.start(_parts->drives);
    if (started.code() == EEXIST) return false;
    if (!started.ok())
        _parts->log.logMessage(formatText("The session bus is out of reach: %@.", {started.error().text}));
    // Not before it is known to be the only agent: the log belongs to that one.
    _parts->log.flushLog();
    return true;
}

void VTApplicationController::applicationWillTerminate() {
    if (m_bCleanedUp) return;
    _parts->log.logMessage(localised("Mirrorly stopping."));
    _parts->log.flushLog();
    cleanup();
}

void VTApplicationController::cleanup() {
    if (m_bCleanedUp) return;
    m_bCleanedUp = true;
    _parts->continuous.setContinuousSyncNotificationsEnabled(false);
    _parts->served.stop();
    _parts->services.bus.stop();
    _parts->identity.forget();
    _parts->continuous.dropItems();
    _parts->continuous.tearDownFSEventStreams();
    _parts->delayed.dropAll();
    _parts->waiting.dropAll();
    // Each worker is told to end; what it still wants of the main thread is served for a while, then released unserved.
    const auto controllers = _parts->registry.takeAll();
    for (const auto& [key, controller] : controllers) controller->queueDeath();
    _parts->services.runLoop.beginShutdown();
    _parts->services.runLoop.serveUntil(
        [&] {
            return std::all_of(controllers.begin(), controllers.end(),
                               [](const auto& entry) { return entry.second->workerEnded(); });
        },
        patienceAtTheEnd);
}

std::string VTApplicationController::uniqueHostUserId() const {
    return _parts->identity.uniqueHostUserId();
}

void VTApplicationController::whackSavedState() {
    const std::string state = HomePaths(_parts->services.system.home())
                                  .standardise(formatText("~/Library/Saved Application State/%@.savedState",
                                                          {application::bundleIdentifier}));
    const auto attributes = _parts->localFiles->files().attributes(state);
    if (attributes.ok() && attributes->isDirectory()) _parts->localFiles->files().remove(state, {}).ignore();
}

bool VTApplicationController::openFile(const std::string& path) {
    openFiles({path});
    return true;
}

void VTApplicationController::openFiles(const std::vector<std::string>& paths) {
    for (const std::string& path : paths) _parts->commands.startSyncForDriveAt(path);
}

bool VTApplicationController::setupDriveForSync(const std::string& drive) {
    _parts->commands.setSyncList({"~/Sites", "~/Shared"}, drive);
    return true;
}

void VTApplicationController::updateContinuousSyncSettings() {
    _parts->updateContinuousSyncSettings();
}

bool VTApplicationController::isBusy() const {
    (void)_parts->registry.isBusyController();
    return false;
}

std::optional<std::string> VTApplicationController::isBusyPath() const {
    const auto busy = _parts->registry.isBusyController();
    return busy ? std::optional(busy->pathForPushkeyTarget()) : std::nullopt;
}

std::optional<Value::Dictionary> VTApplicationController::isBusyProgressDict() const {
    const auto busy = _parts->registry.isBusyController();
    return busy ? std::optional(busy->getCurrentProgressDict()) : std::nullopt;
}

DriveArrival& VTApplicationController::arrival() {
    return _parts->arrival;
}
DriveCommands& VTApplicationController::commands() {
    return _parts->commands;
}
DrivesService& VTApplicationController::drivesService() {
    return _parts->drives;
}
ContinuousSync& VTApplicationController::continuousSync() {
    return _parts->continuous;
}
SystemTasks& VTApplicationController::systemTasks() {
    return _parts->tasks;
}
LogFrontEnd& VTApplicationController::log() {
    return _parts->log;
}
SyncControllerRegistry& VTApplicationController::registry() {
    return _parts->registry;
}

} // namespace vt

#include "sync/ControllerParts.h"

#include "base/LogSink.h"
#include "config/ExecOnThread.h"
#include "config/FSNamesAndTags.h"
#include "sync/owed/DriveKey.h"

#include <utility>

namespace vt {

namespace {

constexpr const char* preferencesDomain = "com.corvane.vantaro";
constexpr const char* keepAsideKey = "keep-aside";

std::string stateFolder(const SyncServices& services) {
    return paths::join(services.system.stateHome(), "vantaro");
}

// The identity of the mount is recorded before anything else looks at it.
std::shared_ptr<DriveGuard> makeGuard(const std::string& mountPoint, DriveFilesFactory& driveFiles) {
    auto guard = std::make_shared<DriveGuard>(mountPoint, driveFiles);
    guard->recordIdentity();
    return guard;
}

} // namespace

VTSyncController::Parts::Parts(const std::string& mountPoint, const std::string& vendor,
                               const std::optional<std::string>& uuid, const SyncServices& given)
    : services(given), deviceVendor(vendor), hostUserId(given.host.uniqueHostUserId()), deviceUUIDString(uuid),
      guard(makeGuard(mountPoint, services.driveFiles)), drive(services.driveFiles.bind(guard.get())),
      log(services.host, services.runLoop, services.clock, *services.process),
      progress({mountPoint, [this] { return busy(); }, [this] { return cancel.pending(); }}),
      paths(mountPoint, uuid, hostUserId, services.system), facts(mountPoint, factServices()),
      writer(std::make_shared<ConfigurationWriter>(guard, services.runLoop)),
      configuration(openConfiguration(VTConfigurationFile::ptop)), lastSyncTime(configuration),
      markers({drive->files(), drive->contents(), services.propertyLists, hostUserId,
               // A second instance, whose list is that of the whole drive, for each marker.
               [this] { return openConfiguration(VTConfigurationFile::ctoc)->configSyncUserList(); }}),
      owed(
          OwedRecord(drive->files(), drive->contents(), services.system.stateHome(),
                     driveKey(services.volumes, mountPoint, uuid)),
          [this](const std::string& item) { return paths.local(item); },
          [this](const std::string& text) { log.logMessage(text); }),
      copied(drive->contents(), mountPoint, services.system.stateHome(), driveKey(services.volumes, mountPoint, uuid),
             [this](const std::string& text) { log.logMessage(text); }),
      delegate(std::make_shared<WorkerDelegate>(WorkerDelegate::Services{
          services.host, services.runLoop, services.alerts, services.volumes, log, progress, cancel})),
      tools({*drive, services.volumes, services.workspace, services.clock, cancel, *services.process, log, delegate,
             paths,
             paths::join(paths::join(stateFolder(services), "journal"),
                         OwedRecord::stateName(driveKey(services.volumes, mountPoint, uuid))),
             services.system.bootId(), [this](const std::string& path) { return owed.record().knownToFail(path); },
             [this](const std::string& staged) { pass.leftBehind(staged); },
             [this](std::uint64_t bytes) { pass.nameRefused(bytes); },
             [this](const std::string& path, const FileAttributes& source) {
                 copied.wasCopied(path, source);
                 recent.wasCopied(path, source);
             },
             [this](const std::string& path) { return pass.seenOnDrive(path); },
             [this](const std::string& path) { return pass.isOfAnItem(path); }}),
      pass(passServices()), listUpdate({*configuration, drive->files(), services.workspace, log, delegate, mountPoint}),
      runner(
          {tasks, progress, log, cancel, *guard, *services.process, *this, paths.home(), [this] { notify(); }, {}, {}}),
      master(runner, tasks) {
    delegate->processATempFolder = [this](const std::string& folder) {
        return tools.folders().processATempFolder(folder);
    };
    delegate->pathWasLeftOut = [this](const std::string& source, OwedReason reason) { pass.leftOut(source, reason); };
    delegate->wasFiltered = [this](std::uint64_t bytes) { pass.tally().filter(bytes); };
    // On the main thread a slow drive must not be waited for; the worker writes as it goes.
    configuration->setWriteRunner([this](std::function<bool()> write) {
        return services.runLoop.isMainThread() ? writer->write(std::move(write)) : write();
    });
    paths.setVolumeRoots(SyncPaths::removableRoots(services.volumes, mountPoint));
    if (services.progressWindow) window = services.progressWindow();
    const DriveSession session(*guard);
    if (const auto root = drive->files().attributesFollowing(mountPoint))
        services.process->addServedRoot(this, {mountPoint, root->device, root->inode});
}

VTSyncController::Parts::~Parts() {
    services.process->removeServedRoot(this);
}

ConfigurationServices VTSyncController::Parts::configurationServices() {
    return {drive->files(), drive->contents(), services.propertyLists, services.preferences, services.system,
            services.host,  services.clock,    services.host.log(),    wantsKeepAside()};
}

std::shared_ptr<VTConfigurationFile> VTSyncController::Parts::openConfiguration(int syncType) {
    const DriveSession session(*guard);
    return VTConfigurationFile::configWithMountPoint(guard->mountPoint(), syncType, configurationServices());
}

FileSystemFacts::Services VTSyncController::Parts::factServices() {
    return {
        services.volumes,
        [this](const std::string& personality) { return services.fileSystems.userFSNameForPersonality(personality); },
        [this](const std::string& personality) { return services.fileSystems.personalityIsFormattable(personality); },
        [this](const std::string& hint) { return services.fileSystems.contentHintIsFormattable(hint); },
        [this](const std::string& command, std::string& output) {
            constexpr int notStarted = 127;
            if (services.shell == nullptr) return notStarted;
            std::optional<std::string> text;
            const int status = ExecOnThread::execShellCommand(*services.shell, command, text);
            output = text.value_or("");
            return status;
        },
        [this] { return services.host.runningOnLeopardOrLater(); },
        [this](const std::string& path) {
            const auto stat = services.volumes.statVolume(path);
            return stat && !stat->readOnly;
        },
        services.system.productVersion()};
}

SyncPass::Services VTSyncController::Parts::passServices() {
    return {drive->files(),
            drive->contents(),
            services.propertyLists,
            services.volumes,
            services.clock,
            *guard,
            *configuration,
            paths,
            tools,
            markers,
            lastSyncTime,
            progress,
            log,
            cancel,
            *delegate,
            owed,
            copied,
            recent,
            SyncReport({log, progress, cancel, *delegate, guard->mountPoint(), [this] { notify(); },
                        [this] { return connectionStatus(); }}),
            hostUserId,
            [this] { notify(); },
            [this] { return validator.load(); },
            [this] { return facts.fsLimit4G(); },
            [this] { return wantsKeepAside(); },
            [this] { return wish("remember-content").value_or(Value(false)).boolValue(); },
            [this](const std::vector<std::string>& changed) {
                queue({.operation = operations::continuousSync,
                       .syncActivityType = activity::syncing,
                       .pathsToSyncTo = changed});
            }};
}

std::optional<int> VTSyncController::Parts::connectionStatus() {
    std::shared_ptr<ConnectedDrive> service;
    {
        const std::scoped_lock lock(fieldsMutex);
        service = netService;
    }
    // Asked without the lock: the drive's own thread may be telling this controller of its end.
    return service ? std::optional(service->connectionStatus()) : std::nullopt;
}

std::optional<Value> VTSyncController::Parts::wish(const std::string& key) {
    std::optional<Value> found;
    (void)services.runLoop.performAndWait(
        [&] { found = services.preferences.value(preferencesDomain, PreferenceHost::any, key); });
    return found;
}

bool VTSyncController::Parts::wantsKeepAside() {
    const auto wanted = wish(keepAsideKey);
    return !wanted || wanted->isNull() || wanted->boolValue();
}

void VTSyncController::Parts::notify() {
    services.host.sendActivityNotificationForced(true, progress.getCurrentProgressDict());
}

void VTSyncController::Parts::queue(TaskRecord task) {
    tasks.append(std::move(task));
    if (!playedByHand) master.conditionalDetachMasterThread(services.threads, shared_from_this());
}

bool VTSyncController::Parts::busy() {
    if (!tasks.busy()) return false;
    // As one text: main thread and worker ask at the same time, and neither may get between the other's lines.
    if (log.debugEnabled()) log.debugLine(">MRLSyncController.busy\n%@\n<MRLSyncController.busy", Value(tasks.tasks()));
    return true;
}

void VTSyncController::Parts::closeWindow() {
    if (window) window->close();
}

void VTSyncController::Parts::threadDoSyncListUpdate(const std::vector<std::string>& list) {
    const auto before = configuration->syncItemList().value_or(std::vector<std::string>());
    listUpdate.threadDoSyncListUpdate(list);
    // What leaves the list and comes back later is looked at as if for the first time.
    owed.itemsLeftTheList(SyncListUpdate::updateListThreadKillListGivenOldSyncList(before, list));
}

void VTSyncController::Parts::threadRemoveDriveSync() {
    (void)configuration->removeSyncConfiguration();
    services.host.syncConfigurationRemoved(guard->mountPoint());
}

} // namespace vt

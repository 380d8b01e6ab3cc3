// One drive's engine: what is known about the drive, its configuration, its filter, and the queue of tasks that its
// worker carries out. A façade: each group of operations forwards to a collaborator of its own (queue, compare, tree,
// copy, report, process, workfolders, progress). Thread: main, except operations named syncThread… (the worker's) and
// the cancel mark, counters and progress (any). Owns: the drive's configuration file object, validator, reporters, task
// queue and worker thread. Errors: yes or no at this surface; the reason is in the log. Units: absolute raw-byte paths;
// sync items as in the sync list ("~/…" inside the home folder); byte counts.
#pragma once

#include "base/Value.h"
#include "config/VTConfigurationFile.h"
#include "mediafilter/VTFileValidator.h"
#include "mediafilter/ValidatorOwner.h"
#include "platform/AlertPanel.h"
#include "platform/Clock.h"
#include "platform/DriveFiles.h"
#include "platform/PropertyLists.h"
#include "platform/RunLoop.h"
#include "platform/SystemIdentity.h"
#include "platform/VolumeService.h"
#include "platform/WorkerThreads.h"
#include "platform/Workspace.h"
#include "sync/SyncHost.h"
#include "sync/SyncProcess.h"
#include "sync/progress/ProgressWindow.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vt {

class FSNamesAndTags;
class MediaServices;
class MRLCopyErrorReporter;
class MRLDeleteErrorReporter;
class MRLErrorReporter;
class ShellCommands;
struct ItemTree;

// Everything a controller needs from outside; one set serves all controllers and outlives them.
struct SyncServices {
    SyncHost& host;
    DriveFilesFactory& driveFiles;
    VolumeService& volumes;
    PropertyLists& propertyLists;
    Preferences& preferences;
    const SystemIdentity& system;
    const Clock& clock;
    RunLoop& runLoop;
    Workspace& workspace;
    AlertPanel& alerts;
    const ExclusionTables& exclusions;
    FSNamesAndTags& fileSystems;
    // What follows may be left out.
    WorkerThreads* threads = nullptr;                                     // none: threads of the language's own library
    MediaServices* media = nullptr;                                       // none: no media file is valid
    ShellCommands* shell = nullptr;                                       // none: no command can be started
    std::function<std::unique_ptr<ProgressWindow>()> progressWindow = {}; // empty: no window
    std::shared_ptr<SyncProcess> process = std::make_shared<SyncProcess>();
};

// The wireless drive whose share a controller serves. Thread: any.
class ConnectedDrive {
  public:
    virtual ~ConnectedDrive() = default;
    [[nodiscard]] virtual std::string name() const = 0;
    [[nodiscard]] virtual int connectionStatus() const = 0; // 0: the connection is down
};

class VTSyncController : public ValidatorOwner, public std::enable_shared_from_this<VTSyncController> {
  public:
    // Null when the controller cannot be made. The worker thread starts with the first task.
    [[nodiscard]] static std::shared_ptr<VTSyncController>
    controllerForMountPoint(const std::string& mountPoint, const std::string& deviceVendor,
                            const std::optional<std::string>& uuid, const std::optional<std::string>& bsdNode,
                            SyncServices& services);
    ~VTSyncController() override;

    // Set-up checks, in this order on arrival.
    [[nodiscard]] bool isValidDevice();
    [[nodiscard]] bool isValidFileSystem();
    bool syncIsEnabledForThisDevice();
    [[nodiscard]] bool hasUserSeenThisDevice() const;
    [[nodiscard]] int syncType() const;
    [[nodiscard]] static std::int64_t parseDiskSize(std::string_view text);

    // Paths.
    [[nodiscard]] std::string pathForPushkeyTarget() const;
    [[nodiscard]] std::string pathForPushkeyTemp() const;
    [[nodiscard]] std::string pathForLocalTemp() const;
    [[nodiscard]] std::string pathForScanResults() const;
    [[nodiscard]] std::string pathSegmentFromSyncItem(const std::string& item) const;

    // Queueing.
    void sync();
    void continuousSyncNow(const std::vector<std::string>& paths);
    void removeDriveSync();
    void updateSyncList(const std::vector<std::string>& list);
    void driveDisappeared();
    void queueDeath(); // "death" alone, when the process ends
    void setContinuousSyncState(bool enabled);
    void setSyncMoviesState(bool enabled);
    void setSyncMusicState(bool enabled);
    void setSyncPicturesState(bool enabled);
    void setSyncDocumentsState(bool enabled);
    void setSyncDeviceFilter(std::int32_t filter);
    void toggleContinuousSync();
    void togglePreviewEnabled();
    void helpClicked();
    void cancelButtonClicked();
    // End the running modal dialog with 1, 0 and -1.
    void modalDialogYesClicked();
    void modalDialogNoClicked();
    void modalDialogCustomClicked();
    [[nodiscard]] bool busy() const;
    [[nodiscard]] bool busyWithSynclistOnly() const;
    [[nodiscard]] bool syncInProgress() const;
    [[nodiscard]] bool continuousSyncInProgress() const;
    // When the last pass over the whole sync list began; null before the first. Any thread.
    [[nodiscard]] std::optional<Date> lastFullPassBegan() const;
    [[nodiscard]] bool windowShouldClose() const;
    struct MenuItem {
        bool enabled = true;
        bool checked = false;
    };
    // `action` is the selector that the item sends.
    [[nodiscard]] MenuItem validateUserInterfaceItem(const std::string& action) const;
    // A sync: of this controller is scheduled for later: a pending cancel mark must wait for it.
    void syncWasScheduled();
    void scheduledSyncEnded();

    // Switches, all read through the drive's configuration.
    [[nodiscard]] bool continuousSyncState() const;
    [[nodiscard]] bool syncMoviesState() const;
    [[nodiscard]] bool syncMusicState() const;
    [[nodiscard]] bool syncPicturesState() const;
    [[nodiscard]] bool syncDocumentsState() const;
    [[nodiscard]] std::int32_t syncDeviceFilter() const;
    [[nodiscard]] bool participateSyncState() const;
    void setParticipateSyncState(bool participate);
    [[nodiscard]] bool quietSyncState() const;
    void setQuietSyncState(bool quiet);
    [[nodiscard]] bool isQuietSync() const;
    [[nodiscard]] bool isPreviewEnabled() const;
    void setPreviewEnabledState(bool enabled);
    [[nodiscard]] bool hasSyncConfiguration() const;
    [[nodiscard]] bool isParticipatingInSync() const;
    [[nodiscard]] std::vector<std::string> shadowedSyncList();
    void setShadowedSyncList(const std::vector<std::string>& list);
    [[nodiscard]] std::optional<Date> lastSyncTime();
    void updateLastSyncTime(Date date);
    [[nodiscard]] VTConfigurationFile& deviceConfiguration() const;

    // The same for any user of the drive, by the unique host-user identifier.
    [[nodiscard]] bool continuousSyncStateForUniqueHostID(const std::string& hostId) const;
    [[nodiscard]] bool syncMoviesStateForUniqueHostID(const std::string& hostId) const;
    [[nodiscard]] bool syncMusicStateForUniqueHostID(const std::string& hostId) const;
    [[nodiscard]] bool syncPicturesStateForUniqueHostID(const std::string& hostId) const;
    [[nodiscard]] bool syncDocumentsStateForUniqueHostID(const std::string& hostId) const;
    [[nodiscard]] std::int32_t syncDeviceFilterForUniqueHostID(const std::string& hostId) const;
    [[nodiscard]] bool participateSyncStateForUniqueHostID(const std::string& hostId) const;
    [[nodiscard]] bool quietSyncStateForUniqueHostID(const std::string& hostId) const;
    [[nodiscard]] bool isPreviewEnabledForUniqueHostID(const std::string& hostId) const;
    [[nodiscard]] std::optional<Date> lastSyncTimeForUniqueHostID(const std::string& hostId) const;
    [[nodiscard]] std::optional<std::string> computerNameForUniqueHostID(const std::string& hostId) const;

    // The drive.
    [[nodiscard]] std::string serialNumber() const;
    void setSerialNumber(const std::string& serial);
    void setNetService(std::shared_ptr<ConnectedDrive> service); // null: not wireless
    void netServiceBecameUnreachable(const std::string& name);   // any thread
    [[nodiscard]] const std::string& deviceMountPoint() const;
    [[nodiscard]] const std::string& deviceVendor() const;
    [[nodiscard]] std::optional<std::string> deviceUUIDString() const;
    [[nodiscard]] bool fsIsWritable() const; // as isValidFileSystem() found it
    [[nodiscard]] bool fsIsCompatible();
    [[nodiscard]] bool fsIsNTFS();
    [[nodiscard]] bool fsLimit4G();
    [[nodiscard]] std::string fsName();
    [[nodiscard]] std::uint64_t totalBytes();
    [[nodiscard]] std::uint64_t freeBytes();
    [[nodiscard]] std::string diskSlice() const;
    [[nodiscard]] std::string fileSystemType() const;
    [[nodiscard]] std::string volumeName() const;
    // A volume's reference is its place among the mounted volumes, from 1 on. Null where there is none.
    [[nodiscard]] static std::optional<std::string> getVolumeNameForvRefNum(VolumeService& volumes,
                                                                            std::int16_t reference);
    [[nodiscard]] static std::optional<std::string> bsdNameForVolumeRefNum(VolumeService& volumes,
                                                                           std::int16_t reference);

    // The filter.
    std::shared_ptr<VTFileValidator> updateFileValidator(const ContainerValidatorList& validators);
    [[nodiscard]] std::shared_ptr<VTFileValidator> fileValidator() const;
    [[nodiscard]] bool shouldCopyItem(const std::string& path) const;

    // Cancel mark and progress: any thread.
    void setCancelPending(bool pending, bool returnValue);
    [[nodiscard]] bool cancelPending() const override;
    [[nodiscard]] bool cancelRVal() const;
    void initForNewJob();
    void setProgressActivePath(const std::string* path);
    [[nodiscard]] Value::Dictionary getCurrentProgressDict(); // a copy taken at this moment

    [[nodiscard]] std::optional<std::string> currentSourcePath() const; // null: no item is being worked on
    void setCurrentSourcePath(const std::optional<std::string>& path);

    // The copy reporter; without one, after a sync, a new one per call. A reporter that is set works for this
    // controller, the one before it for nobody any more. Worker, or while it is idle.
    [[nodiscard]] std::shared_ptr<MRLErrorReporter> errorReporter();
    void setErrorReporter(std::shared_ptr<MRLCopyErrorReporter> reporter);
    [[nodiscard]] std::shared_ptr<MRLDeleteErrorReporter> deleteReporter() const; // null after a sync
    void setDeleteReporter(std::shared_ptr<MRLDeleteErrorReporter> reporter);

    // Kept for controlling code; nothing in this version acts on them. 0: no default has been chosen.
    struct ResolutionActions {
        std::int32_t conflict = 0;
        std::int32_t missingMac = 0;
        std::int32_t missingDrive = 0;
    };
    [[nodiscard]] ResolutionActions defaultResolutionActions() const;
    void setDefaultResolutionActions(ResolutionActions actions);
    [[nodiscard]] std::shared_ptr<const ItemTree> itemInventory() const; // null: none
    void setItemInventory(std::shared_ptr<const ItemTree> items);
    struct Point {
        double x = 0;
        double y = 0;
    };
    [[nodiscard]] static Point cascadeWindowFromPoint(Point point) { return point; } // windows are never cascaded

    // For the tests and the end of the process: true once the worker has ended (or never started).
    [[nodiscard]] bool workerEnded() const;
    // For the tests: the worker never starts by itself, and each call plays one of its rounds. False: it has ended.
    void playWorkerByHand();
    bool playRound();

    struct Parts; // the collaborators; the worker holds them too
    explicit VTSyncController(std::shared_ptr<Parts> parts);

  private:
    std::shared_ptr<Parts> _parts;
};

} // namespace vt

// The collaborators of one controller, wired to each other. Held by the controller and by its worker, whichever lives
// longer. Thread: as each collaborator says. Owns: all of them.
#pragma once

#include "sync/CancelMark.h"
#include "sync/ConfigurationWriter.h"
#include "sync/DriveGuard.h"
#include "sync/FileSystemFacts.h"
#include "sync/LastSyncTime.h"
#include "sync/StagingTools.h"
#include "sync/SyncListUpdate.h"
#include "sync/SyncPass.h"
#include "sync/SyncPaths.h"
#include "sync/VTSyncController.h"
#include "sync/WorkerDelegate.h"
#include "sync/owed/CopiedRecord.h"
#include "sync/owed/OwedBook.h"
#include "sync/owed/RecentCopies.h"
#include "sync/process/DeletionMarkers.h"
#include "sync/progress/SyncFeedback.h"
#include "sync/progress/SyncProgress.h"
#include "sync/queue/MasterThread.h"
#include "sync/queue/TaskQueue.h"
#include "sync/queue/TaskRunner.h"

#include <atomic>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace vt {

struct VTSyncController::Parts : public TaskWork, public std::enable_shared_from_this<Parts> {
    Parts(const std::string& mountPoint, const std::string& vendor, const std::optional<std::string>& uuid,
          const SyncServices& given);
    ~Parts() override;

    void threadDoSync(const std::optional<std::vector<std::string>>& changed) override { pass.threadDoSync(changed); }
    void threadDoSyncListUpdate(const std::vector<std::string>& list) override;
    void threadRemoveDriveSync() override;

    void notify(); // an activity notification with the present figures
    void queue(TaskRecord task);
    [[nodiscard]] std::optional<Value> wish(const std::string& key); // a user default, read anew; null: not set
    [[nodiscard]] bool wantsKeepAside();
    [[nodiscard]] bool busy(); // with its debug lines
    void closeWindow();

    SyncServices services;
    std::string deviceVendor;
    std::string hostUserId;
    std::mutex fieldsMutex; // guards the seven fields below
    std::optional<std::string> deviceUUIDString;
    std::string serialNumber;
    std::shared_ptr<ConnectedDrive> netService;
    std::optional<std::vector<std::string>> shadowedSyncList;
    ResolutionActions resolutionActions;
    std::shared_ptr<const ItemTree> itemTree;
    std::unique_ptr<ProgressWindow> window;
    std::atomic<std::shared_ptr<VTFileValidator>> validator{};

    CancelMark cancel;
    TaskQueue tasks;
    std::shared_ptr<DriveGuard> guard;
    std::unique_ptr<DriveFiles> drive;
    SyncFeedback log;
    SyncProgress progress;
    SyncPaths paths;
    FileSystemFacts facts;
    std::shared_ptr<ConfigurationWriter> writer;
    std::shared_ptr<VTConfigurationFile> configuration;
    LastSyncTime lastSyncTime;
    DeletionMarkers markers;
    OwedBook owed;
    CopiedRecord copied;
    RecentCopies recent;
    std::shared_ptr<WorkerDelegate> delegate;
    StagingTools tools;
    SyncPass pass;
    SyncListUpdate listUpdate;
    TaskRunner runner;
    MasterThread master;
    bool playedByHand = false;

  private:
    [[nodiscard]] ConfigurationServices configurationServices();
    [[nodiscard]] FileSystemFacts::Services factServices();
    [[nodiscard]] SyncPass::Services passServices();
    [[nodiscard]] std::shared_ptr<VTConfigurationFile> openConfiguration(int syncType);
    [[nodiscard]] std::optional<int> connectionStatus();
};

} // namespace vt

// Replaces a drive's sync list, and removes the copies of items that have left it (which the update itself does not).
// Thread: the drive's worker. Owns: nothing. Errors: logged, and shown in an alert when the list was not saved.
#pragma once

#include "config/VTConfigurationFile.h"
#include "platform/FileService.h"
#include "platform/Workspace.h"
#include "sync/progress/SyncFeedback.h"
#include "sync/report/ReporterDelegate.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace vt {

class SyncListUpdate {
  public:
    struct Services {
        VTConfigurationFile& configuration;
        FileService& files;
        Workspace& workspace;
        SyncFeedback& log;
        std::shared_ptr<TreeDelegate> delegate; // alerts, and the delegate of the removal's reporter
        std::string mountPoint;
    };
    explicit SyncListUpdate(Services services) : _services(std::move(services)) {}

    void threadDoSyncListUpdate(const std::vector<std::string>& newList);
    [[nodiscard]] static std::vector<std::string>
    updateListThreadKillListGivenOldSyncList(const std::vector<std::string>& oldList,
                                             const std::vector<std::string>& newList);
    void updateListThreadProcessKillList(const std::vector<std::string>& killList);
    void updateListThreadReportResults(bool success);

  private:
    Services _services;
};

} // namespace vt

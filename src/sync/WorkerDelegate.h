// What the tree operations and error reporters of a drive's worker see of its controller: lines, questions, the cancel
// mark, the counters, and the commit of a finished folder. Thread: the drive's worker. Owns: nothing.
#pragma once

#include "platform/AlertPanel.h"
#include "platform/RunLoop.h"
#include "platform/VolumeService.h"
#include "sync/CancelMark.h"
#include "sync/SyncHost.h"
#include "sync/compare/PassTally.h"
#include "sync/progress/SyncFeedback.h"
#include "sync/progress/SyncProgress.h"
#include "sync/report/ReporterDelegate.h"

#include <functional>
#include <string>

namespace vt {

class WorkerDelegate : public TreeDelegate {
  public:
    struct Services {
        SyncHost& host;
        RunLoop& runLoop;
        AlertPanel& alerts;
        VolumeService& volumes;
        SyncFeedback& log;
        SyncProgress& progress;
        CancelMark& cancel;
    };
    explicit WorkerDelegate(Services services) : _services(services) {}

    // Set once by the worker's pass.
    std::function<bool(const std::string& folder)> processATempFolder;
    std::function<void(const std::string& source, OwedReason reason)> pathWasLeftOut;
    std::function<void(std::uint64_t bytes)> wasFiltered;

    void debugMessage(std::string_view text) override { _services.log.debugMessage(text); }
    void syncThreadLogMessage(std::string_view text) override { _services.log.logMessage(text); }
    void applicationLogMessage(std::string_view text) override { _services.host.log().logMessage(text); }
    bool syncThreadPerformAlertWithTitle(const std::string& title, const std::string& message, bool withCancelButton,
                                         bool withLogButton) override;
    void setCancelPending(bool pending, bool returnValue) override { _services.cancel.set(pending, returnValue); }
    [[nodiscard]] bool cancelPending() const override { return _services.cancel.pending(); }
    void setPartiallyCopiedData(std::uint64_t bytes) override { _services.progress.setPartiallyCopiedData(bytes); }
    [[nodiscard]] std::string displayNameAtPath(const std::string& path) const override;
    void pathFailed(const std::string& source, bool skipped) override;

    void setFileCopyPath(const std::string* path) override { _services.progress.setFileCopyPath(path); }
    void accumulateCopiedDataUInt64(std::uint64_t bytes) override { _services.progress.accumulateCopiedData(bytes); }
    void resetPartiallyCopiedData() override { _services.progress.resetPartiallyCopiedData(); }
    void accumulateSkipFilteredDataUInt64(std::uint64_t bytes) override;
    void accumulateSkipPresentDataUInt64(std::uint64_t bytes) override {
        _services.progress.accumulateSkipPresentData(bytes);
    }
    bool syncThreadProcessATempFolder(const std::string& folder) override {
        return processATempFolder && processATempFolder(folder);
    }

  private:
    Services _services;
};

} // namespace vt

// Everything with which a drive's worker stages copies, commits them and protects what they replace, built once and
// wired to each other. Thread: the drive's worker. Owns: the tools; the services outlive it.
#pragma once

#include "platform/Clock.h"
#include "platform/DriveFiles.h"
#include "platform/VolumeService.h"
#include "platform/Workspace.h"
#include "sync/CancelMark.h"
#include "sync/RefusedNames.h"
#include "sync/SyncPaths.h"
#include "sync/SyncProcess.h"
#include "sync/WorkerDelegate.h"
#include "sync/compare/PassFilter.h"
#include "sync/journal/CopyJournal.h"
#include "sync/keep/BesideNames.h"
#include "sync/keep/KeepAside.h"
#include "sync/report/MRLCopyErrorReporter.h"
#include "sync/report/MRLDeleteErrorReporter.h"
#include "sync/tree/TreeOperations.h"
#include "sync/workfolders/CommitGuard.h"
#include "sync/workfolders/WorkFolders.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vt {

class StagingTools {
  public:
    struct Services {
        DriveFiles& drive;
        VolumeService& volumes;
        Workspace& workspace;
        const Clock& clock;
        const CancelMark& cancel;
        SyncProcess& process;
        SyncFeedback& log;
        std::shared_ptr<WorkerDelegate> delegate;
        const SyncPaths& paths;
        std::string journalFolder;
        std::string bootId;
        std::function<bool(const std::string&)> knownToFail;       // a path on the computer
        std::function<void(const std::string& staged)> leftBehind; // the commit did not move it
        std::function<void(std::uint64_t bytes)> nameRefused;      // the drive cannot hold an item's name
        // A whole file was copied that will stand at `path` on the drive.
        std::function<void(const std::string& path, const FileAttributes& source)> wasCopied;
        std::function<std::optional<SeenOnDrive>(const std::string& path)> seenOnDrive; // by the pass's comparison
        std::function<bool(const std::string& path)> isOfAnItem; // `path` on the drive: an entry's place, or in one
    };
    explicit StagingTools(Services services);

    // Takes what holds for one pass: the drive's abilities, the served roots, the wish to set things aside.
    void beginPass(bool keepAside);
    [[nodiscard]] const DestinationCapabilities& capabilities() const { return _capabilities; }
    [[nodiscard]] bool isServedRoot(const FileAttributes& folder) const;
    [[nodiscard]] ClosedFolder closed() const {
        return [this](const FileAttributes& folder) { return isServedRoot(folder); };
    }

    [[nodiscard]] RefusedNames& refusedNames() { return _refusedNames; }
    [[nodiscard]] PassFilter& filter() { return _filter; }
    [[nodiscard]] TreeOperations& tree() { return _tree; }
    [[nodiscard]] WorkFolders& folders() { return _folders; }
    [[nodiscard]] CommitGuard& guard() { return _guard; }
    [[nodiscard]] CopyJournal& journal() { return _journal; }
    [[nodiscard]] KeepAside& keepAside() { return _keepAside; }

    // The copy reporter; without one a new one per call, which is not kept.
    [[nodiscard]] std::shared_ptr<MRLCopyErrorReporter> errorReporter();
    [[nodiscard]] std::shared_ptr<MRLDeleteErrorReporter> deleteReporter() const { return _deleteReporter; }
    // A reporter that is set works for this drive's controller, the one before it for nobody any more.
    void setErrorReporter(std::shared_ptr<MRLCopyErrorReporter> reporter);
    void setDeleteReporter(std::shared_ptr<MRLDeleteErrorReporter> reporter);
    void clearReporters();

  private:
    Services _services;
    bool _wantsKeepAside = true;
    DestinationCapabilities _capabilities;
    std::vector<SyncProcess::Root> _servedRoots;
    std::function<void(const std::string&)> _logLine;
    RefusedNames _refusedNames;
    PassFilter _filter;
    CopyJournal _journal;
    KeepAside _keepAside;
    BesideNames _besides;
    CommitGuard _guard;
    TreeOperations _tree;
    WorkFolders _folders;
    std::shared_ptr<MRLCopyErrorReporter> _copyReporter;
    std::shared_ptr<MRLDeleteErrorReporter> _deleteReporter;
};

} // namespace vt

// The two folders in which a sync stages its copies: one on the drive, one on the computer. Makes, commits and removes
// them. Thread: the drive's worker. Errors: yes or no; the reason is in the log.
#pragma once

#include "platform/FileService.h"
#include "platform/Workspace.h"
#include "sync/report/ReporterDelegate.h"
#include "sync/tree/TreeOperations.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace vt {

class BesideNames;

struct WorkFolderPaths {
    std::string target;    // the drive's root for synced items
    std::string driveWork; // the drive-side work folder
    std::string localWork; // the computer-side work folder
};

class WorkFolders {
  public:
    struct Services {
        FileService& files;
        Workspace& workspace;
        TreeOperations& tree;
        std::function<void(const std::string&)> debugLine; // written only while the debug flag is on
        std::function<void(const std::string&)> logLine;   // always written
        std::function<std::shared_ptr<MRLErrorReporter>()> errorReporter;
        std::function<bool()> stopsCommit;                             // a cancel is pending with the return value NO
        std::function<void(const std::string& stagedPath)> leftBehind; // a staged item that the commit did not move
        // All of these may be left out.
        std::function<bool()> debugEnabled = {}; // asked before the commit's many debug lines are formed
        BesideNames* besides = nullptr;          // what waits beside its place is put back by prepare()
        std::function<void()> committed = {};    // after each folder of which something was moved
        // Of a staged package; false where it only leads to staged items.
        std::function<bool(const std::string& staged)> isStagedWhole = {};
    };
    WorkFolders(WorkFolderPaths paths, Services services) : _paths(std::move(paths)), _services(std::move(services)) {}

    bool prepare();            // syncThreadPrepareFolders, after the scan results were cleared
    bool processTempFolders(); // syncThreadProcessTempFolders
    bool processATempFolder(const std::string& folder);
    bool deleteTempFolders();

  private:
    [[nodiscard]] bool exists(const std::string& path) const;
    [[nodiscard]] bool makeFolder(const std::string& path, const std::uint32_t* mode);
    [[nodiscard]] bool moveWhole(const std::string& folder, const std::string& base,
                                 const std::vector<std::string>& names);
    void moveEntries(const std::string& folder, const std::string& base);
    void reportLeftBehind(const std::string& folder);
    [[nodiscard]] bool isWholeItem(const std::string& path, const DirectoryEntry& entry) const;
    [[nodiscard]] bool deleteFolder(const char* which, const std::string& folder);
    [[nodiscard]] std::uint64_t countEntries(const std::string& folder) const;
    void debugMoving(const std::string& from, const std::string& to);

    WorkFolderPaths _paths;
    Services _services;
};

} // namespace vt

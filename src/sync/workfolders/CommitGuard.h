// What the commit must know about the drive before it destroys anything: what the comparison saw there, which staged
// packages are incomplete, and what an earlier run's journal says. Sets aside what is not known to equal a computer
// file. Thread: the drive's worker. Owns: what it was told since clear(). Units: absolute raw-byte paths.
#pragma once

#include "platform/VolumeService.h"
#include "sync/journal/CopyJournal.h"
#include "sync/keep/BesideNames.h"
#include "sync/keep/KeepAside.h"
#include "sync/tree/ReplacementGuard.h"
#include "sync/tree/StagingWatch.h"

#include <functional>
#include <optional>
#include <string>
#include <unordered_set>

namespace vt {

// A drive item that an entry of the scan results is going to replace. A package's date and size are left out: the
// comparison knows the newest date inside it, not its own.
struct SeenOnDrive {
    std::optional<Date> modified;
    std::optional<std::uint64_t> size;
    bool changedOnBothSides = false;
    std::optional<Date> compared = {}; // the date that decided: of a package the newest inside
};

class CommitGuard : public ReplacementGuard, public StagingWatch {
  public:
    struct Services {
        KeepAside& keepAside;
        BesideNames& besides;
        CopyJournal* journal = nullptr; // may be null
        std::function<void(const std::string&)> logLine;
        // A whole file was copied that will stand at `path`; may be empty.
        std::function<void(const std::string& path, const FileAttributes& source)> wasCopied = {};
        const DestinationCapabilities* destination = nullptr; // null: its dates are exact
        // What the comparison saw at `path`, the final place on the drive: it may be replaced by a newer computer file
        // if it is still so. What it did not see there is set aside. Empty: it saw nothing anywhere.
        std::function<std::optional<SeenOnDrive>(const std::string& path)> seen = {};
        // What will stand at `path` is an item of the pass or lies in one. Empty: everything is.
        std::function<bool(const std::string& path)> isOfAnItem = {};
    };
    CommitGuard(std::string target, std::string driveWork, Services services);

    // At the start of a pass.
    void clear();
    [[nodiscard]] bool isStagedWhole(const std::string& staged) const override;
    bool aboutToReplace(const std::string& staged, const FileAttributes& stagedAttributes,
                        const std::string& destination, const FileAttributes& present) override;
    std::optional<std::string> keep(const std::string& from, const std::string& destination) override;
    void putBack(const std::string& kept, const std::string& destination) override;
    Result<std::string> standBeside(const std::string& destination) override;
    bool settleBeside(const std::string& beside, const std::string& destination, bool replaced) override;

    void itemWillBeCopied(const std::string& staged) override;
    void itemWasCopied(const std::string& staged, const FileAttributes& source, std::uint64_t bytes,
                       bool incomplete) override;

    // The place that a staged item will have after its commit.
    [[nodiscard]] std::string finalPath(const std::string& staged) const;

  private:
    [[nodiscard]] bool isAsSeen(const FileAttributes& staged, const std::string& destination,
                                const FileAttributes& present) const;
    // The date of what the copy for `path` is going to replace, if that may go without being set aside.
    [[nodiscard]] std::optional<Date> olderCopyAt(const std::string& path) const;
    [[nodiscard]] bool isLater(const FileAttributes& present, const FileAttributes& staged) const;
    [[nodiscard]] std::int64_t granularity() const; // of the drive's dates, nanoseconds, at least 1
    [[nodiscard]] bool isDateGiven(Date present, Date given) const;

    std::string _target;
    std::string _driveWork;
    Services _services;
    std::unordered_set<std::string> _incomplete; // staged paths
};

} // namespace vt

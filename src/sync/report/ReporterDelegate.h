// What an error reporter asks of the sync controller that it works for. Thread: the drive's worker.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace vt {

class ReporterDelegate {
  public:
    virtual ~ReporterDelegate() = default;
    virtual void debugMessage(std::string_view text) = 0;
    virtual void syncThreadLogMessage(std::string_view text) = 0;
    // The application's own log line, beside the sync's.
    virtual void applicationLogMessage(std::string_view text) = 0;
    // Asks the person and waits; true: go on.
    virtual bool syncThreadPerformAlertWithTitle(const std::string& title, const std::string& message,
                                                 bool withCancelButton, bool withLogButton) = 0;
    virtual void setCancelPending(bool pending, bool returnValue) = 0;
    [[nodiscard]] virtual bool cancelPending() const = 0;
    virtual void setPartiallyCopiedData(std::uint64_t bytes) = 0;
    // The volume's label for a mount point, else the last component.
    [[nodiscard]] virtual std::string displayNameAtPath(const std::string& path) const = 0;
    // A path failed or was skipped by the person's answer: it is owed to the drive.
    virtual void pathFailed(const std::string& source, bool skipped) = 0;
};

// What the tree operations tell the sync controller, through the reporter that handles their errors.
class TreeDelegate : public ReporterDelegate {
  public:
    virtual void setFileCopyPath(const std::string* path) = 0; // null: no copy is running
    virtual void accumulateCopiedDataUInt64(std::uint64_t bytes) = 0;
    virtual void resetPartiallyCopiedData() = 0;
    virtual void accumulateSkipFilteredDataUInt64(std::uint64_t bytes) = 0;
    virtual void accumulateSkipPresentDataUInt64(std::uint64_t bytes) = 0;
    virtual bool syncThreadProcessATempFolder(const std::string& folder) = 0;
};

} // namespace vt

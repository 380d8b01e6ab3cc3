// Decides about items that cannot be copied or moved onto the drive, and passes a copy's progress on.
// Thread: the drive's worker.
#pragma once

#include "platform/FileService.h"
#include "platform/VolumeService.h"
#include "sync/copy/VTFileCopyAgentDelegate.h"
#include "sync/report/MRLErrorReporter.h"

#include <memory>
#include <optional>
#include <string>

namespace vt {

class MRLCopyErrorReporter : public MRLErrorReporter, public VTFileCopyAgentDelegate {
  public:
    MRLCopyErrorReporter(std::weak_ptr<TreeDelegate> delegate, FileService& files, VolumeService& volumes);
    [[nodiscard]] static std::shared_ptr<MRLCopyErrorReporter> create(std::weak_ptr<TreeDelegate> delegate,
                                                                      FileService& files, VolumeService& volumes);

    void willProcessPath(const std::string& path) override;
    bool shouldProceedAfterError(const ErrorDictionary& error) override;
    bool shouldProceedAfterErrorCopyingItem(const Error& error, const std::string& from,
                                            const std::string& to) override;
    bool shouldProceedAfterErrorMovingItem(const Error& error, const std::string& from, const std::string& to) override;

    void agentUpdate(VTFileCopyAgent& agent, std::int64_t copiedBytes) override;
    int agentActionRequired(VTFileCopyAgent& agent, const FileCopyAgentError& error) override;

  private:
    [[nodiscard]] bool remakeLink(const ErrorDictionary& error);
    [[nodiscard]] bool isShortOfSpace(const ErrorDictionary& error) const;
    [[nodiscard]] bool destinationVolumeIsMounted(const ErrorDictionary& error) const;
    void logError(const ErrorDictionary& error, const std::string& text) const;
    [[nodiscard]] bool askAboutCopy(const ErrorDictionary& error, const std::string& text) const;

    FileService& _files;
    VolumeService& _volumes;
};

} // namespace vt

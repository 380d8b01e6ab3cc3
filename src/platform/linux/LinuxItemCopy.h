// The item copier of this computer: shares extents where both ends can, copies within the kernel where they cannot,
// and reads and writes otherwise. Thread: one. Errors: as ItemCopyService says.
#pragma once

#include "platform/ItemCopyService.h"
#include "platform/VolumeService.h"
#include "platform/linux/PathLocator.h"
#include "platform/linux/copy/CopyExperience.h"

namespace vt {

class LinuxItemCopy final : public ItemCopyService {
  public:
    // `drive` may be null and outlives this; `capabilities` are those of the place that is copied to.
    explicit LinuxItemCopy(const DriveRoot* drive = nullptr, DestinationCapabilities capabilities = {});

    CopyOutcome copyItem(const std::string& source, const std::string& destination, CopyObserver& observer) override;
    [[nodiscard]] std::unique_ptr<ItemCopyService> forFolder(const std::string& source, const std::string& destination,
                                                             std::span<const DirectoryEntry> entries) override;

  private:
    PathLocator _locator;
    DestinationCapabilities _capabilities;
    CopyExperience _experience;
};

} // namespace vt

// Decides about copies that cannot be removed from the drive after their items left the sync list.
// Thread: the drive's worker.
#pragma once

#include "sync/report/MRLErrorReporter.h"

#include <memory>
#include <string>

namespace vt {

class MRLRemoveSyncItemsErrorReporter : public MRLErrorReporter {
  public:
    using MRLErrorReporter::MRLErrorReporter;
    [[nodiscard]] static std::shared_ptr<MRLRemoveSyncItemsErrorReporter>
    create(std::weak_ptr<TreeDelegate> delegate = {});

    void willProcessPath(const std::string& path) override;
    // The alert has no cancel button, yet its answer decides: a panel that is closed otherwise stops the sync.
    bool shouldProceedAfterError(const ErrorDictionary& error) override;
};

} // namespace vt

// Decides about items that cannot be deleted from the drive. Thread: the drive's worker.
#pragma once

#include "sync/report/MRLErrorReporter.h"

#include <memory>
#include <string>

namespace vt {

class MRLDeleteErrorReporter : public MRLErrorReporter {
  public:
    using MRLErrorReporter::MRLErrorReporter;
    [[nodiscard]] static std::shared_ptr<MRLDeleteErrorReporter> create(std::weak_ptr<TreeDelegate> delegate = {});

    void willProcessPath(const std::string& path) override;
    bool shouldProceedAfterError(const ErrorDictionary& error) override;
};

} // namespace vt

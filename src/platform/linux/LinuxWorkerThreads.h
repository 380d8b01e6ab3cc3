// Threads of the POSIX library. Thread: any.
#pragma once

#include "platform/WorkerThreads.h"

namespace vt {

class LinuxWorkerThreads final : public WorkerThreads {
  public:
    [[nodiscard]] bool start(std::size_t stackBytes, std::function<void()> body) override;
};

} // namespace vt

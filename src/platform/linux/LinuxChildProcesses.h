// Children with their streams in pipes, each heard by a thread of its own. Thread: main. Owns: nothing that lives on
// but the way back to the main thread; the threads outlive it until their child and its streams have ended.
#pragma once

#include "platform/ChildProcesses.h"

#include <memory>

namespace vt {

class MainThreadMailbox;
class RunLoop;

class LinuxChildProcesses final : public ChildProcesses {
  public:
    explicit LinuxChildProcesses(RunLoop& runLoop);
    ~LinuxChildProcesses() override;
    LinuxChildProcesses(const LinuxChildProcesses&) = delete;
    LinuxChildProcesses& operator=(const LinuxChildProcesses&) = delete;

    [[nodiscard]] Result<void> start(const std::string& launchPath, const std::vector<std::string>& arguments,
                                     Listener listener) override;

  private:
    std::shared_ptr<MainThreadMailbox> _mailbox;
};

} // namespace vt

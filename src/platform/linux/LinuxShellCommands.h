// Shell commands by popen(). Thread: any; it blocks until the command ends.
#pragma once

#include "platform/ShellCommands.h"

namespace vt {

class LinuxShellCommands final : public ShellCommands {
  public:
    [[nodiscard]] ShellResult run(const std::string& command) override;
};

} // namespace vt

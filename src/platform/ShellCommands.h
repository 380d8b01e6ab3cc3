// Runs a shell command to its end. Thread: any; it blocks. The command is one text for the shell: whoever forms it
// quotes what it takes from elsewhere.
#pragma once

#include <optional>
#include <string>

namespace vt {

struct ShellResult {
    int status = 0;                    // 0 for success, else as pclose() answers it; 127 when nothing could be started
    std::optional<std::string> output; // all of the standard output as UTF-8; null when nothing could be started
};

class ShellCommands {
  public:
    virtual ~ShellCommands() = default;
    [[nodiscard]] virtual ShellResult run(const std::string& command) = 0;
};

} // namespace vt

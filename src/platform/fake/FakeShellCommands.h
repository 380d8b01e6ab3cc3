// Answers shell commands from a script and keeps what was asked. Thread: any.
#pragma once

#include "platform/ShellCommands.h"

#include <map>
#include <mutex>
#include <vector>

namespace vt {

class FakeShellCommands final : public ShellCommands {
  public:
    std::map<std::string, ShellResult> answers; // set before other threads ask; others cannot be started

    [[nodiscard]] std::vector<std::string> commands() const {
        const std::scoped_lock lock(_mutex);
        return _commands;
    }
    [[nodiscard]] ShellResult run(const std::string& command) override {
        const std::scoped_lock lock(_mutex);
        _commands.push_back(command);
        const auto found = answers.find(command);
        return found == answers.end() ? ShellResult{127, std::nullopt} : found->second;
    }

  private:
    mutable std::mutex _mutex;
    std::vector<std::string> _commands;
};

} // namespace vt

// A shell command on a thread of its own; its end is told on the main thread.
// Thread: the accessors belong to the main thread once the command has ended; the starter keeps nothing.
// Owns: the context, until the last holder of this object goes. Errors: only in shellResult(), 127 when not started.
#pragma once

#include "platform/RunLoop.h"
#include "platform/ShellCommands.h"

#include <any>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace vt {

class ExecOnThread : public std::enable_shared_from_this<ExecOnThread> {
  public:
    using Completion = std::function<void(ExecOnThread&)>;

    // In the calling thread: the status, and the output unless nothing could be started.
    static int execShellCommand(ShellCommands& shell, const std::string& command, std::optional<std::string>& output);
    // Makes one and starts it. `shell` and `runLoop` outlive the command.
    static std::shared_ptr<ExecOnThread> executeShellCommand(ShellCommands& shell, RunLoop& runLoop,
                                                             std::string command, std::any context,
                                                             Completion completion);
    ExecOnThread(ShellCommands& shell, RunLoop& runLoop, std::string command, std::any context, Completion completion);

    void startOperation();

    [[nodiscard]] const std::string& command() const { return _command; }
    void setCommand(std::string command) { _command = std::move(command); }
    [[nodiscard]] const std::optional<std::string>& outResult() const { return _outResult; }
    void setOutResult(std::optional<std::string> text) { _outResult = std::move(text); }
    [[nodiscard]] const std::any& context() const { return _context; } // handed back unchanged
    void setContext(std::any context) { _context = std::move(context); }
    void setCompletion(Completion completion) { _completion = std::move(completion); }
    [[nodiscard]] int shellResult() const { return _shellResult; }

  private:
    void threadedExecShellCommand();

    ShellCommands& _shell;
    RunLoop& _runLoop;
    std::string _command;
    std::optional<std::string> _outResult;
    int _shellResult = 0;
    std::any _context;
    Completion _completion;
};

} // namespace vt

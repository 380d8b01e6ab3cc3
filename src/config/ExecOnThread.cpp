#include "config/ExecOnThread.h"

#include "base/LogSink.h"
#include "base/Text.h"

#include <exception>
#include <thread>
#include <utility>

namespace vt {

int ExecOnThread::execShellCommand(ShellCommands& shell, const std::string& command,
                                   std::optional<std::string>& output) {
    auto result = shell.run(command);
    output = std::move(result.output);
    return result.status;
}

std::shared_ptr<ExecOnThread> ExecOnThread::executeShellCommand(ShellCommands& shell, RunLoop& runLoop,
                                                                std::string command, std::any context,
                                                                Completion completion) {
    auto operation =
        std::make_shared<ExecOnThread>(shell, runLoop, std::move(command), std::move(context), std::move(completion));
    operation->startOperation();
    return operation;
}

ExecOnThread::ExecOnThread(ShellCommands& shell, RunLoop& runLoop, std::string command, std::any context,
                           Completion completion)
    : _shell(shell), _runLoop(runLoop), _command(std::move(command)), _context(std::move(context)),
      _completion(std::move(completion)) {}

void ExecOnThread::startOperation() {
    try {
        std::thread([self = shared_from_this()] { self->threadedExecShellCommand(); }).detach();
    } catch (const std::exception& failure) {
        systemLog(formatText("exeception within ExecOnThread startOperation Exception: %@ Reason: %@",
                             {"std::exception", failure.what()}));
    }
}

void ExecOnThread::threadedExecShellCommand() {
    try {
        std::optional<std::string> output;
        _shellResult = execShellCommand(_shell, _command, output);
        if (output) _outResult = std::move(output);
    } catch (const std::exception& failure) {
        systemLog(formatText("exeception within ExecOnThread threadedExecShellCommand Exception: %@ Reason: %@",
                             {"std::exception", failure.what()}));
    }
    _runLoop.performLater([self = shared_from_this()] {
        if (self->_completion) self->_completion(*self);
    });
}

} // namespace vt

// Children that do what a script says as soon as the run loop turns. Thread: main.
#pragma once

#include "platform/ChildProcesses.h"
#include "platform/RunLoop.h"

#include <cerrno>
#include <map>

namespace vt {

class FakeChildProcesses final : public ChildProcesses {
  public:
    struct Script {
        std::vector<std::string> output; // pieces
        std::vector<std::string> error;  // pieces
        int status = 0;
        bool terminatesFirst = false; // the streams end after the child
    };
    explicit FakeChildProcesses(RunLoop& runLoop) : _runLoop(runLoop) {}

    std::map<std::string, Script> scripts;           // by launch path; others cannot be started
    std::vector<std::vector<std::string>> started{}; // launch path and arguments

    [[nodiscard]] Result<void> start(const std::string& launchPath, const std::vector<std::string>& arguments,
                                     Listener listener) override {
        const auto found = scripts.find(launchPath);
        if (found == scripts.end()) return Error::fromErrno(ENOENT, launchPath);
        started.push_back({launchPath});
        started.back().insert(started.back().end(), arguments.begin(), arguments.end());
        _runLoop.performLater([script = found->second, listener = std::move(listener)] {
            if (script.terminatesFirst) listener.terminated(script.status);
            for (const std::string& piece : script.output) listener.output(piece);
            for (const std::string& piece : script.error) listener.error(piece);
            listener.outputEnded();
            listener.errorEnded();
            if (!script.terminatesFirst) listener.terminated(script.status);
        });
        return {};
    }

  private:
    RunLoop& _runLoop;
};

} // namespace vt

// Starts programs that run beside the agent, and tells what they write and when they end.
// Thread: main, also for everything that is told. Errors: why a program could not be started.
#pragma once

#include "base/Result.h"

#include <functional>
#include <string>
#include <vector>

namespace vt {

class ChildProcesses {
  public:
    // What a child does, in this order for each stream. Its end may come before its streams', which others may hold.
    struct Listener {
        std::function<void(const std::string& bytes)> output; // a piece of standard output, never empty
        std::function<void()> outputEnded;
        std::function<void(const std::string& bytes)> error; // a piece of standard error, never empty
        std::function<void()> errorEnded;
        std::function<void(int status)> terminated; // its exit code, 128 + the signal when a signal ended it
    };
    virtual ~ChildProcesses() = default; // children go on, unheard
    // `launchPath` is absolute and is not searched for; standard input is empty. Returns once the program runs.
    [[nodiscard]] virtual Result<void> start(const std::string& launchPath, const std::vector<std::string>& arguments,
                                             Listener listener) = 0;
};

} // namespace vt

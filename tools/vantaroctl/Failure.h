// How a command ends when it cannot do its work: an exit code and a text for standard error.
#pragma once

#include <QString>

#include <optional>

namespace ctl {

enum ExitCode : int {
    done = 0,
    agentError = 1,
    usageError = 2,
    noAgent = 3,
    timedOut = 4,
    syncFailed = 5,
    interrupted = 130,
};

// Thrown within this program only, caught in main().
struct Failure {
    ExitCode code = agentError;
    QString message;
    std::optional<int> number = {}; // the agent's error number, such as -50
};

} // namespace ctl

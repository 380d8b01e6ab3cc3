// Waits for the agent while the event loop runs: conditions, time limits, interruption.
#pragma once

#include <chrono>
#include <functional>
#include <optional>

namespace ctl {

class Agent;

// Lets Ctrl-C and SIGTERM end a wait with the exit code 130 instead of killing the program in the middle of a line.
void catchInterruptions();

// Asks `isOver` now, after every activity notification and five times a second, until it answers true.
// Failure timedOut after `limit`, noAgent when the agent leaves, interrupted after a signal.
void waitUntil(Agent& agent, const std::function<bool()>& isOver, std::optional<double> limitSeconds);

} // namespace ctl

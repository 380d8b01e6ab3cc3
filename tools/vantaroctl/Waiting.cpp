#include "vantaroctl/Waiting.h"

#include "vantaroctl/Agent.h"
#include "vantaroctl/Failure.h"

#include <QEventLoop>
#include <QSocketNotifier>
#include <QTimer>

#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace ctl {

namespace {

int wakeUp[2] = {-1, -1};
volatile std::sig_atomic_t signalled = 0;

void onSignal(int) {
    signalled = 1;
    const char byte = 1;
    // Nothing can be done about a full pipe, and nothing need be: one byte is enough.
    [[maybe_unused]] const ssize_t written = write(wakeUp[1], &byte, 1);
}

constexpr int pollInterval = 200; // milliseconds

} // namespace

void catchInterruptions() {
    if (wakeUp[0] != -1 || pipe2(wakeUp, O_CLOEXEC | O_NONBLOCK) != 0) return;
    struct sigaction action {};
    action.sa_handler = onSignal;
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
}

void waitUntil(Agent& agent, const std::function<bool()>& isOver, std::optional<double> limitSeconds) {
    catchInterruptions();
    agent.follow();
    // From now on its end is told; one that came before is not.
    if (!agent.isRunning()) throw Failure{noAgent, "the agent has ended"};
    QEventLoop loop;
    std::optional<Failure> failure;
    const auto end = [&](std::optional<Failure> why) {
        if (!failure) failure = std::move(why);
        loop.quit();
    };
    const auto look = [&] {
        // A Failure must not cross the event loop.
        try {
            if (isOver()) end(std::nullopt);
        } catch (const Failure& thrown) {
            end(thrown);
        }
    };
    QTimer poll;
    QObject::connect(&poll, &QTimer::timeout, &loop, look);
    poll.start(pollInterval);
    QTimer limit;
    limit.setSingleShot(true);
    QObject::connect(&limit, &QTimer::timeout, &loop, [&] { end(Failure{timedOut, "timed out"}); });
    if (limitSeconds) limit.start(static_cast<int>(*limitSeconds * 1000));
    QSocketNotifier interruption(wakeUp[0], QSocketNotifier::Read);
    QObject::connect(&interruption, &QSocketNotifier::activated, &loop, [&] {
        end(Failure{interrupted, "interrupted"});
    });
    QObject::connect(&agent, &Agent::gone, &loop, [&] { end(Failure{noAgent, "the agent has ended"}); });
    QObject::connect(&agent, &Agent::activity, &loop, look);
    QTimer::singleShot(0, &loop, look);
    if (signalled != 0) throw Failure{interrupted, "interrupted"};
    loop.exec();
    if (failure) throw *failure;
}

} // namespace ctl

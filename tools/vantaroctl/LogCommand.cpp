#include "vantaroctl/AgentLog.h"
#include "vantaroctl/Commands.h"
#include "vantaroctl/Failure.h"
#include "vantaroctl/Waiting.h"

#include <QFileInfo>

#include <cstdio>

namespace ctl {

namespace {

void write(const QByteArray& bytes) {
    std::fwrite(bytes.constData(), 1, static_cast<std::size_t>(bytes.size()), stdout);
    std::fflush(stdout);
}

} // namespace

int showLog(const CommandLine& line) {
    AgentLog log;
    const QFileInfo file(log.path());
    if (!file.isFile()) throw Failure{agentError, "there is no log at " + log.path()};
    if (!file.isReadable()) throw Failure{agentError, "the log cannot be read: " + log.path()};
    write(log.readNew());
    if (!line.follow) return done;
    Agent agent;
    if (!agent.isRunning()) throw Failure{noAgent, "the agent is not running"};
    waitUntil(
        agent,
        [&] {
            write(log.readNew());
            return false;
        },
        std::nullopt);
    return done;
}

} // namespace ctl

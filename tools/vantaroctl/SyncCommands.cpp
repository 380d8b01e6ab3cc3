#include "vantaroctl/AgentLog.h"
#include "vantaroctl/Commands.h"
#include "vantaroctl/Failure.h"
#include "vantaroctl/Terminal.h"
#include "vantaroctl/Waiting.h"

namespace ctl {

namespace {

bool isBusy(const QJsonObject& progress) {
    return progress["syncIsBusy"].toInt() != 0;
}

// What one waited-for sync did, gathered from the activity notifications.
struct Watched {
    QString drive;
    bool began = false;
    bool ended = false;
    int activity = 0;
    QJsonObject last; // the dictionary that came with the end

    void take(const QJsonObject& progress) {
        if (progress["activePath"].toString() != drive) return;
        const int type = progress["syncActivityType"].toInt();
        if (type >= 1 && type <= 3) {
            began = true;
            ended = false;
        }
        if (began && (type == 5 || type == 6) && !ended) {
            ended = true;
            activity = type;
            last = progress;
        }
    }
};

void printOutcome(const Watched& watched, const QStringList& logLines) {
    for (const QString& text : logLines) {
        // The agent's own words about this sync; its other lines stay in the log.
        if (text.startsWith("Synchronization of ") || text.startsWith("Sync summary")) printLine(text);
    }
    const double copied = watched.last["syncCopied"].toDouble();
    const QString present = humanSize(watched.last["syncSkipPresent"].toDouble());
    const QString filtered = humanSize(watched.last["syncSkipFilter"].toDouble());
    if (copied == 0)
        printLine(QString("Nothing was copied: %1 already on the drive, %2 left out.").arg(present, filtered));
    else
        printLine(
            QString("%1 copied, %2 already on the drive, %3 left out.").arg(humanSize(copied), present, filtered));
}

} // namespace

int startSync(const CommandLine& line) {
    Agent agent;
    const QString drive = agent.resolve(line.arguments[0]);
    if (!line.wait) {
        agent.send("DOIT", drive);
        return done;
    }
    LiveLines live(LiveLines::Output::standardError);
    Watched watched{drive, false, false, 0, {}};
    bool sent = false;
    QString departed;
    QObject::connect(&agent, &Agent::activity, &agent, [&](const QJsonObject& progress) {
        if (sent) watched.take(progress);
    });
    AgentLog log;
    waitUntil(
        agent,
        [&] {
            QJsonObject progress;
            try {
                progress = agent.progress(drive);
            } catch (const Failure& failure) {
                if (!sent || failure.code != agentError) throw;
                departed = failure.message; // the drive left, and its sync with it
                return true;
            }
            if (!sent) {
                if (isBusy(progress)) {
                    live.show(drive, "waiting for the drive to be idle");
                    return false;
                }
                log.skipToEnd();
                agent.send("DOIT", drive);
                sent = true;
                return false;
            }
            live.show(drive, progressLine(progress, terminalWidth() - 1));
            return watched.ended && !isBusy(progress);
        },
        line.timeout);
    live.clear();
    if (!departed.isEmpty()) throw Failure{syncFailed, departed};
    printOutcome(watched, log.messagesSince());
    return watched.activity == 6 ? done : syncFailed;
}

int showProgress(const CommandLine& line) {
    Agent agent;
    const QJsonObject progress = agent.progress(agent.resolve(line.arguments[0]));
    if (line.json)
        printJson(progress);
    else
        printLine(activityText(progress) + "  " + progressLine(progress, terminalWidth() - 12));
    return done;
}

int watchActivity(const CommandLine& line) {
    Agent agent;
    const QString only = line.arguments.isEmpty() ? QString() : agent.resolve(line.arguments[0]);
    if (!agent.isRunning()) throw Failure{noAgent, "the agent is not running"};
    const bool asJson = line.json || !standardOutputIsTerminal();
    LiveLines live(LiveLines::Output::standardOutput);
    QObject::connect(&agent, &Agent::activity, &agent, [&](const QJsonObject& progress) {
        const QString drive = progress["activePath"].toString();
        if (!only.isEmpty() && drive != only) return;
        if (asJson) {
            printJson(progress);
        } else if (live.isLive()) {
            live.show(drive,
                      drive + " " + progressLine(progress, terminalWidth() - static_cast<int>(drive.size()) - 2));
        } else {
            printLine(shown(drive) + " " + activityText(progress) + " " + progressLine(progress, terminalWidth()));
        }
    });
    waitUntil(
        agent, [] { return false; }, std::nullopt);
    return done;
}

} // namespace ctl

#include "vantaroctl/AgentLog.h"
#include "vantaroctl/Commands.h"
#include "vantaroctl/Failure.h"
#include "vantaroctl/Terminal.h"
#include "vantaroctl/Waiting.h"

#include <QCoreApplication>
#include <QElapsedTimer>

namespace ctl {

namespace {

bool isBusy(const QJsonObject& progress) {
    return progress["syncIsBusy"].toInt() != 0;
}

// What the syncs did that were waited for, gathered from the activity notifications. There is more than one when the
// sync on connect was due or running: it does the work, and the one that was asked for finds it done.
struct Watched {
    QString drive;
    bool began = false;
    bool ended = false;
    int syncs = 0;
    int activity = 0;
    double copied = 0;  // by all of them
    double present = 0; // before the first
    double filtered = 0;
    // The sync that was asked for is queued a second later; until then the end of another one is not the end.
    QElapsedTimer asked{};
    int answersSince = 0;

    [[nodiscard]] bool over(bool busy) {
        constexpr qint64 delay = 1'000; // milliseconds
        if (asked.hasExpired(delay)) ++answersSince;
        // The first may have been given before, the second while the queueing was due; it was done before the third.
        return ended && !busy && answersSince > 2;
    }

    void take(const QJsonObject& progress) {
        if (progress["activePath"].toString() != drive) return;
        const int type = progress["syncActivityType"].toInt();
        if (type >= 1 && type <= 3) {
            began = true;
            ended = false;
        }
        if (began && hasEnded(progress) && !ended) {
            ended = true;
            activity = type;
            copied += progress["syncCopied"].toDouble();
            filtered = progress["syncSkipFilter"].toDouble();
            if (syncs++ == 0) present = progress["syncSkipPresent"].toDouble();
        }
    }
};

void printOutcome(const Watched& watched, const QStringList& logLines) {
    // The agent's own words about the last sync; its other lines stay in the log.
    for (const char* const beginning : {"Synchronization of ", "Sync summary"}) {
        for (qsizetype index = logLines.size(); index-- > 0;) {
            if (!logLines[index].startsWith(beginning)) continue;
            printLine(logLines[index]);
            break;
        }
    }
    const QString present = humanSize(watched.present);
    const QString filtered = humanSize(watched.filtered);
    if (watched.copied == 0)
        printLine(QString("Nothing was copied: %1 already on the drive, %2 left out.").arg(present, filtered));
    else
        printLine(QString("%1 copied, %2 already on the drive, %3 left out.")
                      .arg(humanSize(watched.copied), present, filtered));
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
    Watched watched{.drive = drive};
    bool sent = false;
    bool catchingUp = false;
    QString departed;
    QObject::connect(&agent, &Agent::activity, &agent, [&](const QJsonObject& progress) { watched.take(progress); });
    AgentLog log;
    waitUntil(
        agent,
        [&] {
            if (catchingUp) return false;
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
                    watched.take(progress); // one that runs already may have told of its beginning
                    live.show({progressLine(progress, terminalWidth() - 1)});
                    return false;
                }
                // What was posted before that answer may still stand in line here, and tells of an earlier sync.
                catchingUp = true;
                QCoreApplication::sendPostedEvents();
                catchingUp = false;
                watched.began = watched.ended = false;
                log.skipToEnd();
                agent.send("DOIT", drive);
                watched.asked.start();
                sent = true;
                return false;
            }
            live.show({watched.began ? progressLine(progress, terminalWidth() - 1) : "waiting for the sync to begin"});
            return watched.over(isBusy(progress));
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
        printLine(progressLine(progress, terminalWidth()));
    return done;
}

} // namespace ctl

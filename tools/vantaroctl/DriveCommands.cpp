#include "vantaroctl/Commands.h"
#include "vantaroctl/Failure.h"
#include "vantaroctl/Terminal.h"

#include <QElapsedTimer>
#include <QThread>

namespace ctl {

namespace {

constexpr qint64 patienceWithTheEnd = 30'000; // milliseconds
constexpr unsigned long pollInterval = 50;    // milliseconds

QString onOff(const QJsonValue& value) {
    return value.toBool() ? "on" : "off";
}

void printDrive(const QJsonObject& drive) {
    printNames(QString("%1  %2").arg(drive["mountPoint"].toString(), drive["name"].toString()));
    printNames(QString("  %1, %2 free of %3")
                   .arg(drive["fileSystem"].toString(), humanSize(drive["freeBytes"].toDouble()),
                        humanSize(drive["totalBytes"].toDouble())));
    printLine(QString("  participating %1, continuous %2, device filter %3")
                  .arg(onOff(drive["participating"]), onOff(drive["continuous"]))
                  .arg(drive["deviceFilter"].toInt()));
    const QJsonArray list = drive["syncList"].toArray();
    if (list.isEmpty()) printLine("  nothing on its sync list");
    for (const QJsonValue item : list) printNames("  keeps " + item.toString());
}

} // namespace

int listDrives(const CommandLine& line) {
    Agent agent;
    const QJsonArray drives = agent.drives();
    if (line.json) {
        printJson(drives);
        return done;
    }
    if (drives.isEmpty()) {
        printLine("No drive is served. \"vantaroctl adopt PATH\" takes one into service.");
        return done;
    }
    QList<QStringList> rows;
    for (const QJsonValue drive : drives) {
        const QString lastSync = drive["lastSyncTime"].toString();
        rows.append({drive["mountPoint"].toString(), drive["fileSystem"].toString(),
                     humanSize(drive["freeBytes"].toDouble()), drive["busy"].toBool() ? "busy" : "idle",
                     onOff(drive["continuous"]), lastSync.isEmpty() ? "never" : lastSync.left(16).replace('T', ' ')});
    }
    printTable({"DRIVE", "TYPE", "FREE", "STATE", "CONT", "LAST SYNC (UTC)"}, rows);
    return done;
}

int listVolumes(const CommandLine& line) {
    Agent agent;
    const QJsonArray volumes = agent.volumes();
    if (line.json) {
        printJson(volumes);
        return done;
    }
    QList<QStringList> rows;
    for (const QJsonValue volume : volumes)
        rows.append({volume["mountPoint"].toString(), volume["fileSystem"].toString(),
                     volume["served"].toBool() ? "yes" : "no", volume["reason"].toString()});
    printTable({"VOLUME", "TYPE", "SERVED", "WHY NOT"}, rows);
    return done;
}

int adoptDrive(const CommandLine& line) {
    Agent agent;
    const QJsonObject drive = agent.adopt(absolutePath(line.arguments[0]));
    if (line.json)
        printJson(drive);
    else
        printDrive(drive);
    return done;
}

int forgetDrive(const CommandLine& line) {
    Agent agent;
    agent.forget(agent.resolveExactly(line.arguments[0]).toUtf8());
    return done;
}

int ejectDrive(const CommandLine& line) {
    Agent agent;
    agent.eject(agent.resolve(line.arguments[0]).toUtf8());
    return done;
}

int queryDrive(const CommandLine& line) {
    Agent agent;
    const Record reply = agent.send("QURY", agent.resolve(line.arguments[0]));
    printLine(reply.value("----").type == "true" ? "true" : "false");
    return done;
}

int removeSync(const CommandLine& line) {
    Agent agent;
    agent.send("REMV", agent.resolve(line.arguments[0]));
    return done;
}

int stopSync(const CommandLine& line) {
    Agent agent;
    agent.send("STOP", agent.resolve(line.arguments[0]));
    return done;
}

int quitAgent(const CommandLine&) {
    Agent agent;
    agent.quit();
    // Another one can be started when this command returns.
    QElapsedTimer sinceAsked;
    sinceAsked.start();
    while (agent.isRunning()) {
        if (sinceAsked.elapsed() > patienceWithTheEnd) throw Failure{timedOut, "the agent has not ended"};
        QThread::msleep(pollInterval);
    }
    return done;
}

int sendEvent(const CommandLine& line) {
    Agent agent;
    Record parameters;
    for (const QByteArray& argument : line.arguments.mid(2)) {
        const qsizetype equals = argument.indexOf('=');
        if (equals != 4)
            throw Failure{usageError, "a parameter is written KEY=TYPE:VALUE, with a key of four characters"};
        parameters.insert(QString::fromLatin1(argument.left(4)), parseDescriptor(argument.mid(5)));
    }
    const Record reply = agent.sendRaw(line.text(0), line.text(1), parameters);
    for (auto field = reply.cbegin(); field != reply.cend(); ++field)
        printNames(field.key() + "=" + describe(field.value()));
    if (!reply.contains("errn") && !reply.contains("errs")) return done;
    printError(QString::fromUtf8(reply.value("errs").bytes()));
    return agentError;
}

} // namespace ctl

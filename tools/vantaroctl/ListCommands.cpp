#include "vantaroctl/Commands.h"
#include "vantaroctl/Failure.h"
#include "vantaroctl/Terminal.h"
#include "vantaroctl/Waiting.h"

#include <QDir>
#include <QElapsedTimer>

namespace ctl {

namespace {

constexpr double usualTimeout = 600;         // seconds, for a drive that is busy
constexpr qint64 patienceForAnswer = 10'000; // milliseconds after the list was sent

QList<QByteArray> currentList(Agent& agent, const QString& drive) {
    QList<QByteArray> list;
    for (const Descriptor& item : agent.send("GETL", drive).value("----").list()) list.append(pathOf(item));
    return list;
}

QByteArray cleanAbsolute(const QByteArray& path) {
    if (path.isEmpty()) throw Failure{usageError, "an empty path names nothing"};
    const QByteArray absolute = path.startsWith('/') ? path : QDir::currentPath().toUtf8() + "/" + path;
    QList<QByteArray> kept;
    for (const QByteArray& component : absolute.split('/')) {
        if (component.isEmpty() || component == ".") continue;
        if (component == "..") {
            if (!kept.isEmpty()) kept.removeLast();
        } else
            kept.append(component);
    }
    return "/" + kept.join('/');
}

QList<QByteArray> namedPaths(const CommandLine& line) {
    QList<QByteArray> list;
    for (const QByteArray& argument : line.arguments.mid(1)) {
        const QByteArray path = cleanAbsolute(argument);
        if (!list.contains(path)) list.append(path);
    }
    return list;
}

bool isIdle(Agent& agent, const QString& drive) {
    return agent.progress(drive)["syncIsBusy"].toInt() == 0;
}

// A list is refused while a sync is queued; then it is sent again once the drive is idle.
int replaceList(Agent& agent, const QString& drive, const QList<QByteArray>& list, const CommandLine& line) {
    QList<Descriptor> items;
    for (const QByteArray& path : list) items.append(fileDescriptor(path));
    QElapsedTimer sinceSent;
    bool refused = false;
    waitUntil(
        agent,
        [&] {
            if (sinceSent.isValid() && currentList(agent, drive) == list) return true;
            const bool idle = isIdle(agent, drive);
            if (!sinceSent.isValid()) {
                if (!idle) return false;
                agent.send("SETL", drive, {{"ITMZ", listDescriptor(items)}});
                sinceSent.start();
            } else if (idle && sinceSent.elapsed() > patienceForAnswer) {
                refused = true;
                return true;
            }
            return false;
        },
        line.timeout.value_or(usualTimeout));
    if (refused) throw Failure{agentError, "the agent did not take the list as it is; its log says why"};
    return done;
}

} // namespace

int showList(const CommandLine& line) {
    Agent agent;
    const QList<QByteArray> list = currentList(agent, agent.resolve(line.arguments[0]));
    if (line.json) {
        QJsonArray array;
        for (const QByteArray& path : list) array.append(QString::fromUtf8(path));
        printJson(array);
        return done;
    }
    for (const QByteArray& path : list) printLine(QString::fromUtf8(path));
    return done;
}

int setList(const CommandLine& line) {
    Agent agent;
    return replaceList(agent, agent.resolve(line.arguments[0]), namedPaths(line), line);
}

int addToList(const CommandLine& line) {
    Agent agent;
    const QString drive = agent.resolve(line.arguments[0]);
    QList<QByteArray> list = currentList(agent, drive);
    for (const QByteArray& path : namedPaths(line)) {
        if (!list.contains(path)) list.append(path);
    }
    return replaceList(agent, drive, list, line);
}

int dropFromList(const CommandLine& line) {
    Agent agent;
    const QString drive = agent.resolve(line.arguments[0]);
    QList<QByteArray> list = currentList(agent, drive);
    for (const QByteArray& path : namedPaths(line)) {
        if (list.removeAll(path) == 0)
            throw Failure{agentError, "\"" + QString::fromUtf8(path) + "\" is not on the sync list"};
    }
    return replaceList(agent, drive, list, line);
}

} // namespace ctl

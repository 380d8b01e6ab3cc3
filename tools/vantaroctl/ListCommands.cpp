#include "vantaroctl/Commands.h"
#include "vantaroctl/Failure.h"
#include "vantaroctl/Terminal.h"
#include "vantaroctl/Waiting.h"

#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>

#include <utility>

namespace ctl {

namespace {

constexpr double usualTimeout = 600;        // seconds, for a drive that is busy
constexpr qint64 patienceForAnswer = 5'000; // milliseconds after the list was sent
constexpr int mostTries = 2;

QList<QByteArray> currentList(Agent& agent, const QString& drive) {
    QList<QByteArray> list;
    for (const Descriptor& item : agent.send("GETL", drive).value("----").list()) list.append(pathOf(item));
    return list;
}

QList<QByteArray> namedPaths(const CommandLine& line) {
    QList<QByteArray> list;
    for (const QByteArray& argument : line.arguments.mid(1)) {
        const QByteArray path = absolutePath(argument);
        if (!list.contains(path)) list.append(path);
    }
    return list;
}

// A list may name what comes to be later; a slip of the pen looks the same.
void noteMissing(const QList<QByteArray>& paths) {
    for (const QByteArray& path : paths)
        if (!QFileInfo::exists(QFile::decodeName(path)))
            printError(QString("note: \"%1\" is not there now").arg(shown(QString::fromUtf8(path))));
}

bool isIdle(Agent& agent, const QString& drive) {
    return agent.progress(drive)["syncIsBusy"].toInt() == 0;
}

// Sends the list when the drive is idle and waits until it is the drive's. A sync that began just then makes the agent
// refuse it without an error: the list is sent once more, then it counts as refused.
class Replacement {
  public:
    Replacement(Agent& agent, QString drive, QList<QByteArray> list)
        : _agent(agent), _drive(std::move(drive)), _list(std::move(list)) {}

    bool isOver() {
        if (_sent > 0 && currentList(_agent, _drive) == _list) return true;
        if (!isIdle(_agent, _drive)) return false;
        if (_sent > 0 && _sinceSent.elapsed() <= patienceForAnswer) return false;
        if (_sent == mostTries) throw Failure{agentError, "the agent did not take the list as it is; its log says why"};
        QList<Descriptor> items;
        for (const QByteArray& path : _list) items.append(fileDescriptor(path));
        _agent.send("SETL", _drive, {{"ITMZ", listDescriptor(items)}});
        _sinceSent.start();
        ++_sent;
        return false;
    }

  private:
    Agent& _agent;
    QString _drive;
    QList<QByteArray> _list;
    QElapsedTimer _sinceSent;
    int _sent = 0;
};

int replaceList(Agent& agent, const QString& drive, const QList<QByteArray>& list, const CommandLine& line) {
    Replacement replacement(agent, drive, list);
    waitUntil(
        agent, [&] { return replacement.isOver(); }, line.timeout.value_or(usualTimeout));
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
    for (const QByteArray& path : list) printNames(QString::fromUtf8(path));
    return done;
}

int setList(const CommandLine& line) {
    Agent agent;
    const QString drive = agent.resolve(line.arguments[0]);
    const QList<QByteArray> list = namedPaths(line);
    noteMissing(list);
    return replaceList(agent, drive, list, line);
}

int addToList(const CommandLine& line) {
    Agent agent;
    const QString drive = agent.resolve(line.arguments[0]);
    QList<QByteArray> list = currentList(agent, drive);
    const QList<QByteArray> added = namedPaths(line);
    noteMissing(added);
    for (const QByteArray& path : added) {
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

#include "vantaroctl/Commands.h"
#include "vantaroctl/Failure.h"
#include "vantaroctl/Terminal.h"
#include "vantaroctl/UserFolders.h"
#include "vantaroctl/Waiting.h"
#include "vantaroctl/WatchPicture.h"

#include <QElapsedTimer>

#include <utility>

namespace ctl {

namespace {

// Follows the agent and shows what it tells, in one of three ways: a picture that is drawn over and over on a
// terminal, a line for each piece of news on one that must not be drawn on, and one JSON object a line for programs.
class Watch : public QObject {
  public:
    Watch(Agent& agent, const QString& only, bool asJson)
        : _agent(agent), _only(only), _asJson(asJson), _picture(homeFolder(), only),
          _live(LiveLines::Output::standardOutput) {
        _clock.start();
        connect(&_agent, &Agent::activity, this, [this](const QJsonObject& progress) { onActivity(progress); });
        connect(&_agent, &Agent::changesWait, this, [this](const WaitingChanges& changes) { onWaiting(changes); });
        connect(&_agent, &Agent::drivesChanged, this, [this] { lookAtDrives(); });
    }

    // What is so when the watching begins; from then on the agent tells.
    void begin() {
        _picture.setDrives(_agent.drives(), [this](const QString& drive) { return _agent.progress(drive); });
        for (const WaitingChanges& changes : _agent.waiting()) onWaiting(changes);
        draw();
    }

    void draw() {
        if (_live.isLive() && !_asJson) _live.show(_picture.lines(terminalWidth() - 1, _clock.elapsed()));
    }

  private:
    [[nodiscard]] bool concerns(const QString& drive) const { return _only.isEmpty() || drive == _only; }

    // A drive may leave between the news of it and the question; nothing is known of it then.
    QJsonObject progressOf(const QString& drive) {
        try {
            return _agent.progress(drive);
        } catch (const Failure&) {
            return {};
        }
    }

    void printNews(const QString& line) {
        if (line != std::exchange(_lastNews, line)) printLine(line);
    }

    void lookAtDrives() {
        try {
            _picture.setDrives(_agent.drives(), [this](const QString& drive) { return progressOf(drive); });
        } catch (const Failure&) {
            return; // the agent has gone, which ends the watching anyway
        }
        draw();
    }

    void onActivity(const QJsonObject& progress) {
        const QString drive = progress["activePath"].toString();
        if (!concerns(drive)) return;
        const QString ended = _picture.take(progress, terminalWidth() - 1);
        if (_asJson) {
            printJson(progress);
        } else if (_live.isLive()) {
            draw();
            if (!ended.isEmpty()) _live.keep(ended);
        } else {
            const QString label = shown(_picture.labelOf(drive));
            const int room = terminalWidth() - static_cast<int>(label.size()) - 2;
            printNews(label + "  " + progressLine(progress, room));
        }
    }

    void onWaiting(const WaitingChanges& changes) {
        if (!concerns(changes.mountPoint)) return;
        _picture.take(changes, _clock.elapsed());
        if (_asJson) {
            QJsonObject line = progressOf(changes.mountPoint);
            line.insert("activePath", changes.mountPoint);
            line.insert("waitingFolders", QJsonArray::fromStringList(changes.folders));
            line.insert("secondsUntilSync",
                        changes.folders.isEmpty() ? QJsonValue(QJsonValue::Null) : QJsonValue(changes.secondsLeft));
            printJson(line);
        } else if (_live.isLive()) {
            draw();
        } else if (const QString text = _picture.waitingText(changes.mountPoint, _clock.elapsed()); !text.isEmpty()) {
            printNews(shown(_picture.labelOf(changes.mountPoint) + "  " + text));
        }
    }

    Agent& _agent;
    QString _only;
    bool _asJson;
    WatchPicture _picture;
    LiveLines _live;
    QElapsedTimer _clock;
    QString _lastNews;
};

} // namespace

int watchActivity(const CommandLine& line) {
    Agent agent;
    const QString only = line.arguments.isEmpty() ? QString() : agent.resolve(line.arguments[0]);
    if (!agent.isRunning()) throw Failure{noAgent, "the agent is not running"};
    Watch watch(agent, only, line.json || !standardOutputIsTerminal());
    agent.followDrives();
    watch.begin();
    waitUntil(
        agent,
        [&] {
            watch.draw();
            return false;
        },
        std::nullopt);
    return done;
}

} // namespace ctl

#include "vantaroctl/Commands.h"
#include "vantaroctl/Failure.h"
#include "vantaroctl/Terminal.h"

namespace ctl {

namespace {

QString number(const QJsonValue& value) {
    QString text = QString::number(value.toDouble(), 'f', 2);
    while (text.endsWith('0')) text.chop(1);
    if (text.endsWith('.')) text.chop(1);
    return text;
}

QString detailsOf(const QJsonObject& track) {
    if (track["kind"] == "video")
        return QString("%1 x %2 pixels, %3 frames per second")
            .arg(number(track["width"]), number(track["height"]), number(track["frameRate"]));
    if (track["kind"] == "sound")
        return QString("%1 Hz, %2 channels").arg(number(track["sampleRate"]), number(track["channels"]));
    return {};
}

void printContents(const QJsonObject& answer) {
    if (!answer["examined"].toBool()) {
        if (answer["kind"] == "file") printLine("Nobody looked inside.");
        return;
    }
    if (!answer["movie"].toBool()) {
        printLine("It cannot be read as a movie: " + shown(answer["problem"].toString()) + ".");
        return;
    }
    const QJsonArray tracks = answer["tracks"].toArray();
    if (tracks.isEmpty()) {
        printLine("It is a movie without any track.");
        return;
    }
    printLine(QString("It holds %1 s:").arg(number(answer["duration"])));
    QList<QStringList> rows;
    for (const auto& value : tracks) {
        const QJsonObject track = value.toObject();
        rows.append({track["kind"].toString(), track["enabled"].toBool() ? "on" : "off", track["format"].toString(),
                     track["codec"].toString(), detailsOf(track)});
    }
    printTable({"TRACK", "STATE", "FORMAT", "CODEC", "DETAILS"}, rows);
}

void printPatterns(const QJsonArray& patterns) {
    if (patterns.isEmpty()) return;
    QList<QStringList> rows;
    for (const auto& value : patterns) {
        const QJsonObject pattern = value.toObject();
        const QJsonArray validators = pattern["validators"].toArray();
        if (validators.isEmpty())
            rows.append({pattern["list"].toString(),
                         pattern["pattern"].toString(),
                         "the name alone",
                         pattern["answer"].toString(),
                         {}});
        for (const auto& asked : validators) {
            const QJsonObject validator = asked.toObject();
            rows.append({pattern["list"].toString(), pattern["pattern"].toString(), validator["name"].toString(),
                         validator["answer"].toString(), validator["reason"].toString()});
        }
    }
    printTable({"LIST", "PATTERN", "ASKED", "ANSWER", "WHY"}, rows);
}

} // namespace

int explainFile(const CommandLine& line) {
    const QByteArray path = absolutePath(line.arguments[1]);
    Agent agent;
    const QJsonObject answer = agent.explain(agent.resolve(line.arguments[0]), path);
    if (line.json) {
        printJson(answer);
        return done;
    }
    printLine(QString("%1 is %2: %3.")
                  .arg(shown(answer["path"].toString()), answer["accepted"].toBool() ? "accepted" : "refused",
                       shown(answer["explanation"].toString())));
    printLine(QString("The drive's device class is \"%1\".").arg(answer["deviceClass"].toString()));
    if (!answer["listed"].toBool()) printLine("It lies in nothing that is on the drive's sync list.");
    printContents(answer);
    printPatterns(answer["patterns"].toArray());
    return done;
}

} // namespace ctl

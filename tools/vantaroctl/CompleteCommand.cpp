#include "vantaroctl/Commands.h"
#include "vantaroctl/Failure.h"
#include "vantaroctl/Settings.h"
#include "vantaroctl/Terminal.h"

#include <QMap>

namespace ctl {

namespace {

// Mount points, and the names that only one drive has.
QStringList driveWords() {
    QStringList words;
    QMap<QString, int> names;
    try {
        Agent agent;
        for (const QJsonValue drive : agent.drives()) {
            words.append(drive["mountPoint"].toString());
            ++names[drive["name"].toString()];
        }
    } catch (const Failure&) {
        return {}; // a shell that completes has no use for an error
    }
    for (auto name = names.cbegin(); name != names.cend(); ++name)
        if (name.value() == 1 && !name.key().isEmpty()) words.append(name.key());
    return words;
}

QStringList commandWords() {
    QStringList words;
    for (const Command& row : commands())
        if (!row.hidden) words.append(row.name);
    return words;
}

QStringList optionWords(const QByteArray& command) {
    QStringList words{"--help"};
    if (command.isEmpty()) return words << "--version";
    if (const Command* row = commandNamed(command)) {
        for (const QString& option : QString(row->options).split(' ', Qt::SkipEmptyParts)) words.append("--" + option);
    }
    return words;
}

} // namespace

// One word a line. KIND is commands, options (of a command), drives, settings (to get), switches (to set) or classes.
int complete(const CommandLine& line) {
    const QByteArray& kind = line.arguments[0];
    QStringList words;
    if (kind == "commands")
        words = commandWords();
    else if (kind == "options")
        words = optionWords(line.arguments.value(1));
    else if (kind == "drives")
        words = driveWords();
    else if (kind == "settings")
        words = settingNames(false);
    else if (kind == "switches")
        words = settingNames(true);
    else if (kind == "classes")
        words = deviceClassNames();
    else
        throw Failure{usageError, "unknown kind of words: " + QString::fromUtf8(kind)};
    for (const QString& word : words)
        if (!word.contains('\n')) printLine(word);
    return done;
}

} // namespace ctl

// What a person sees: sizes, tables and progress bars, plain where the output is no terminal.
#pragma once

#include <QJsonObject>
#include <QJsonValue>
#include <QString>
#include <QStringList>

namespace ctl {

[[nodiscard]] bool standardErrorIsTerminal();
[[nodiscard]] bool standardOutputIsTerminal();
[[nodiscard]] int terminalWidth();             // columns; 80 when unknown
[[nodiscard]] QString humanSize(double bytes); // "1.5 GB", in steps of 1000

void printLine(const QString& text);     // standard output
void printError(const QString& text);    // standard error
void printJson(const QJsonValue& value); // one line on standard output
// Rows under a heading, columns as wide as their content; the first column gives way when the terminal is too narrow.
void printTable(const QStringList& heading, const QList<QStringList>& rows);

// One line of a sync's progress: a bar where it is drawn over and over, words otherwise.
[[nodiscard]] QString progressLine(const QJsonObject& progress, int width);
[[nodiscard]] QString activityText(const QJsonObject& progress);

// Draws a line over the one drawn before, on standard error; nothing when that is no terminal or NO_COLOR is set.
class LiveLine {
  public:
    LiveLine();
    ~LiveLine();
    void show(const QString& text);
    void clear();
    [[nodiscard]] bool isLive() const { return _live; }

  private:
    bool _live;
    bool _drawn = false;
};

} // namespace ctl

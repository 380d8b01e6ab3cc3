// What a person sees: sizes, tables and progress bars, plain where the output is no terminal.
#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QJsonValue>
#include <QString>
#include <QStringList>

#include <cstdint>

namespace ctl {

[[nodiscard]] bool standardOutputIsTerminal();
[[nodiscard]] int terminalWidth();             // columns; 80 when unknown
[[nodiscard]] QString humanSize(double bytes); // "1.5 GB", in steps of 1000

void printLine(const QString& text);     // standard output
void printNames(const QString& text);    // the same for what others named: on a terminal as shown() makes it
void printError(const QString& text);    // standard error, one line, as shown() makes it
void printJson(const QJsonValue& value); // one line on standard output
// What a terminal may be shown of a text that others made up: control characters become "?".
[[nodiscard]] QString shown(const QString& text);
// The text's lines, each broken between words where it is longer than 79 columns; a broken one goes on `indent` to the
// right.
[[nodiscard]] QString wrapped(const QString& text, int indent = 0);
// Rows under a heading, columns as wide as their content. Where they are wider than `width` (0: any width), the first
// column gives way, then the last.
[[nodiscard]] QStringList tableLines(const QStringList& heading, const QList<QStringList>& rows, int width);
void printTable(const QStringList& heading, const QList<QStringList>& rows);

// The end of a path says more than its beginning.
[[nodiscard]] QString clippedAtStart(const QString& text, qsizetype width);
[[nodiscard]] QString clippedAtEnd(const QString& text, qsizetype width);

// One line of a sync's progress, at most `width` columns.
[[nodiscard]] QString progressLine(const QJsonObject& progress, int width);
[[nodiscard]] QString activityText(const QJsonObject& progress);
[[nodiscard]] bool hasEnded(const QJsonObject& progress); // a sync, with or without success

// Lines that are drawn over the ones drawn before; nothing where the output is no terminal or NO_COLOR is set.
class LiveLines {
  public:
    enum class Output : std::uint8_t { standardOutput, standardError };
    explicit LiveLines(Output output);
    ~LiveLines();
    LiveLines(const LiveLines&) = delete;
    LiveLines& operator=(const LiveLines&) = delete;

    void show(const QStringList& lines);
    // One that stays, above those that are still drawn over.
    void keep(const QString& line);
    void clear();
    [[nodiscard]] bool isLive() const { return _live; }
    // The bytes that draw `lines` where `drawn` lines stand, the cursor behind the last one.
    [[nodiscard]] static QByteArray frame(const QStringList& lines, int drawn);

  private:
    void write(const QByteArray& bytes) const;
    int _descriptor;
    bool _live;
    QStringList _drawn;
};

} // namespace ctl

#include "vantaroctl/Terminal.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <sys/ioctl.h>
#include <unistd.h>
#include <utility>

namespace ctl {

bool standardOutputIsTerminal() {
    return isatty(STDOUT_FILENO) == 1;
}

int terminalWidth() {
    winsize size{};
    for (const int descriptor : {STDOUT_FILENO, STDERR_FILENO}) {
        if (ioctl(descriptor, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) return size.ws_col;
    }
    return 80;
}

QString humanSize(double bytes) {
    static const char* const units[] = {"bytes", "KB", "MB", "GB", "TB", "PB"};
    int unit = 0;
    while (std::abs(bytes) >= 999.5 && unit < 5) {
        bytes /= 1000;
        ++unit;
    }
    return QString::number(bytes, 'f', unit == 0 || bytes >= 99.95 ? 0 : 1) + " " + units[unit];
}

void printLine(const QString& text) {
    const QByteArray bytes = text.toUtf8();
    std::fwrite(bytes.constData(), 1, static_cast<std::size_t>(bytes.size()), stdout);
    std::fputc('\n', stdout);
    std::fflush(stdout);
}

void printNames(const QString& text) {
    printLine(standardOutputIsTerminal() ? shown(text) : text);
}

void printError(const QString& text) {
    std::fprintf(stderr, "vantaroctl: %s\n", shown(text).toUtf8().constData());
}

void printJson(const QJsonValue& value) {
    if (value.isObject())
        printLine(QJsonDocument(value.toObject()).toJson(QJsonDocument::Compact));
    else if (value.isArray())
        printLine(QJsonDocument(value.toArray()).toJson(QJsonDocument::Compact));
    else
        printLine(value.toVariant().toString());
}

QString shown(const QString& text) {
    QString result = text;
    for (QChar& character : result) {
        const bool isControl =
            character.unicode() < 0x20 || (character.unicode() >= 0x7F && character.unicode() < 0xA0);
        if (isControl) character = '?';
    }
    return result;
}

QString wrapped(const QString& text, int indent) {
    constexpr qsizetype width = 79;
    QStringList lines;
    for (const QString& paragraph : text.split('\n')) {
        QString line = paragraph;
        while (line.size() > width) {
            const qsizetype end = line.lastIndexOf(' ', width);
            if (end <= indent) break; // one long word
            lines.append(line.left(end));
            line = QString(indent, ' ') + line.mid(end + 1);
        }
        lines.append(line);
    }
    return lines.join('\n');
}

QString clippedAtStart(const QString& text, qsizetype width) {
    return text.size() > width ? QStringLiteral("…") + text.right(std::max<qsizetype>(width - 1, 0)) : text;
}
QString clippedAtEnd(const QString& text, qsizetype width) {
    return text.size() > width ? text.left(std::max<qsizetype>(width - 1, 0)) + QStringLiteral("…") : text;
}

namespace {

constexpr int narrowestColumn = 10;

QList<int> columnWidths(const QStringList& heading, const QList<QStringList>& rows, int width) {
    QList<int> widths;
    int total = 2 * static_cast<int>(heading.size() - 1);
    for (qsizetype column = 0; column < heading.size(); ++column) {
        qsizetype widest = heading[column].size();
        for (const QStringList& row : rows) widest = std::max(widest, row[column].size());
        widths.append(static_cast<int>(widest));
        total += widths.last();
    }
    for (int* column : {&widths.first(), &widths.last()}) {
        const int surplus = width > 0 ? std::max(total - width, 0) : 0;
        const int given = std::min(surplus, std::max(*column - narrowestColumn, 0));
        *column -= given;
        total -= given;
    }
    return widths;
}

} // namespace

QStringList tableLines(const QStringList& heading, const QList<QStringList>& rows, int width) {
    const QList<int> widths = columnWidths(heading, rows, width);
    QStringList lines;
    const auto add = [&](const QStringList& cells) {
        QString line;
        for (qsizetype column = 0; column < cells.size(); ++column) {
            const QString cell = column == 0 ? clippedAtStart(cells[column], widths[column])
                                             : clippedAtEnd(cells[column], widths[column]);
            line += cell.leftJustified(widths[column]) + "  ";
        }
        while (line.endsWith(' ')) line.chop(1);
        lines.append(line);
    };
    add(heading);
    for (const QStringList& row : rows) add(row);
    return lines;
}

void printTable(const QStringList& heading, const QList<QStringList>& rows) {
    for (const QString& line : tableLines(heading, rows, standardOutputIsTerminal() ? terminalWidth() : 0))
        printNames(line);
}

QString activityText(const QJsonObject& progress) {
    switch (progress["syncActivityType"].toInt()) {
    case 1:
        return "preparing";
    case 2:
        return "syncing";
    case 3:
        return "finishing";
    case 4:
        return "configuring";
    case 5:
        return "ended without success";
    case 6:
        return "completed";
    default:
        return "idle";
    }
}

bool hasEnded(const QJsonObject& progress) {
    const int type = progress["syncActivityType"].toInt();
    return type == 5 || type == 6;
}

QString progressLine(const QJsonObject& progress, int width) {
    const double total = progress["syncSize"].toDouble();
    const double handled = progress["syncCopied"].toDouble() + progress["syncSkipPresent"].toDouble() +
                           progress["syncSkipFilter"].toDouble();
    // The total is an estimate: a sync that completed is all of it.
    const bool isComplete = progress["syncActivityType"].toInt() == 6;
    const double share = isComplete ? 1.0 : total > 0 ? std::clamp(handled / total, 0.0, 1.0) : 0.0;
    // Before the estimate there is nothing to count, and after an end that found nothing neither.
    QString numbers;
    if (total > 0)
        numbers = QString(" %1% %2 of %3")
                      .arg(static_cast<int>(share * 100), 3)
                      .arg(humanSize(std::min(handled, total)), humanSize(total));
    else if (isComplete)
        numbers = " 100%";
    constexpr int barWidth = 20;
    const int filled = static_cast<int>(share * barWidth);
    QString line = "[" + QString(filled, '#') + QString(barWidth - filled, '.') + "]" + numbers;
    const QString source = progress["syncCopySourcePath"].toString();
    const QString name = source.isEmpty() ? activityText(progress) : source.mid(source.lastIndexOf('/') + 1);
    const qsizetype room = width - line.size() - 2;
    if (room > 8) line += "  " + clippedAtEnd(shown(name), room);
    return clippedAtEnd(line, width);
}

LiveLines::LiveLines(Output output)
    : _descriptor(output == Output::standardOutput ? STDOUT_FILENO : STDERR_FILENO),
      _live(isatty(_descriptor) == 1 && qEnvironmentVariableIsEmpty("NO_COLOR")) {}

LiveLines::~LiveLines() {
    clear();
}

QByteArray LiveLines::frame(const QStringList& lines, int drawn) {
    QByteArray bytes = "\r";
    if (drawn > 1) bytes += "\x1B[" + QByteArray::number(drawn - 1) + "A";
    for (qsizetype index = 0; index < lines.size(); ++index) {
        if (index > 0) bytes += "\r\n";
        bytes += "\x1B[K" + lines[index].toUtf8();
    }
    if (lines.size() < drawn) bytes += "\x1B[J"; // what stood below
    return bytes;
}

void LiveLines::show(const QStringList& lines) {
    if (!_live) return;
    // A line that fills the last column would wrap, and the next frame would miss it.
    QStringList fitting;
    for (const QString& line : lines) fitting.append(clippedAtEnd(shown(line), terminalWidth() - 1));
    if (fitting == _drawn) return;
    write(frame(fitting, static_cast<int>(_drawn.size())));
    _drawn = fitting;
}

void LiveLines::keep(const QString& line) {
    if (!_live) return;
    const QStringList below = _drawn;
    clear();
    write(clippedAtEnd(shown(line), terminalWidth() - 1).toUtf8() + "\r\n");
    if (!below.isEmpty()) show(below);
}

void LiveLines::clear() {
    if (!_drawn.isEmpty()) write(frame({}, static_cast<int>(_drawn.size())));
    _drawn.clear();
}

void LiveLines::write(const QByteArray& bytes) const {
    std::FILE* const file = _descriptor == STDOUT_FILENO ? stdout : stderr;
    std::fwrite(bytes.constData(), 1, static_cast<std::size_t>(bytes.size()), file);
    std::fflush(file);
}

} // namespace ctl

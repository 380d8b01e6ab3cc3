#include "vantaroctl/Terminal.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <sys/ioctl.h>
#include <unistd.h>

namespace ctl {

bool standardErrorIsTerminal() {
    return isatty(STDERR_FILENO) == 1;
}
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

void printError(const QString& text) {
    std::fprintf(stderr, "vantaroctl: %s\n", text.toUtf8().constData());
}

void printJson(const QJsonValue& value) {
    if (value.isObject())
        printLine(QJsonDocument(value.toObject()).toJson(QJsonDocument::Compact));
    else if (value.isArray())
        printLine(QJsonDocument(value.toArray()).toJson(QJsonDocument::Compact));
    else
        printLine(value.toVariant().toString());
}

void printTable(const QStringList& heading, const QList<QStringList>& rows) {
    QList<int> widths;
    for (qsizetype column = 0; column < heading.size(); ++column) {
        qsizetype widest = heading[column].size();
        for (const QStringList& row : rows) widest = std::max(widest, row[column].size());
        widths.append(static_cast<int>(widest));
    }
    int total = 2 * static_cast<int>(widths.size() - 1);
    for (const int width : widths) total += width;
    const int surplus = total - terminalWidth();
    if (surplus > 0 && standardOutputIsTerminal()) widths[0] = std::max(10, widths[0] - surplus);

    const auto print = [&](const QStringList& cells) {
        QString line;
        for (qsizetype column = 0; column < cells.size(); ++column) {
            QString cell = cells[column];
            // The end of a path says more than its beginning.
            if (cell.size() > widths[column]) cell = QStringLiteral("…") + cell.right(widths[column] - 1);
            line += cell.leftJustified(widths[column]) + "  ";
        }
        while (line.endsWith(' ')) line.chop(1);
        printLine(line);
    };
    print(heading);
    for (const QStringList& row : rows) print(row);
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

QString progressLine(const QJsonObject& progress, int width) {
    const double total = progress["syncSize"].toDouble();
    const double handled = progress["syncCopied"].toDouble() + progress["syncSkipPresent"].toDouble() +
                           progress["syncSkipFilter"].toDouble();
    const double share = total > 0 ? std::clamp(handled / total, 0.0, 1.0) : 0.0;
    const QString numbers = QString("%1% %2 of %3")
                                .arg(static_cast<int>(share * 100), 3)
                                .arg(humanSize(std::min(handled, total)), humanSize(total));
    constexpr int barWidth = 20;
    const int filled = static_cast<int>(share * barWidth);
    QString line = "[" + QString(filled, '#') + QString(barWidth - filled, '.') + "] " + numbers;
    const QString source = progress["syncCopySourcePath"].toString();
    const QString shown = source.isEmpty() ? activityText(progress) : source.mid(source.lastIndexOf('/') + 1);
    const qsizetype room = width - line.size() - 2;
    if (room > 8) line += "  " + (shown.size() > room ? shown.left(room - 1) + QStringLiteral("…") : shown);
    return line;
}

LiveLine::LiveLine() : _live(standardErrorIsTerminal() && qEnvironmentVariableIsEmpty("NO_COLOR")) {}

LiveLine::~LiveLine() {
    clear();
}

void LiveLine::show(const QString& text) {
    if (!_live) return;
    std::fprintf(stderr, "\r\x1B[K%s", text.toUtf8().constData());
    std::fflush(stderr);
    _drawn = true;
}

void LiveLine::clear() {
    if (!_drawn) return;
    std::fprintf(stderr, "\r\x1B[K");
    std::fflush(stderr);
    _drawn = false;
}

} // namespace ctl

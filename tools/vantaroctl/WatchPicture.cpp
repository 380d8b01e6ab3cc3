#include "vantaroctl/WatchPicture.h"

#include "vantaroctl/Terminal.h"

#include <algorithm>
#include <utility>

namespace ctl {

namespace {
constexpr int widestLabel = 24;
}

void WatchPicture::setDrives(const QJsonArray& drives,
                             const std::function<QJsonObject(const QString& mountPoint)>& progressOf) {
    QMap<QString, Drive> known = std::exchange(_drives, {});
    for (const QJsonValue served : drives) {
        const QString mountPoint = served["mountPoint"].toString();
        if (!_only.isEmpty() && mountPoint != _only) continue;
        const bool isNew = !known.contains(mountPoint);
        Drive drive = known.value(mountPoint);
        drive.name = served["name"].toString();
        if (isNew) drive.progress = progressOf(mountPoint);
        _drives.insert(mountPoint, drive);
    }
}

QString WatchPicture::take(const QJsonObject& progress, int width) {
    const QString mountPoint = progress["activePath"].toString();
    const auto drive = _drives.find(mountPoint);
    if (drive == _drives.end()) return {};
    drive->progress = progress;
    if (!hasEnded(progress)) {
        drive->runs = true;
        return {};
    }
    const QString last = barOf(mountPoint, width);
    drive->progress = {};
    return std::exchange(drive->runs, false) ? last : QString();
}

void WatchPicture::take(const WaitingChanges& changes, qint64 now) {
    const auto drive = _drives.find(changes.mountPoint);
    if (drive == _drives.end()) return;
    drive->waitingFolders = changes.folders;
    drive->quietUntil = now + static_cast<qint64>(changes.secondsLeft * 1000);
}

QString WatchPicture::shortened(const QString& folder) const {
    if (folder == _home) return "~";
    return folder.startsWith(_home + "/") ? "~" + folder.mid(_home.size()) : folder;
}

QString WatchPicture::labelOf(const QString& mountPoint) const {
    const QString name = _drives.value(mountPoint).name;
    const auto same =
        std::count_if(_drives.cbegin(), _drives.cend(), [&](const Drive& drive) { return drive.name == name; });
    return name.isEmpty() || same > 1 ? mountPoint : name;
}

QString WatchPicture::waitingText(const QString& mountPoint, qint64 now) const {
    const Drive drive = _drives.value(mountPoint);
    if (drive.waitingFolders.isEmpty()) return {};
    QStringList folders;
    for (const QString& folder : drive.waitingFolders) folders.append(shortened(folder));
    const qint64 seconds = std::max<qint64>((drive.quietUntil - now + 999) / 1000, 0);
    return QString("sync in %1 s: changes in %2").arg(seconds).arg(folders.join(", "));
}

qsizetype WatchPicture::labelWidth(int width) const {
    qsizetype widest = 0;
    for (auto drive = _drives.cbegin(); drive != _drives.cend(); ++drive)
        widest = std::max(widest, labelOf(drive.key()).size());
    return std::min<qsizetype>(widest, std::min(widestLabel, width / 3));
}

QString WatchPicture::barOf(const QString& mountPoint, int width) const {
    const qsizetype widest = labelWidth(width);
    const QString label = clippedAtStart(shown(labelOf(mountPoint)), widest).leftJustified(widest);
    const int room = width - static_cast<int>(widest) - 2;
    return clippedAtEnd(label + "  " + progressLine(_drives.value(mountPoint).progress, room), width);
}

QStringList WatchPicture::lines(int width, qint64 now) const {
    if (_drives.isEmpty()) return {clippedAtEnd("no drive is served", width)};
    QStringList lines;
    for (auto drive = _drives.cbegin(); drive != _drives.cend(); ++drive) {
        lines.append(barOf(drive.key(), width));
        if (const QString waiting = waitingText(drive.key(), now); !waiting.isEmpty())
            lines.append(clippedAtEnd(QString(labelWidth(width) + 2, ' ') + shown(waiting), width));
    }
    return lines;
}

} // namespace ctl

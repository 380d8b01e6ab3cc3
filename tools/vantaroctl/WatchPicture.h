// The picture that "watch" draws: for each drive its progress, and below it the changes that wait for the next sync.
// Units: the times are milliseconds of one steady clock, whichever.
#pragma once

#include <QJsonArray>
#include <QJsonObject>
#include <QMap>
#include <QString>
#include <QStringList>

#include <functional>

namespace ctl {

// Changed folders of a drive that wait for the end of the quiet period; none: nothing waits any more.
struct WaitingChanges {
    QString mountPoint;
    QStringList folders;
    double secondsLeft = 0;
};

class WatchPicture {
  public:
    // `home` is shown as "~". With `only`, nothing is shown but the drive of that mount point.
    explicit WatchPicture(QString home, QString only = {}) : _home(std::move(home)), _only(std::move(only)) {}

    // The drives that are served, as "drives --json" lists them; each new one is asked for its progress.
    void setDrives(const QJsonArray& drives, const std::function<QJsonObject(const QString& mountPoint)>& progressOf);
    // The line of a sync that ends with that, which is then idle in the picture; "" for all other news.
    QString take(const QJsonObject& progress, int width);
    void take(const WaitingChanges& changes, qint64 now);
    // At most `width` columns each.
    [[nodiscard]] QStringList lines(int width, qint64 now) const;
    // "changes in ~/Music, ~/Pictures: sync in 8 s", or "" when nothing waits.
    [[nodiscard]] QString waitingText(const QString& mountPoint, qint64 now) const;
    // The drive's name where no other has it, else its mount point.
    [[nodiscard]] QString labelOf(const QString& mountPoint) const;

  private:
    struct Drive {
        QString name;
        QJsonObject progress;
        bool runs = false;
        QStringList waitingFolders;
        qint64 quietUntil = 0;
    };
    [[nodiscard]] qsizetype labelWidth(int width) const;
    [[nodiscard]] QString barOf(const QString& mountPoint, int width) const;
    [[nodiscard]] QString shortened(const QString& folder) const;

    QString _home;
    QString _only;
    QMap<QString, Drive> _drives; // by mount point
};

} // namespace ctl
